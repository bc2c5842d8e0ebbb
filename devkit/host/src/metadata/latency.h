#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tavo::devkit
{

// A frame's way in time, as the host sees it.
struct FrameTime
{
    int64_t timestampUs = 0; // when it was pushed
    int64_t handOverUs = 0; // how long the push took
    int64_t packetUs = 0; // when its result came; 0 while it has not
};

// When the application has sent its results, as it tells in a file for measurements: lines of
// input, the frame's timestamp and the time. Inputs are numbered as cameras are.
class ApplicationTimes
{
public:
    // An empty map for a file that is not there.
    explicit ApplicationTimes(const std::string& file);

    [[nodiscard]] std::optional<int64_t> sentUs(int camera, int64_t timestampUs) const;

private:
    std::map<std::pair<int, int64_t>, int64_t> m_times;
};

// What a user waits for from a frame to its packet, and where the time goes.
class Latencies
{
public:
    // `sentUs` is when the application sent the result, where that is known.
    void add(const FrameTime& frame, std::optional<int64_t> sentUs);

    // "frame to packet 12.0 / 30.5 / 41.0 ms (50%, 99%, max), of which hand-over ...". Empty when
    // there was no result.
    [[nodiscard]] std::string text() const;

private:
    std::vector<int64_t> m_all;
    std::vector<int64_t> m_handOver;
    std::vector<int64_t> m_rest; // behind the hand-over, where nothing else is known
    std::vector<int64_t> m_application; // from the hand-over to the sending of the result
    std::vector<int64_t> m_result; // from there to the packet
};

} // namespace tavo::devkit
