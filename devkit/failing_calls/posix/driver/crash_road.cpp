// The application is killed, told of, and started again.

#include <algorithm>

#include <testing/platform.h>

#include "machine.h"
#include "roads.h"

namespace tavo::devkit
{

namespace
{

using namespace std::chrono_literals;

class CrashRoad : public Road
{
public:
    explicit CrashRoad(Findings& findings) :
        Road(findings)
    {
        if (!m_machine.bringUp(m_host))
            m_findings.add("there are never any results: " + m_host.dialog());
    }

    [[nodiscard]] unsigned callers() const override { return failing_calls::kAllCallers; }
    [[nodiscard]] bool isUnloaded() const override { return false; }

    void attempt() override
    {
        const auto running = m_machine.processes("brunmod");
        for (const std::uint32_t process : running)
            test_support::endProcess(process);
        static_cast<void>(comesAbout([&] { return worksAgain(running); }, 3s));
    }

    void recover() override
    {
        m_before = m_host.totals().results;
        if (!comesAbout([this] { return m_machine.helpToResults(m_host, m_before); }))
            m_findings.add("no results come any more: " + m_host.dialog());
        if (m_machine.processes("brunmod").size() != 1)
            m_findings.add("not one application is running");
    }

private:
    [[nodiscard]] bool worksAgain(const std::vector<std::uint32_t>& formerly)
    {
        const auto running = m_machine.processes("brunmod");
        if (running.empty() || running == formerly)
        {
            m_before = m_host.totals().results;
            return false;
        }
        return m_machine.helpToResults(m_host, m_before);
    }

    Machine m_machine;
    LibraryHost m_host{m_machine.folder(), m_machine.store(), m_findings};
    std::uint64_t m_before = 0;
};

} // namespace

std::unique_ptr<Road> makeCrashRoad(Findings& findings)
{
    return std::make_unique<CrashRoad>(findings);
}

} // namespace tavo::devkit
