// The process's standard error, as far as it differs between platforms.
#pragma once

#include <cstddef>
#include <string_view>

namespace tavo::kit
{

// Writes as much of the text, which is not empty, as the system takes at once. Gives its bytes; 0
// when it takes none. No signal comes of a pipe whose reader is gone.
size_t writeSomeToErrorStream(std::string_view text);

} // namespace tavo::kit
