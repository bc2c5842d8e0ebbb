#pragma once

#include <cstring>
#include <string>
#include <string_view>

#include <tavo/sdk/uuid.h>

namespace tavo::sdk
{

// Reads 16 pairs of hexadecimal digits. Between pairs, tabs, line feeds, blanks, hyphens, braces
// and the letter r are skipped. A null text, and any text that does not read as exactly 16 bytes,
// gives the null Uuid.
[[nodiscard]] Uuid uuidFromText(std::string_view text);
[[nodiscard]] Uuid uuidFromText(const char* text);

// A new random identifier (version 4), from the system's secure source. Any thread.
// Throws std::system_error if that source fails.
[[nodiscard]] Uuid randomUuid();

// Lower case with hyphens, no braces: "00010203-0405-0607-0809-0a0b0c0d0e0f".
[[nodiscard]] std::string toText(const Uuid& uuid);

// An order, for containers.
inline bool operator<(const Uuid& left, const Uuid& right)
{
    return std::memcmp(left.bytes, right.bytes, sizeof left.bytes) < 0;
}

} // namespace tavo::sdk
