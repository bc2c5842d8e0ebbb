#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace tavo::vms_server_plugins::analytics::orlix
{

// Which of the lines that come again and again may be written now: each kind at once, and then once
// in an interval. It knows kMost kinds; of more, the one not written for longest is forgotten, and
// so comes at once. Without memory of its own, and not synchronised.
class LogRepetitions
{
public:
    using Clock = std::chrono::steady_clock;

    static constexpr std::chrono::minutes kInterval{1};
    static constexpr std::size_t kMost = 512;

    // How many lines of this kind were left out since the last one; nothing when this one is to be.
    // A kind is a format, told by its address, and what the line is about.
    std::optional<std::uint64_t> pass(
        const char* format, std::string_view subject, Clock::time_point now = Clock::now());

private:
    struct Entry
    {
        Clock::time_point lastAt = Clock::time_point::min();
        std::uint64_t leftOut = 0;
    };
    std::array<std::uint64_t, kMost> m_kinds{}; // by themselves, since each line looks for its own
    std::array<Entry, kMost> m_entries{};
};

} // namespace tavo::vms_server_plugins::analytics::orlix
