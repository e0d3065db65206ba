#pragma once

#include <memory>
#include <utility>

#include "support/ImportPatch.h"

/// An import that is replaced as long as this lives.
using Replaced = std::shared_ptr<void>;

/// Replaces an import by a lambda, which gets the real function ahead of the call's arguments:
/// `Replace("kernel32.dll", "Sleep", Sleep, [&](auto real, DWORD length) { ... })`.
template <typename Result, typename... Arguments, typename Action>
[[nodiscard]] Replaced Replace(const char* library, const char* name, Result(WINAPI*)(Arguments...),
                               Action action) {
    // Each lambda has a type, and so a function, of its own.
    struct Call : ImportPatch {
        Call(const char* libraryName, const char* functionName, Action given)
            : ImportPatch(libraryName, functionName, AsProc(&Take)), work(std::move(given)) {
            Current() = this;
        }
        static Call*& Current() {
            static Call* call = nullptr;
            return call;
        }
        static Result WINAPI Take(Arguments... arguments) {
            const auto real = reinterpret_cast<Result(WINAPI*)(Arguments...)>(Current()->original);
            return Current()->work(real, arguments...);
        }
        Action work;
    };
    return std::make_shared<Call>(library, name, std::move(action));
}
