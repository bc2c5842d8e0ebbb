#include "device_agent/objects/overlap_matcher.h"

#include <algorithm>

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

// What is kept for later looks, in pairs. A crowd has a few thousand; a result with more than this
// is beyond reason, and is paid for with time rather than with the server's memory.
constexpr std::size_t kMaxKeptPairs = 1u << 20;

// A detection is rarely looked at more than a few times, which is cheaper than any sorting. Where
// many want the same tracks, sorting keeps the looks from growing with the square of their number.
constexpr std::uint32_t kLooksBeforeSorting = 8;

float area(const ResultBox& box)
{
    return (box.x2 - box.x1) * (box.y2 - box.y1);
}

template <typename T>
void makeRoom(std::vector<T>& values, std::size_t size)
{
    if (values.size() < size)
        values.resize(std::max(size, 2 * values.size()));
}

} // namespace

std::span<const std::uint32_t> OverlapMatcher::match(
    std::span<const TrackedObject> detections, std::span<const TrackedObject> tracks)
{
    m_detections = detections;
    m_trackObjects = tracks;
    m_result.assign(detections.size(), kNoTrack);
    if (!detections.empty() && !tracks.empty())
    {
        readTracks();
        proposeBest();
        assignBestFirst();
    }
    return m_result;
}

void OverlapMatcher::proposeBest()
{
    m_ranges.assign(m_detections.size(), {});
    m_keptEnd = 0;
    m_proposals.clear();
    for (std::uint32_t i = 0; i < m_detections.size(); ++i)
    {
        m_ranges[i] = pairsOf(m_detections[i]);
        if (m_ranges[i].kept)
            m_keptEnd = m_ranges[i].end;
        const Proposal proposal = bestFree(i, m_ranges[i]);
        if (proposal.track != kNoTrack)
            m_proposals.push_back(proposal);
    }
}

void OverlapMatcher::assignBestFirst()
{
    // No score is a NaN here: none of those is above 0.
    const auto isWorse = [](const Proposal& a, const Proposal& b)
    { return a.score < b.score || (a.score == b.score && a.detection > b.detection); };
    std::make_heap(m_proposals.begin(), m_proposals.end(), isWorse);

    // A detection's best score never rises, so the best proposal with a free track is the best
    // pair.
    while (!m_proposals.empty())
    {
        std::pop_heap(m_proposals.begin(), m_proposals.end(), isWorse);
        Proposal& best = m_proposals.back();
        if (!m_isTaken[best.track])
        {
            m_isTaken[best.track] = true;
            m_result[best.detection] = best.track;
            m_proposals.pop_back();
            continue;
        }
        best = lookAgain(best.detection);
        if (best.track == kNoTrack)
            m_proposals.pop_back();
        else
            std::push_heap(m_proposals.begin(), m_proposals.end(), isWorse);
    }
}

OverlapMatcher::Proposal OverlapMatcher::lookAgain(std::uint32_t detection)
{
    PairRange& range = m_ranges[detection];
    if (!range.kept)
        range = pairsOf(m_detections[detection]);
    else if (++range.looks == kLooksBeforeSorting)
        sortPairs(range);
    return bestFree(detection, range);
}

void OverlapMatcher::readTracks()
{
    m_trackCount = m_trackObjects.size();
    m_isTaken.assign(m_trackCount, false);
    for (auto* const column :
         {&m_tracks.x1, &m_tracks.y1, &m_tracks.x2, &m_tracks.y2, &m_tracks.area, &m_tracks.age,
          &m_tracks.intersection})
    {
        makeRoom(*column, m_trackCount);
    }
    for (std::size_t i = 0; i < m_trackCount; ++i)
    {
        const ResultBox& box = m_trackObjects[i].box;
        m_tracks.x1[i] = box.x1;
        m_tracks.y1[i] = box.y1;
        m_tracks.x2[i] = box.x2;
        m_tracks.y2[i] = box.y2;
        m_tracks.area[i] = area(box);
    }
    readAges(m_detections[0].timestampUs);
}

void OverlapMatcher::readAges(std::uint64_t timestampUs)
{
    for (std::size_t i = 0; i < m_trackCount; ++i)
    {
        const std::uint64_t then = m_trackObjects[i].timestampUs;
        m_tracks.age[i] =
            static_cast<float>(then < timestampUs ? timestampUs - then : then - timestampUs);
    }
    m_agesAtUs = timestampUs;
}

