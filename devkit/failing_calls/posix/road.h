#pragma once

#include <memory>

#include "machine.h"

namespace tavo::devkit
{

using namespace std::chrono_literals; // of all roads

// A road through the library that is gone again and again, in one process.
class Road
{
public:
    // The findings are not owned.
    explicit Road(Findings& findings) :
        m_findings(findings)
    {}
    virtual ~Road() = default;

    // Whose calls count, of failing_calls::Callers.
    [[nodiscard]] virtual unsigned callers() const { return failing_calls::kAllCallers; }

    // Goes it once. A call may fail on the way: then it has to end somehow, and in time.
    virtual void attempt() = 0;

    // Nothing fails any more: all has to come about, from whatever the attempt has left.
    virtual void recover() = 0;

    // Whether nothing of the library is there between two goes, so that its memory can be counted.
    [[nodiscard]] virtual bool isUnloaded() const { return false; }

protected:
    Findings& m_findings;
};

// One that begins where results flow.
class RunningRoad : public Road
{
public:
    explicit RunningRoad(Findings& findings, const std::vector<std::string>& options = {}) :
        Road(findings),
        m_machine(options)
    {
        if (!m_machine.bringUp(m_host))
            m_findings.add("there are never any results: " + m_host.dialogText());
    }

protected:
    void expectResults()
    {
        const std::uint64_t before = m_host.results();
        if (!comesTrue([&] { return m_machine.helpToResults(m_host, before); }))
            m_findings.add("no results come any more: " + m_host.dialogText());
    }

    Machine m_machine;
    GuardedHost m_host{m_machine, m_findings};
};

} // namespace tavo::devkit
