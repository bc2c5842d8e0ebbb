#pragma once

#include <string>

#include <tavo/sdk/result.h>

namespace tavo::sdk
{

// Logs a failure and makes what a failed Result is built from:
//     return error(ErrorCode::otherError, "Unable to create Engine");
// `errorCode` must differ from noError and `errorMessage` must not be empty.
Error error(ErrorCode errorCode, std::string errorMessage);

} // namespace tavo::sdk
