#pragma once

#include <type_traits>

#include "support/ImportPatch.h"

template <typename Result, typename... Arguments>
inline Result failingResult;
inline DWORD failingError;

/// Makes an import fail for one scope: nothing is done, the last error set and the result given.
/// Calls of one signature fail alike.
class FailingCall : ImportPatch {
  public:
    template <typename Result, typename... Arguments>
    FailingCall(const char* library, const char* name, Result(WINAPI*)(Arguments...),
                std::type_identity_t<Result> result, DWORD error = ERROR_NOT_ENOUGH_MEMORY)
        : ImportPatch(library, name, AsProc(&FailInstead<Result, Arguments...>)) {
        failingResult<Result, Arguments...> = result;
        failingError = error;
    }

  private:
    template <typename Result, typename... Arguments>
    static Result WINAPI FailInstead(Arguments...) {
        SetLastError(failingError);
        return failingResult<Result, Arguments...>;
    }
};
