#pragma once

#include <stdexcept>
#include <string>

#include <tavo/sdk/result.h>

#include "metadata/metadata.h"

namespace tavo::devkit
{

// The value of a result of the library's, or the reason why there is none as an exception.
template <class Value>
[[nodiscard]] Value valueOrThrow(const char* what, sdk::Result<Value> result)
{
    if (!result.isOk())
        throw std::runtime_error(std::string(what) + " failed: " + takeText(result.errorMessage));
    return result.value;
}

} // namespace tavo::devkit
