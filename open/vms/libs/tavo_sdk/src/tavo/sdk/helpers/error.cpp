#include <tavo/sdk/helpers/error.h>

#include <utility>

#include <tavo/kit/debug.h>
#include <tavo/sdk/helpers/string.h>

namespace tavo::sdk
{

Error error(ErrorCode errorCode, std::string errorMessage)
{
    kit::verify(
        errorCode != ErrorCode::noError, "errorCode != ErrorCode::noError",
        "Error code must differ from `ErrorCode::noError`");
    kit::verify(!errorMessage.empty(), "!errorMessage.empty()", "Error message must not be empty");

    kit::printLine("tavo::sdk::error(): " + errorMessage);
    return {errorCode, new String(std::move(errorMessage))};
}

} // namespace tavo::sdk
