// A 16-byte identifier, as a plain record that crosses the ABI.
#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <type_traits>

namespace tavo::sdk
{

struct Uuid
{
    std::array<std::uint8_t, 16> bytes{};

    // Reads 16 pairs of hexadecimal digits. Between pairs, tabs, line feeds, blanks, hyphens,
    // braces and the letter r are skipped. A null text, and any text that does not read as exactly
    // 16 bytes, gives the null Uuid.
    [[nodiscard]] static Uuid fromText(std::string_view text);
    [[nodiscard]] static Uuid fromText(const char* text);

    // A new random identifier (version 4), from the system's secure source. Any thread.
    // Throws std::system_error if that source fails.
    [[nodiscard]] static Uuid random();

    // Lower case with hyphens, no braces: "00010203-0405-0607-0809-0a0b0c0d0e0f".
    [[nodiscard]] std::string toText() const;

    [[nodiscard]] bool isNull() const { return *this == Uuid{}; }

    // clang-tidy takes the comparison with 0, which the compiler makes of it, for one of
    // pointers.
    friend auto operator<=>(const Uuid&, const Uuid&) = default; // NOLINT(modernize-use-nullptr)
};

static_assert(sizeof(Uuid) == 16 && alignof(Uuid) == 1);
static_assert(std::is_trivially_copyable_v<Uuid> && std::is_standard_layout_v<Uuid>);

} // namespace tavo::sdk

template <>
struct std::hash<tavo::sdk::Uuid>
{
    std::size_t operator()(const tavo::sdk::Uuid& uuid) const noexcept
    {
        return std::hash<std::string_view>()(
            {reinterpret_cast<const char*>(uuid.bytes.data()), uuid.bytes.size()});
    }
};
