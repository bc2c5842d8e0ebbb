#include "module/frame_board.h"

#include <algorithm>
#include <utility>

namespace tavo::devkit
{

std::string FrameBoard::put(std::uint64_t inputIndex, std::string segment)
{
    const auto waiting = std::find_if(
        m_waiting.begin(), m_waiting.end(),
        [&](const Waiting& candidate) { return candidate.inputIndex == inputIndex; });
    if (waiting != m_waiting.end())
        return std::exchange(waiting->segment, std::move(segment));
    m_waiting.push_back({inputIndex, std::move(segment)});
    return {};
}

std::optional<std::string> FrameBoard::take()
{
    if (m_waiting.empty())
        return std::nullopt;
    std::string segment = std::move(m_waiting.front().segment);
    m_waiting.pop_front();
    return segment;
}

} // namespace tavo::devkit
