#pragma once

#include <cstdint>
#include <span>

namespace tavo::sdk
{

// Fills the bytes, 256 at most, from the system's secure source. Any thread. Throws
// std::system_error if that fails.
void fillWithRandomBytes(std::span<std::uint8_t> bytes);

} // namespace tavo::sdk
