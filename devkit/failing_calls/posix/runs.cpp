#include "runs.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <sstream>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "crash_road.h"
#include "frame_road.h"
#include "install_road.h"
#include "load_road.h"
#include "process_state.h"
#include "settings_road.h"

namespace tavo::devkit
{

namespace
{

constexpr long kSleepMs = 5;
constexpr auto kLongestStep = 120s; // three waits of comesTrue, and what is between them
constexpr char kStuck[] = "it was stuck";
constexpr int kMostWorkers = 50;

template <class Made>
std::unique_ptr<Road> make(Findings& findings)
{
    return std::make_unique<Made>(findings);
}

// In the order of kRoadNames.
constexpr std::unique_ptr<Road> (*kMakeRoad[])(Findings&) = {
    make<LoadRoad>, make<InstallRoad>, make<FrameRoad>, make<SettingsRoad>, make<CrashRoad>};

template <class Names>
std::size_t indexOf(const Names& names, const std::string& name)
{
    return static_cast<std::size_t>(
        std::find(std::begin(names), std::end(names), name) - std::begin(names));
}

// What a worker and whoever watches it both see.
struct Progress
{
    std::atomic<std::uint64_t> nth{0}; // of the run under way; 0: none has begun
    std::atomic<std::uint64_t> step{1}; // so far are the calls apart
    std::atomic<std::uint64_t> calls{0};
    std::atomic<bool> isLast{false}; // run of all: then there are so many calls
    std::atomic<bool> hasEnded{false}; // and let go of all
    std::atomic<std::uint64_t> runs{0};
    std::atomic<std::uint64_t> toldOf{0}; // the last run with a finding
    std::atomic<int> findings{0};
    std::atomic<std::uint64_t> beats{0}; // it goes on
};

// Tells of runs: the same lines, whichever process they come from.
class Report
{
public:
    explicit Report(const Runs& runs) :
        m_runs(runs),
        m_trace(memfd_create("trace", MFD_CLOEXEC)),
        m_output(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0))
    {
        void* const shared = mmap(
            nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (m_trace < 0 || m_output < 0 || shared == MAP_FAILED)
            throw std::runtime_error("nothing to report with");
        m_progress = new (shared) Progress;
    }
    ~Report()
    {
        munmap(m_progress, sizeof(Progress));
        close(m_trace);
        close(m_output);
    }
    Report(const Report&) = delete;
    Report& operator=(const Report&) = delete;

    [[nodiscard]] Progress& progress() const { return *m_progress; }
    [[nodiscard]] int trace() const { return m_trace; }

    void forgetTrace() const
    {
        if (ftruncate(m_trace, 0) != 0 || lseek(m_trace, 0, SEEK_SET) != 0)
            throw std::runtime_error("no trace");
    }

    void tell(std::string text) const
    {
        std::replace(text.begin(), text.end(), '\n', ' ');
        ++m_progress->findings;
        const auto nth = static_cast<unsigned long long>(m_progress->nth);
        dprintf(
            m_output, "%s %s %llu: %s\n", m_runs.road.c_str(), m_runs.kind.c_str(), nth,
            text.c_str());
        if (m_progress->toldOf.exchange(nth) == nth)
            return;
        std::array<char, 16 * 1024> frames;
        const ssize_t size = pread(m_trace, frames.data(), frames.size(), 0);
        std::istringstream lines(
            std::string(frames.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))));
        for (std::string line; std::getline(lines, line);)
            dprintf(m_output, "    %s\n", line.c_str());
    }

private:
    const Runs& m_runs;
    const int m_trace;
    const int m_output;
    Progress* m_progress = nullptr;
};

class Worker
{
public:
    Worker(const Runs& runs, std::uint64_t first, const Report& report) :
        m_runs(runs),
        m_first(first),
        m_report(report),
        m_kind(static_cast<failing_calls::Kind>(indexOf(failing_calls::kKindNames, runs.kind))),
        m_road(kMakeRoad[indexOf(kRoadNames, runs.road)](m_findings))
    {}

