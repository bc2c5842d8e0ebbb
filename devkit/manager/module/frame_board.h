#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>

namespace tavo::devkit
{

// The frames that wait for the engine: the newest of each input, no more. A newer frame takes the
// place of the one that waits, so that an engine slower than the cameras skips frames instead of
// falling behind, and every input gets its turn. One thread.
class FrameBoard
{
public:
    // Gives the segment of the frame that is skipped for this one, empty if there is none.
    [[nodiscard]] std::string put(std::uint64_t inputIndex, std::string segment);

    // The segment of the frame whose input has waited longest.
    [[nodiscard]] std::optional<std::string> take();

private:
    struct Waiting
    {
        std::uint64_t inputIndex;
        std::string segment;
    };

    std::deque<Waiting> m_waiting; // as long as there are inputs: a walk is cheap
};

} // namespace tavo::devkit
