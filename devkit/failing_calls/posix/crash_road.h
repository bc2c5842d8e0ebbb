#pragma once

#include <testing/platform.h>

#include "road.h"

namespace tavo::devkit
{

// The application is killed, told of, and started again.
class CrashRoad : public RunningRoad
{
public:
    using RunningRoad::RunningRoad;

    void attempt() override
    {
        const auto running = m_machine.processes("brunmod");
        for (const std::uint32_t process : running)
            test_support::endProcess(process);
        std::uint64_t before = 0;
        static_cast<void>(comesTrue(
            [&]
            {
                const auto now = m_machine.processes("brunmod");
                if (!now.empty() && now != running)
                    return m_machine.helpToResults(m_host, before);
                before = m_host.results();
                return false;
            },
            3s));
    }

    void recover() override
    {
        expectResults();
        if (m_machine.processes("brunmod").size() != 1)
            m_findings.add("not one application is running");
    }
};

} // namespace tavo::devkit
