#pragma once

#include <string>
#include <type_traits>

#include <tavo/sdk/result.h>

namespace tavo::sdk
{

// Logs a failure and makes what a failed Result is built from:
//     return error(ErrorCode::otherError, "Unable to create Engine");
// `errorCode` must differ from noError and `errorMessage` must not be empty.
Error error(ErrorCode errorCode, std::string errorMessage);

// The failure for want of memory. Needs none.
Error outOfMemory() noexcept;

// The failure that the exception being handled comes to: outOfMemory(), or internalError with the
// exception's text. Logs it.
Error errorOfException() noexcept;

// The border between host and library, which no exception crosses, either way: the two may be of
// different compilers, or have a C++ library each. It is around the work of every operation that
// the host calls, and around calls of the host that the caller goes on after. Gives what `work`
// gives; where that throws, a failed Result, or what is empty if it gives none.
template <class Work>
auto atBorder(Work work) noexcept -> decltype(work())
{
    using Given = decltype(work());
    try
    {
        return work();
    }
    catch (...)
    {
        const Error error = errorOfException();
        if constexpr (std::is_constructible_v<Given, Error>)
        {
            return error;
        }
        else
        {
            error.errorMessage->releaseRef();
            return Given();
        }
    }
}

} // namespace tavo::sdk
