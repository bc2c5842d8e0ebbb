#include "device_agent/objects/overlap_matcher.h"

#include <algorithm>
#include <functional>

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

// A detection is rarely looked at more than a few times, which is cheaper than any sorting. Where
// many want the same tracks, sorting keeps the looks from growing with the square of their number.
constexpr std::uint32_t kLooksBeforeSorting = 8;

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
        m_index.build(tracks);
        m_isTaken.assign(tracks.size(), false);
        proposeBest(budget);
        assignBestFirst();
    }
    return m_result;
}

void OverlapMatcher::proposeBest(MatchingBudget& budget)
{
    m_ranges.clear();
    m_proposals.clear();
    m_proposed.resize(m_detections.size());
    std::size_t pairsEnd = 0;
    for (std::uint32_t i = 0; i < m_detections.size(); ++i)
    {
        const TrackedObject& detection = m_detections[i];
        if (i == 0 || detection.timestampUs != m_detections[i - 1].timestampUs)
            m_index.setTime(detection.timestampUs);
        PairRange range;
        range.begin = pairsEnd;
        range.end = m_index.findOverlapping(detection.box, m_pairs, pairsEnd);
        if (range.end > budget.pairs || m_index.comparisons() > budget.comparisons)
        {
            m_result.resize(i);
            budget = {0, 0, /*isUsedUp*/ true};
            return;
        }
        pairsEnd = range.end;
        m_ranges.push_back(range);
        Scored best;
        for (std::size_t pair = range.begin; pair < range.end; ++pair)
            best = std::max(best, m_pairs[pair]);
        propose(i, best);
    }
    budget.pairs -= pairsEnd;
    budget.comparisons -= m_index.comparisons();
}

void OverlapMatcher::propose(std::uint32_t detection, Scored best)
{
    if (best.isNone())
        return;
    m_proposed[detection] = best.index();
    m_proposals.emplace_back(best.scoreBits(), detection);
}

void OverlapMatcher::assignBestFirst()
{
    std::make_heap(m_proposals.begin(), m_proposals.end());

    // A detection's best score never rises, so the best proposal with a free track is the best
    // pair.
    while (!m_proposals.empty())
    {
        std::pop_heap(m_proposals.begin(), m_proposals.end());
        const std::uint32_t detection = m_proposals.back().index();
        const std::uint32_t track = m_proposed[detection];
        m_proposals.pop_back();
        if (!m_isTaken[track])
        {
            m_isTaken[track] = true;
            m_result[detection] = track;
            continue;
        }
        const std::size_t others = m_proposals.size();
        propose(detection, lookAgain(m_ranges[detection]));
        if (m_proposals.size() > others)
            std::push_heap(m_proposals.begin(), m_proposals.end());
    }
}

Scored OverlapMatcher::lookAgain(PairRange& range)
{
    if (!range.sorted && ++range.looks == kLooksBeforeSorting)
    {
        const auto at = [this](std::size_t i)
        { return m_pairs.begin() + static_cast<std::ptrdiff_t>(i); };
        std::sort(at(range.begin), at(range.end), std::greater<>());
        range.sorted = true;
    }
    if (range.sorted)
    {
        while (range.begin < range.end && m_isTaken[m_pairs[range.begin].index()])
            ++range.begin;
        return range.begin < range.end ? m_pairs[range.begin] : Scored();
    }
    Scored best;
    std::size_t end = range.begin;
    for (std::size_t i = range.begin; i < range.end; ++i)
    {
        const Scored pair = m_pairs[i];
        const bool isFree = !m_isTaken[pair.index()];
        m_pairs[end] = pair;
        end += isFree;
        best = std::max(best, isFree ? pair : Scored());
    }
    range.end = end;
    return best;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
