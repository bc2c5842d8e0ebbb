#pragma once

#include "played_application.h"
#include "road.h"

namespace tavo::devkit
{

// A frame goes to the application, and its result comes back.
class FrameRoad : public RunningRoad
{
public:
    explicit FrameRoad(Findings& findings) :
        RunningRoad(findings, {"sendFramesOverride=true", "logVerbosityLevel=2"})
    {
        // The application's place is taken by one that does as it is told.
        SettingValues values = UserSettings::defaults().valuesFor("");
        values["deviceActiveSwitch"] = "false";
        if (!m_host.apply(values) ||
            !comesTrue([this] { return m_machine.processes("brunmod").empty(); }))
        {
            m_findings.add("the application does not end");
        }
        m_application = std::make_unique<PlayedApplication>(m_machine.folder().path("tmp"));
    }

    // The loop has roads of its own.
    [[nodiscard]] unsigned callers() const override
    {
        return failing_calls::kHostCalls | failing_calls::kFirstThread;
    }

    void attempt() override { static_cast<void>(goes(200ms)); }

    void recover() override
    {
        // Also what was attached meanwhile is let go of, one with each frame.
        for (int i = 0; i < 3; ++i)
        {
            if (!comesTrue([this] { return goes(1s); }))
                m_findings.add("no result comes any more");
        }
    }

private:
    // One frame; whether its result comes in that time.
    bool goes(std::chrono::milliseconds limit)
    {
        const std::uint64_t before = m_host.results();
        return m_host.push(m_step++) && comesTrue([&] { return m_host.results() > before; }, limit);
    }

    std::unique_ptr<PlayedApplication> m_application;
    int m_step = 0;
};

} // namespace tavo::devkit
