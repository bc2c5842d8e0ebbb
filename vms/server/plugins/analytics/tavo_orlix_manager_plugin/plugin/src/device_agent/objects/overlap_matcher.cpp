#include "device_agent/objects/overlap_matcher.h"

#include <algorithm>

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

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

// Of pairs of one detection. No score is a NaN here: none of those is above 0.
bool isBetter(float score, std::uint32_t track, float otherScore, std::uint32_t otherTrack)
{
    return score > otherScore || (score == otherScore && track < otherTrack);
}

} // namespace

std::span<const std::uint32_t> OverlapMatcher::match(
    std::span<const TrackedObject> detections, std::span<const TrackedObject> tracks,
    MatchingBudget& budget)
{
    m_detections = detections;
    m_tracks = tracks;
    m_result.assign(detections.size(), kNoTrack);
    if (!detections.empty() && !tracks.empty())
    {
        readTracks();
        proposeBest(budget);
        assignBestFirst();
    }
    return m_result;
}

void OverlapMatcher::readTracks()
{
    m_index.build(m_tracks);
    m_isTaken.assign(m_tracks.size(), false);
    makeRoom(m_trackAreas, m_tracks.size());
    makeRoom(m_trackAges, m_tracks.size());
    for (std::size_t i = 0; i < m_tracks.size(); ++i)
        m_trackAreas[i] = area(m_tracks[i].box);
    readAges(m_detections[0].timestampUs);
}

void OverlapMatcher::readAges(std::uint64_t timestampUs)
{
    for (std::size_t i = 0; i < m_tracks.size(); ++i)
    {
        const std::uint64_t then = m_tracks[i].timestampUs;
        m_trackAges[i] =
            static_cast<float>(then < timestampUs ? timestampUs - then : then - timestampUs);
    }
    m_agesAtUs = timestampUs;
}

void OverlapMatcher::proposeBest(MatchingBudget& budget)
{
    m_ranges.clear();
    m_proposals.clear();
    std::size_t pairsEnd = 0;
    for (std::uint32_t i = 0; i < m_detections.size(); ++i)
    {
        const TrackedObject& detection = m_detections[i];
        if (detection.timestampUs != m_agesAtUs)
            readAges(detection.timestampUs);
        PairRange range;
        range.begin = pairsEnd;
        range.end = m_index.findOverlapping(detection.box, m_pairs, pairsEnd);
        if (range.end > budget.pairs || m_index.comparisons() > budget.comparisons)
        {
            m_result.resize(i);
            budget = {0, 0, /*isUsedUp*/ true};
            return;
        }
        scorePairs(detection.box, range.begin, range.end);
        pairsEnd = range.end;
        m_ranges.push_back(range);
        const Proposal proposal = bestOf(i, range);
        if (proposal.track != kNoTrack)
            m_proposals.push_back(proposal);
    }
    budget.pairs -= pairsEnd;
    budget.comparisons -= m_index.comparisons();
}

void OverlapMatcher::assignBestFirst()
{
    const auto isWorse = [](const Proposal& a, const Proposal& b)
    { return isBetter(b.score, b.detection, a.score, a.detection); };
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
    dropTaken(range);
    if (++range.looks == kLooksBeforeSorting)
        sortPairs(range);
    return bestOf(detection, range);
}

void OverlapMatcher::scorePairs(const ResultBox& detection, std::size_t begin, std::size_t end)
{
    makeRoom(m_scores, end);
    const float detectionArea = area(detection);
    const std::uint32_t* const track = m_pairs.track.data();
    const float* const intersection = m_pairs.intersection.data();
    for (std::size_t i = begin; i < end; ++i)
    {
        const float overlap =
            intersection[i] / (detectionArea + m_trackAreas[track[i]] - intersection[i]);
        m_scores[i] = overlap / m_trackAges[track[i]];
    }
}

void OverlapMatcher::sortPairs(PairRange& range)
{
    m_sorting.clear();
    for (std::size_t i = range.begin; i < range.end; ++i)
    {
        if (m_scores[i] > 0) // and so no NaN
            m_sorting.push_back({m_scores[i], m_pairs.track[i]});
    }
    std::sort(
        m_sorting.begin(), m_sorting.end(),
        [](const ScoredTrack& a, const ScoredTrack& b)
        { return isBetter(a.score, a.track, b.score, b.track); });
    range.end = range.begin;
    for (const ScoredTrack& scored : m_sorting)
    {
        m_scores[range.end] = scored.score;
        m_pairs.track[range.end] = scored.track;
        ++range.end;
    }
    range.sorted = true;
}

void OverlapMatcher::dropTaken(PairRange& range)
{
    if (range.sorted)
    {
        while (range.begin < range.end && m_isTaken[m_pairs.track[range.begin]])
            ++range.begin;
        return;
    }
    std::size_t end = range.begin;
    for (std::size_t i = range.begin; i < range.end; ++i)
    {
        m_pairs.track[end] = m_pairs.track[i];
        m_scores[end] = m_scores[i];
        end += !m_isTaken[m_pairs.track[i]];
    }
    range.end = end;
}

OverlapMatcher::Proposal OverlapMatcher::bestOf(
    std::uint32_t detection, const PairRange& range) const
{
    Proposal best{0, detection, kNoTrack};
    const std::size_t end = range.sorted ? std::min(range.begin + 1, range.end) : range.end;
    for (std::size_t i = range.begin; i < end; ++i)
    {
        const float score = m_scores[i];
        if (score > 0 && isBetter(score, m_pairs.track[i], best.score, best.track))
        {
            best.score = score;
            best.track = m_pairs.track[i];
        }
    }
    return best;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
