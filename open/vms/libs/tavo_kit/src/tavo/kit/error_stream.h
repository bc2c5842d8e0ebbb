// The process's standard error, as far as it differs between platforms.
#pragma once

#include <string_view>

namespace tavo::kit
{

// Writes the text in one go as far as the system allows, without a signal if the reader of a pipe
// is gone. What cannot be written is lost.
void writeToErrorStream(std::string_view text);

} // namespace tavo::kit
