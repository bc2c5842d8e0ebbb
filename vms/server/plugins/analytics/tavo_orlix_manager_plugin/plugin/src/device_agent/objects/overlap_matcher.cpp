#include "device_agent/objects/overlap_matcher.h"

#include <algorithm>
#include <functional>
#include <utility>

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
    if (detections.empty() || tracks.empty())
        return m_result;
    scorePairs(budget);
    assign();
    return m_result;
}

void OverlapMatcher::scorePairs(MatchingBudget& budget)
{
    m_grid.build(m_tracks);
    m_ranges.clear();
    std::size_t pairsEnd = 0;
    for (std::uint32_t i = 0; i < m_detections.size(); ++i)
    {
        const TrackedObject& detection = m_detections[i];
        if (i == 0 || detection.timestampUs != m_detections[i - 1].timestampUs)
            m_grid.setTime(detection.timestampUs);
        PairRange range;
        range.begin = pairsEnd;
        range.end = m_grid.findOverlapping(detection.box, m_pairs, pairsEnd);
        if (range.end > budget.pairs || m_grid.comparisons() > budget.comparisons)
        {
            m_result.resize(i);
            budget = {0, 0, /*isUsedUp*/ true};
            return;
        }
        for (std::size_t pair = range.begin; pair < range.end; ++pair)
            range.best = std::max(range.best, m_pairs[pair]);
        pairsEnd = range.end;
        m_ranges.push_back(range);
    }
    budget.pairs -= pairsEnd;
    budget.comparisons -= m_grid.comparisons();
}

void OverlapMatcher::assign()
{
    m_holders.assign(m_tracks.size(), Scored());
    for (std::uint32_t i = 0; i < m_ranges.size(); ++i)
    {
        std::uint32_t claimant = i;
        Scored pair = m_ranges[i].best;
        if (!pair.isNone() && !isToBeHad(i, pair))
            pair = lookAgain(i);
        while (!pair.isNone())
        {
            const Scored before =
                std::exchange(m_holders[pair.index()], Scored(pair.scoreBits(), claimant));
            if (before.isNone())
                break;
            claimant = before.index();
            pair = lookAgain(claimant);
        }
    }
    for (std::uint32_t track = 0; track < m_holders.size(); ++track)
    {
        if (!m_holders[track].isNone())
            m_result[m_holders[track].index()] = track;
    }
}

Scored OverlapMatcher::lookAgain(std::uint32_t detection)
{
    PairRange& range = m_ranges[detection];
    const auto at = [this](std::size_t i)
    { return m_pairs.begin() + static_cast<std::ptrdiff_t>(i); };
    if (!range.sorted && ++range.looks == kLooksBeforeSorting)
    {
        std::sort(at(range.begin), at(range.end), std::greater<>());
        range.sorted = true;
    }
    if (range.sorted)
    {
        const auto next = std::find_if(
            at(range.begin), at(range.end),
            [&](const Scored& pair) { return isToBeHad(detection, pair); });
        range.begin = static_cast<std::size_t>(next - m_pairs.begin());
        return range.begin < range.end ? m_pairs[range.begin] : Scored();
    }
    Scored best;
    std::size_t end = range.begin;
    for (std::size_t i = range.begin; i < range.end; ++i)
    {
        const Scored pair = m_pairs[i];
        const bool isLeft = isToBeHad(detection, pair);
        m_pairs[end] = pair;
        end += isLeft;
        best = std::max(best, isLeft ? pair : Scored());
    }
    range.end = end;
    return best;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
