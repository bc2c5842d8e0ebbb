#include "worker.h"

#include <algorithm>
#include <cstdio>
#include <memory>

#include "findings.h"
#include "process_state.h"
#include "road.h"

namespace tavo::devkit
{

namespace
{

constexpr long kSleepMs = 5;

class Worker
{
public:
    explicit Worker(const Runs& runs) :
        m_runs(runs),
        m_kind(static_cast<failing_calls::Kind>(
            std::find(kindNames().begin(), kindNames().end(), runs.kind) - kindNames().begin())),
        m_road(makeRoad(runs.road, m_findings))
    {}

    void work()
    {
        m_road->recover(); // makes what then stays
        const std::uint64_t calls = attempt(0).calls;
        m_road->recover();
        m_usual = ProcessState::now();
        tell();
        const std::uint64_t step = m_runs.most == 0 ? 1 : calls / m_runs.most + 1;
        say("step " + std::to_string(step));
        for (std::uint64_t nth = m_runs.first;; nth += step)
        {
            say("run " + std::to_string(nth));
            bool hasGrown = false;
            failing_calls::Outcome outcome = run(nth, hasGrown);
            if (hasGrown) // what is made once and kept is no leak
            {
                say("again");
                outcome = run(nth, hasGrown);
            }
            if (hasGrown)
                m_findings.add("memory is left each time");
            tell();
            say("done " + std::to_string(nth));
            if (!outcome.hasFailed)
            {
                say("end " + std::to_string(outcome.calls));
                return;
            }
        }
    }

private:
    failing_calls::Outcome run(std::uint64_t nth, bool& hasGrown)
    {
        const std::size_t blocks = failing_calls::liveBlocks();
        const failing_calls::Outcome outcome = attempt(nth);
        m_road->recover();
        if (const std::string more = waitUntilBackAt(m_usual); !more.empty())
        {
            m_findings.add("left behind: " + more);
            m_usual = ProcessState::now(); // told once
        }
        hasGrown = m_road->isUnloaded() && failing_calls::liveBlocks() > blocks;
        return outcome;
    }

    failing_calls::Outcome attempt(std::uint64_t nth)
    {
        failing_calls::arm(m_kind, nth, m_road->callers());
        m_road->attempt();
        return failing_calls::disarm();
    }

    void tell()
    {
        for (std::string& text : m_findings.take())
        {
            std::replace(text.begin(), text.end(), '\n', ' ');
            say("finding " + text);
        }
    }

    void say(const std::string& text) { dprintf(kReport, "%s\n", text.c_str()); }

    const Runs& m_runs;
    const failing_calls::Kind m_kind;
    ProcessState m_usual; // when all has come about
    Findings m_findings;
    const std::unique_ptr<Road> m_road;
};

} // namespace

const std::vector<std::string>& kindNames()
{
    static const std::vector<std::string> names{
        "open",    "read", "write", "rename", "mmap",        "fallocate",      "socket",
        "connect", "send", "recv",  "accept", "posix_spawn", "pthread_create", "malloc"};
    return names;
}

int work(const Runs& runs)
{
    failing_calls::limitSleep(kSleepMs);
    failing_calls::traceTo(kReport);
    Worker(runs).work();
    return 0;
}

} // namespace tavo::devkit
