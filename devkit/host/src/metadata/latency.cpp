#include "metadata/latency.h"

#include <algorithm>
#include <cstdio>
#include <fstream>

namespace tavo::devkit
{

namespace
{

std::string percentiles(std::vector<int64_t> us)
{
    std::sort(us.begin(), us.end());
    const auto at = [&](double share) { return double(us[size_t(share * double(us.size() - 1))]); };
    char text[96];
    std::snprintf(
        text, sizeof(text), "%.1f / %.1f / %.1f ms", at(0.5) / 1000, at(0.99) / 1000, at(1) / 1000);
    return text;
}

} // namespace

ApplicationTimes::ApplicationTimes(const std::string& file)
{
    std::ifstream in(file);
    int input = 0;
    int64_t timestampUs = 0;
    int64_t sentUs = 0;
    while (in >> input >> timestampUs >> sentUs)
        m_times[{input, timestampUs}] = sentUs;
}

std::optional<int64_t> ApplicationTimes::sentUs(int camera, int64_t timestampUs) const
{
    const auto entry = m_times.find({camera, timestampUs});
    return entry == m_times.end() ? std::nullopt : std::optional(entry->second);
}

void Latencies::add(const FrameTime& frame, std::optional<int64_t> sentUs)
{
    if (frame.packetUs == 0)
        return;
    const int64_t handedOverUs = frame.timestampUs + frame.handOverUs;
    m_all.push_back(frame.packetUs - frame.timestampUs);
    m_handOver.push_back(frame.handOverUs);
    // The push may return a moment after the application has begun.
    m_rest.push_back(std::max<int64_t>(frame.packetUs - handedOverUs, 0));
    if (!sentUs)
        return;
    m_application.push_back(std::max<int64_t>(*sentUs - handedOverUs, 0));
    m_result.push_back(std::max<int64_t>(frame.packetUs - *sentUs, 0));
}

std::string Latencies::text() const
{
    if (m_all.empty())
        return {};
    std::string text = "frame to packet " + percentiles(m_all) +
        " (50%, 99%, max), of which hand-over " + percentiles(m_handOver);
    if (m_application.empty())
        return text + ", application and result " + percentiles(m_rest);
    return text + ", application " + percentiles(m_application) + ", result " +
        percentiles(m_result);
}

} // namespace tavo::devkit