    void work()
    {
        Progress& progress = m_report.progress();
        m_road->recover(); // makes what then stays
        const std::uint64_t calls = attempt(0).calls;
        m_road->recover();
        m_usual = ProcessState::now();
        tell();
        progress.step = m_runs.most == 0 ? 1 : calls / m_runs.most + 1;
        for (progress.nth = m_first;; progress.nth += progress.step)
        {
            ++progress.runs;
            bool hasGrown = false;
            failing_calls::Outcome outcome = run(hasGrown);
            if (hasGrown) // what is made once and kept is no leak
                outcome = run(hasGrown);
            if (hasGrown)
                m_findings.add("memory is left each time");
            tell();
            if (outcome.hasFailed)
                continue;
            progress.calls = outcome.calls;
            progress.isLast = true;
            m_road.reset();
            tell();
            progress.hasEnded = true;
            return;
        }
    }

private:
    failing_calls::Outcome run(bool& hasGrown)
    {
        const std::size_t blocks = failing_calls::liveBlocks();
        const failing_calls::Outcome outcome = attempt(m_report.progress().nth);
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
        ++m_report.progress().beats;
        m_report.forgetTrace();
        failing_calls::arm(m_kind, nth, m_road->callers(), m_report.trace());
        m_road->attempt();
        return failing_calls::disarm();
    }

    void tell()
    {
        for (std::string& text : m_findings.take())
            m_report.tell(std::move(text));
        ++m_report.progress().beats;
    }

    const Runs& m_runs;
    const std::uint64_t m_first;
    const Report& m_report;
    const failing_calls::Kind m_kind;
    ProcessState m_usual; // when all has come about
    Findings m_findings;
    std::unique_ptr<Road> m_road;
};

[[noreturn]] void workAndExit(const Runs& runs, std::uint64_t first, const Report& report)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL); // nobody would end it if it is stuck, and it holds the output
    if (!std::getenv("FAILING_CALLS_OUTPUT"))
    {
        const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        dup2(nowhere, STDOUT_FILENO);
        dup2(nowhere, STDERR_FILENO);
        close(nowhere);
    }
    failing_calls::limitSleep(kSleepMs);
    Worker(runs, first, report).work();
    _exit(0);
}

// How a worker ended; ends it if it does not go on.
std::string howItEnded(pid_t worker, const Progress& progress)
{
    std::uint64_t beats = progress.beats;
    auto limit = std::chrono::steady_clock::now() + kLongestStep;
    int status = 0;
    while (waitpid(worker, &status, WNOHANG) == 0)
    {
        std::this_thread::sleep_for(10ms);
        if (const std::uint64_t now = progress.beats; now != beats)
        {
            beats = now;
            limit = std::chrono::steady_clock::now() + kLongestStep;
        }
        else if (std::chrono::steady_clock::now() > limit)
        {
            kill(worker, SIGABRT);
            waitpid(worker, &status, 0);
            return kStuck;
        }
    }
    return WIFSIGNALED(status) ? "it ended by signal " + std::to_string(WTERMSIG(status))
                               : "it ended with " + std::to_string(WEXITSTATUS(status));
}

} // namespace

bool supervise(const Runs& runs)
{
    const Report report(runs);
    Progress& progress = report.progress();
    std::uint64_t first = runs.first;
    for (int workers = 0; workers < kMostWorkers; ++workers)
    {
        progress.nth = 0;
        const pid_t worker = fork();
        if (worker < 0)
            throw std::runtime_error("no worker");
        if (worker == 0)
            workAndExit(runs, first, report);
        const std::string end = howItEnded(worker, progress);
        if (progress.hasEnded)
            break;
        report.tell(end);
        if (progress.nth == 0 || progress.isLast || end == kStuck)
            break; // nor does it with nothing failing, or each more costs so long
        first = progress.nth + progress.step;
    }
    std::printf(
        "%s %s: %llu runs over %llu calls, %d findings\n", runs.road.c_str(), runs.kind.c_str(),
        static_cast<unsigned long long>(progress.runs),
        static_cast<unsigned long long>(progress.calls), progress.findings.load());
    std::fflush(stdout);
    return progress.findings == 0;
}

} // namespace tavo::devkit
