// A frame goes to the application, and its result comes back.

#include "machine.h"
#include "played_application.h"
#include "roads.h"

namespace tavo::devkit
{

namespace
{

using namespace std::chrono_literals;

class FrameRoad : public Road
{
public:
    explicit FrameRoad(Findings& findings) :
        Road(findings)
    {
        if (!m_machine.bringUp(m_host))
            m_findings.add("there are never any results: " + m_host.dialog());
        // Its place is taken by one that does as it is told.
        SettingValues values = UserSettings::defaults().valuesFor("");
        values["deviceActiveSwitch"] = "false";
        if (!m_host.apply(values) ||
            !comesAbout([this] { return m_machine.processes("brunmod").empty(); }))
        {
            m_findings.add("the application does not end");
        }
        m_application = std::make_unique<PlayedApplication>(m_machine.folder() + "/tmp");
    }

    // The loop has roads of its own.
    [[nodiscard]] unsigned callers() const override
    {
        return failing_calls::kHostCalls | failing_calls::kFirstThread;
    }
    [[nodiscard]] bool isUnloaded() const override { return false; }

    void attempt() override { static_cast<void>(goes(200ms)); }

    void recover() override
    {
        // Also what was attached meanwhile is let go of, one with each frame.
        for (int i = 0; i < 3; ++i)
        {
            if (!comesAbout([this] { return goes(1s); }))
                m_findings.add("no result comes any more");
        }
    }

private:
    // One frame; whether its result comes in that time.
    bool goes(std::chrono::milliseconds limit)
    {
        const std::uint64_t before = m_host.totals().results;
        return m_host.pushFrame(m_step++) &&
            comesAbout([&] { return m_host.totals().results > before; }, limit);
    }

    Machine m_machine{"sendFramesOverride=true\nlogVerbosityLevel=2\n"};
    LibraryHost m_host{m_machine.folder(), m_machine.store(), m_findings};
    std::unique_ptr<PlayedApplication> m_application;
    int m_step = 0;
};

} // namespace

std::unique_ptr<Road> makeFrameRoad(Findings& findings)
{
    return std::make_unique<FrameRoad>(findings);
}

} // namespace tavo::devkit
