#include "core/loop_decisions.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

// From this many starts without a deliberate stop on, a crash is no accident.
constexpr std::uint64_t kStartsOfARestartLoop = 3;

} // namespace

ManagerAction decideManagerAction(
    ManagerState status, ManagerState desired, std::uint64_t startCount)
{
    if (status == desired)
        return ManagerAction::none;
    if (desired == ManagerState::Running &&
        (startCount >= kStartsOfARestartLoop || status == ManagerState::Failed))
    {
        return ManagerAction::startReportedInactive;
    }
    if (status == ManagerState::Stopped && desired == ManagerState::Running)
        return ManagerAction::start;
    if (status == ManagerState::Running && desired == ManagerState::Stopped)
        return ManagerAction::stop;
    return ManagerAction::none;
}

RuntimeStep decideRuntimeStep(RuntimeStatus status, std::size_t compatibleRuntimes)
{
    if (compatibleRuntimes == 0)
        return RuntimeStep::wait;
    if (compatibleRuntimes == 1)
    {
        return status == RuntimeStatus::installFailed ? RuntimeStep::carryOn
                                                      : RuntimeStep::installTheOnlyOne;
    }
    if (status == RuntimeStatus::notSelected)
        return RuntimeStep::offerChoice;
    return status == RuntimeStatus::chosen ? RuntimeStep::installChosen : RuntimeStep::wait;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
