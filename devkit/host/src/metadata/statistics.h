#pragma once

#include <cstdint>
#include <deque>
#include <mutex>
#include <vector>

#include "metadata/latency.h"
#include "metadata/metadata.h"

namespace tavo::devkit
{

// What has happened to one camera so far, or to several in sum.
struct CameraTotals
{
    uint64_t framesSent = 0;
    uint64_t framesLost = 0; // the camera was busy when they came
    uint64_t pushFailures = 0; // the library refused a frame
    uint64_t results = 0; // every result brings one packet of events
    uint64_t objectPackets = 0;
    uint64_t objects = 0;
    uint64_t persons = 0;
    uint64_t fpsEvents = 0;
    uint64_t countedEvents = 0;
    uint64_t lineCrossings = 0;
    uint64_t otherEvents = 0;
    uint64_t latencySumUs = 0; // of all results, from a frame's timestamp to its events
    uint64_t latencyMaxUs = 0;

    void add(const CameraTotals& other);

    // All three are 0 without results.
    [[nodiscard]] double personsPerResult() const;
    [[nodiscard]] double latencyMeanMs() const;
    [[nodiscard]] double latencyMaxMs() const { return double(latencyMaxUs) / 1000; }
};

// Counts for one camera. Any thread; the lock is a leaf.
class CameraStatistics
{
public:
    void onFrameBegins(int64_t timestampUs);

    // The frame that began last was pushed, in so much time.
    void onFrameSent(bool accepted, int64_t tookUs);
    void onFrameLost();
    void onMetadata(const Metadata& metadata, int64_t nowUs);

    [[nodiscard]] CameraTotals totals() const;

    // The last few thousand frames.
    [[nodiscard]] std::vector<FrameTime> frameTimes() const;

    // The persons of the last result that had objects.
    [[nodiscard]] uint64_t personsNow() const;

private:
    void noteResult(int64_t timestampUs, int64_t nowUs);

private:
    mutable std::mutex m_mutex;
    CameraTotals m_totals;
    uint64_t m_personsNow = 0;
    std::deque<FrameTime> m_frames; // oldest first
};

} // namespace tavo::devkit
