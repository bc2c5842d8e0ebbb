#include "metadata/statistics.h"

#include <algorithm>

namespace tavo::devkit
{

void CameraTotals::add(const CameraTotals& other)
{
    framesSent += other.framesSent;
    framesLost += other.framesLost;
    pushFailures += other.pushFailures;
    results += other.results;
    objectPackets += other.objectPackets;
    objects += other.objects;
    persons += other.persons;
    fpsEvents += other.fpsEvents;
    countedEvents += other.countedEvents;
    lineCrossings += other.lineCrossings;
    otherEvents += other.otherEvents;
    latencySumUs += other.latencySumUs;
    latencyMaxUs = std::max(latencyMaxUs, other.latencyMaxUs);
}

double CameraTotals::personsPerResult() const
{
    return results ? double(persons) / double(results) : 0;
}

double CameraTotals::latencyMeanMs() const
{
    return results ? double(latencySumUs) / double(results) / 1000 : 0;
}

void CameraStatistics::onFrameBegins(int64_t timestampUs)
{
    constexpr size_t kKept = 4096;
    const std::lock_guard lock(m_mutex);
    if (m_frames.size() == kKept)
        m_frames.pop_front();
    m_frames.push_back({timestampUs});
}

void CameraStatistics::onFrameSent(bool accepted, int64_t tookUs)
{
    const std::lock_guard lock(m_mutex);
    ++m_totals.framesSent;
    if (!m_frames.empty())
        m_frames.back().handOverUs = tookUs;
    if (!accepted)
        ++m_totals.pushFailures;
}

void CameraStatistics::onFrameLost()
{
    const std::lock_guard lock(m_mutex);
    ++m_totals.framesLost;
}

void CameraStatistics::onMetadata(const Metadata& metadata, int64_t nowUs)
{
    const std::lock_guard lock(m_mutex);
    if (metadata.kind == Metadata::Kind::objects)
    {
        ++m_totals.objectPackets;
        m_totals.objects += metadata.objects.size();
        m_personsNow = uint64_t(std::count_if(
            metadata.objects.begin(), metadata.objects.end(),
            [](const DetectedObject& object) { return object.typeId == kPersonTypeId; }));
        m_totals.persons += m_personsNow;
        return;
    }
    if (metadata.kind != Metadata::Kind::events)
        return;

    ++m_totals.results;
    noteResult(metadata.timestampUs, nowUs);
    const auto latencyUs = uint64_t(std::max<int64_t>(nowUs - metadata.timestampUs, 0));
    m_totals.latencySumUs += latencyUs;
    m_totals.latencyMaxUs = std::max(m_totals.latencyMaxUs, latencyUs);
    for (const DetectedEvent& event : metadata.events)
    {
        if (event.typeId == kFpsEventTypeId)
            ++m_totals.fpsEvents;
        else if (event.typeId == kCountedEventTypeId)
            ++m_totals.countedEvents;
        else if (event.typeId == kLineCrossingEventTypeId)
            ++m_totals.lineCrossings;
        else
            ++m_totals.otherEvents;
    }
}

// A result is mostly of one of the last frames.
void CameraStatistics::noteResult(int64_t timestampUs, int64_t nowUs)
{
    const auto frame = std::find_if(
        m_frames.rbegin(), m_frames.rend(),
        [&](const FrameTime& each) { return each.timestampUs == timestampUs; });
    if (frame != m_frames.rend())
        frame->packetUs = nowUs;
}

std::vector<FrameTime> CameraStatistics::frameTimes() const
{
    const std::lock_guard lock(m_mutex);
    return {m_frames.begin(), m_frames.end()};
}

CameraTotals CameraStatistics::totals() const
{
    const std::lock_guard lock(m_mutex);
    return m_totals;
}

uint64_t CameraStatistics::personsNow() const
{
    const std::lock_guard lock(m_mutex);
    return m_personsNow;
}

} // namespace tavo::devkit
