#pragma once

#include <cstdint>
#include <string>

namespace tavo::vms_server_plugins::analytics::orlix
{

// Bytes that gzip cannot make fewer; always the same.
inline std::string incompressible(std::size_t size)
{
    std::string bytes(size, '\0');
    std::uint32_t random = 1;
    for (char& c : bytes)
        c = static_cast<char>((random = random * 1664525 + 1013904223) >> 24);
    return bytes;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