OverlapMatcher::PairRange OverlapMatcher::pairsOf(const TrackedObject& detection)
{
    if (detection.timestampUs != m_agesAtUs)
        readAges(detection.timestampUs);
    PairRange range;
    range.begin = m_keptEnd;
    range.end = findPairs(detection.box, m_keptEnd);
    range.kept = range.end <= kMaxKeptPairs;
    scorePairs(area(detection.box), range.begin, range.end);
    return range;
}

std::size_t OverlapMatcher::findPairs(ResultBox detection, std::size_t begin)
{
    const std::size_t count = m_trackCount;
    const float* const x1 = m_tracks.x1.data();
    const float* const y1 = m_tracks.y1.data();
    const float* const x2 = m_tracks.x2.data();
    const float* const y2 = m_tracks.y2.data();
    float* const intersection = m_tracks.intersection.data();
    for (std::size_t i = 0; i < count; ++i)
    {
        const float width = std::min(detection.x2, x2[i]) - std::max(detection.x1, x1[i]);
        const float height = std::min(detection.y2, y2[i]) - std::max(detection.y1, y1[i]);
        intersection[i] = std::max(0.0f, width) * std::max(0.0f, height);
    }

    makeRoom(m_pairs.track, begin + count);
    for (auto* const column : {&m_pairs.intersection, &m_pairs.area, &m_pairs.age, &m_pairs.score})
    {
        makeRoom(*column, begin + count);
    }
    // Whether two boxes overlap is no pattern that a processor could foresee: every pair is
    // written, and only those that overlap are stepped over.
    std::uint32_t* const pairTrack = m_pairs.track.data();
    float* const pairIntersection = m_pairs.intersection.data();
    std::size_t end = begin;
    for (std::size_t i = 0; i < count; ++i)
    {
        const float value = intersection[i];
        pairTrack[end] = static_cast<std::uint32_t>(i);
        pairIntersection[end] = value;
        end += value > 0;
    }
    return end;
}

void OverlapMatcher::scorePairs(float detectionArea, std::size_t begin, std::size_t end)
{
    for (std::size_t i = begin; i < end; ++i)
    {
        m_pairs.area[i] = m_tracks.area[m_pairs.track[i]];
        m_pairs.age[i] = m_tracks.age[m_pairs.track[i]];
    }
    const float* const intersection = m_pairs.intersection.data();
    const float* const trackArea = m_pairs.area.data();
    const float* const age = m_pairs.age.data();
    float* const score = m_pairs.score.data();
    for (std::size_t i = begin; i < end; ++i)
    {
        const float overlap = intersection[i] / (detectionArea + trackArea[i] - intersection[i]);
        score[i] = overlap / age[i];
    }
}

void OverlapMatcher::sortPairs(PairRange& range)
{
    m_sorting.clear();
    for (std::size_t i = range.begin; i < range.end; ++i)
    {
        if (m_pairs.score[i] > 0) // and so no NaN
            m_sorting.push_back({m_pairs.score[i], m_pairs.track[i]});
    }
    std::sort(
        m_sorting.begin(), m_sorting.end(),
        [](const ScoredTrack& a, const ScoredTrack& b)
        { return a.score > b.score || (a.score == b.score && a.track < b.track); });
    range.end = range.begin;
    for (const ScoredTrack& scored : m_sorting)
    {
        m_pairs.score[range.end] = scored.score;
        m_pairs.track[range.end] = scored.track;
        ++range.end;
    }
    range.sorted = true;
}

OverlapMatcher::Proposal OverlapMatcher::bestFree(std::uint32_t detection, PairRange& range) const
{
    Proposal best{0, detection, kNoTrack};
    if (range.sorted)
    {
        while (range.begin < range.end && m_isTaken[m_pairs.track[range.begin]])
            ++range.begin;
        if (range.begin < range.end)
        {
            best.score = m_pairs.score[range.begin];
            best.track = m_pairs.track[range.begin];
        }
        return best;
    }
    for (std::size_t i = range.begin; i < range.end; ++i)
    {
        if (m_pairs.score[i] > best.score && !m_isTaken[m_pairs.track[i]])
        {
            best.score = m_pairs.score[i];
            best.track = m_pairs.track[i];
        }
    }
    return best;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
