#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace tavo::vms_server_plugins::analytics::orlix
{

struct ThroughputFigures
{
    float fps = 0;
    std::int32_t latencyUs = 0;
};

// Frame rate and latency over the last hundred results. Not synchronised.
class Throughput
{
public:
    static constexpr std::size_t kWindow = 100;

    // Notes a result that came at `nowUs` for a frame that left at `sentAtUs`, 0 if that is not
    // known. No figures come from the first result, which has no interval. All hundred slots count
    // from the start, so the frame rate reads too high until they are filled, as users know it.
    [[nodiscard]] std::optional<ThroughputFigures> note(
        std::uint64_t nowUs, std::uint64_t sentAtUs);

private:
    [[nodiscard]] ThroughputFigures figures() const;

    std::array<float, kWindow> m_intervalsUs{};
    std::array<std::uint64_t, kWindow> m_latenciesUs{};
    std::size_t m_ringIndex = 0; // the next slot of both
    std::uint64_t m_lastResultAtUs = 0; // 0 before the first
};

} // namespace tavo::vms_server_plugins::analytics::orlix
