#pragma once

#include <new>
#include <string>

#include <tavo/sdk/result.h>

namespace tavo::sdk
{

// Logs a failure and makes what a failed Result is built from:
//     return error(ErrorCode::otherError, "Unable to create Engine");
// `errorCode` must differ from noError and `errorMessage` must not be empty.
Error error(ErrorCode errorCode, std::string errorMessage);

// The failure for want of memory. Needs none.
Error outOfMemory() noexcept;

// What `work` gives, which is a Result; a failed one where memory is lacking. Whatever else it
// throws passes.
template <class Work>
auto withinMemory(Work work) -> decltype(work())
{
    try
    {
        return work();
    }
    catch (const std::bad_alloc&)
    {
        return outOfMemory();
    }
}

} // namespace tavo::sdk
