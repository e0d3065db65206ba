#pragma once

#include <memory>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

#include "preview/ImportSlot.h"

/// An import that is replaced as long as this lives.
using Replaced = std::shared_ptr<void>;

template <typename Function>
FARPROC AsProc(Function* function) {
    return reinterpret_cast<FARPROC>(function);
}

template <typename Action, typename Result, typename... Arguments>
struct Replacement {
    static inline Replacement* current;

    Replacement(FARPROC function, Action given)
        : action(std::move(given)), slot(FindImportSlot(function)), original(*slot) {
        WriteImportSlot(slot, AsProc(&Take));
    }
    ~Replacement() {
        WriteImportSlot(slot, original);
        current = former;
    }
    static Result WINAPI Take(Arguments... arguments) {
        const auto real = reinterpret_cast<Result(WINAPI*)(Arguments...)>(current->original);
        return current->action(real, arguments...);
    }

    Action action;
    FARPROC* slot;
    FARPROC original;
    Replacement* former = std::exchange(current, this);
};

/// Replaces a function of the system, for the calls that this executable makes by name, by a lambda
/// that gets the real one ahead of the call's arguments:
/// `Replace(Sleep, [&](auto real, DWORD length) { ... })`. What is looked up at run time goes
/// through a replaced GetProcAddress. A lambda stands for one function at a time.
template <typename Result, typename... Arguments, typename Action>
[[nodiscard]] Replaced Replace(Result(WINAPI* function)(Arguments...), Action action) {
    return std::make_shared<Replacement<Action, Result, Arguments...>>(AsProc(function),
                                                                       std::move(action));
}

/// Lets a function do nothing but set the last error and give the result. Functions of one
/// signature fail alike.
template <typename Result, typename... Arguments>
[[nodiscard]] Replaced Failing(Result(WINAPI* function)(Arguments...),
                               std::type_identity_t<Result> result,
                               DWORD error = ERROR_NOT_ENOUGH_MEMORY) {
    return Replace(function, [=](auto, auto...) {
        SetLastError(error);
        return result;
    });
}
