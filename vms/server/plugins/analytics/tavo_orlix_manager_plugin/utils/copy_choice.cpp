#include "utils/copy_choice.h"

#include <algorithm>
#include <bit>
#include <limits>

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

// Below it the copy is about to be read from this processor's caches more often than not, and the
// fence of a streaming copy costs more than it saves.
constexpr std::size_t kStreamFrom = 64 * 1024;

constexpr double kTrialShare = 0.02; // of the time; what trials may cost
constexpr int kMinBetweenTrials = 32; // copies
constexpr int kMaxBetweenTrials = 2000;

// A way in use that takes so many times what it took is compared anew: the processes may have moved
// to other processors.
constexpr double kMuchSlower = 1.5;

// A trial that is so many times slower is not carried on.
constexpr double kHopeless = 2;

CopyWay other(CopyWay way)
{
    return way == CopyWay::plain ? CopyWay::streaming : CopyWay::plain;
}

} // namespace

CopyWay CopyChoice::wayFor(std::size_t size)
{
    if (size < kStreamFrom || !can_stream())
        return CopyWay::plain;
    const MutexLock lock(m_mutex);
    return classOf(size).way();
}

void CopyChoice::note(std::size_t size, CopyWay way, Duration took)
{
    if (size < kStreamFrom || !can_stream())
        return;
    const MutexLock lock(m_mutex);
    classOf(size).note(way, double(took.count()) / double(size));
}

CopyChoice::SizeClass& CopyChoice::classOf(std::size_t size)
{
    const auto index = static_cast<std::size_t>(std::bit_width(size / kStreamFrom)) - 1;
    return m_classes[std::min(index, kClasses - 1)];
}

void CopyChoice::SizeClass::note(CopyWay way, double cost)
{
    if (way != m_tried)
        return; // chosen before the block of another thread's copies ended
    ++m_copies;
    ++m_sinceTrial;
    const bool isTrial = m_tried != m_used;
    // The first copy behind a trial pays for it as well.
    if (isTrial || (m_sinceTrial == 1 && costOf(m_used) > 0))
        m_trialExtra += std::max(cost - costOf(m_used), 0.0);
    if (m_copies > 1)
        m_blockCost = std::min(m_blockCost, cost);
    const bool isHopeless =
        isTrial && m_blockCost > kHopeless * costOf(m_used) && m_copies > 1 && costOf(m_tried) > 0;
    if (m_copies == kBlock || isHopeless)
        endBlock();
}

void CopyChoice::SizeClass::endBlock()
{
    m_costs[std::size_t(m_tried)] = m_blockCost;
    if (m_tried != m_used)
        endTrial();
    else if (isTrialDue())
        startBlock(other(m_used));
    else
        startBlock(m_used);
}

void CopyChoice::SizeClass::endTrial()
{
    if (costOf(m_tried) < costOf(m_used))
        m_used = m_tried;
    m_settledCost = costOf(m_used);
    m_sinceTrial = 0;
    startBlock(m_used);
}

bool CopyChoice::SizeClass::isTrialDue() const
{
    if (costOf(other(m_used)) == 0)
        return true;
    if (m_sinceTrial < kMinBetweenTrials)
        return false;
    return m_blockCost > kMuchSlower * m_settledCost || m_sinceTrial >= kMaxBetweenTrials ||
        m_sinceTrial * kTrialShare * m_settledCost >= m_trialExtra;
}

void CopyChoice::SizeClass::startBlock(CopyWay way)
{
    if (way != m_used)
        m_trialExtra = 0;
    m_tried = way;
    m_copies = 0;
    m_blockCost = std::numeric_limits<double>::infinity();
}

} // namespace tavo::vms_server_plugins::analytics::orlix
