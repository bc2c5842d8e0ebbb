#include "core/loop_decisions.h"

#include <gtest/gtest.h>

namespace tavo::vms_server_plugins::analytics::orlix
{

TEST(LoopDecisions, ManagerAction)
{
    constexpr ManagerState Stopped = ManagerState::Stopped;
    constexpr ManagerState Running = ManagerState::Running;
    constexpr ManagerState Failed = ManagerState::Failed;
    const struct
    {
        const char* name;
        ManagerState status, desired;
        std::uint64_t startCount;
        ManagerAction action;
    } kCases[] = {
        {"first start", Stopped, Running, 0, ManagerAction::start},
        {"after two crashes", Stopped, Running, 2, ManagerAction::start},
        {"third crash in a row", Stopped, Running, 3, ManagerAction::startReportedInactive},
        {"failed to start", Failed, Running, 1, ManagerAction::startReportedInactive},
        {"nobody wants it, many starts", Running, Stopped, 5, ManagerAction::stop},
        {"failed and not wanted", Failed, Stopped, 3, ManagerAction::none}};
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.action, decideManagerAction(c.status, c.desired, c.startCount));
    }
}

TEST(LoopDecisions, RuntimeStep)
{
    constexpr RuntimeStep wait = RuntimeStep::wait;
    constexpr RuntimeStep only = RuntimeStep::installTheOnlyOne;
    const struct
    {
        RuntimeStatus status;
        RuntimeStep none, one, several;
    } kCases[] = {
        {RuntimeStatus::notSelected, wait, only, RuntimeStep::offerChoice},
        {RuntimeStatus::waitingForChoice, wait, only, wait},
        {RuntimeStatus::chosen, wait, only, RuntimeStep::installChosen},
        {RuntimeStatus::installing, wait, only, wait},
        {RuntimeStatus::installFailed, wait, RuntimeStep::carryOn, wait},
        {RuntimeStatus::noneCompatible, wait, only, wait}};
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(static_cast<int>(c.status));
        EXPECT_EQ(c.none, decideRuntimeStep(c.status, 0));
        EXPECT_EQ(c.one, decideRuntimeStep(c.status, 1));
        EXPECT_EQ(c.several, decideRuntimeStep(c.status, 2));
    }
}

} // namespace tavo::vms_server_plugins::analytics::orlix
