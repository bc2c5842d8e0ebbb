#include "supervisor.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <string_view>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tavo::devkit
{

namespace
{

using namespace std::chrono_literals;

constexpr auto kLongestRun = 60s;

// A worker as a process, which is ended with this object.
class WorkerProcess
{
public:
    explicit WorkerProcess(const Runs& runs)
    {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0)
            throw std::runtime_error("no pipe");
        m_report = ends[0];
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, ends[1], kReport);
        if (!std::getenv("FAILING_CALLS_OUTPUT"))
        {
            for (const int stream : {STDOUT_FILENO, STDERR_FILENO})
                posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_WRONLY, 0);
        }
        const std::string first = std::to_string(runs.first);
        const std::string most = std::to_string(runs.most);
        const char* const arguments[] = {
            "failing_calls", "--worker", runs.road.c_str(), runs.kind.c_str(), first.c_str(),
            most.c_str(),    nullptr};
        const int error = posix_spawn(
            &m_process, "/proc/self/exe", &actions, nullptr, const_cast<char* const*>(arguments),
            environ);
        posix_spawn_file_actions_destroy(&actions);
        close(ends[1]);
        if (error != 0)
            throw std::runtime_error("no worker");
    }
    ~WorkerProcess()
    {
        if (m_process != 0)
            end(SIGKILL);
        close(m_report);
    }
    WorkerProcess(const WorkerProcess&) = delete;
    WorkerProcess& operator=(const WorkerProcess&) = delete;

    // The next line of its report; none if it has ended, or says nothing for too long.
    std::optional<std::string> nextLine()
    {
        for (;;)
        {
            if (const std::size_t at = m_text.find('\n'); at != std::string::npos)
            {
                std::string line = m_text.substr(0, at);
                m_text.erase(0, at + 1);
                return line;
            }
            pollfd polled{m_report, POLLIN, 0};
            if (poll(&polled, 1, std::chrono::milliseconds(kLongestRun).count()) <= 0)
            {
                m_isStuck = true;
                return std::nullopt;
            }
            char block[4096];
            const ssize_t count = read(m_report, block, sizeof block);
            if (count <= 0)
                return std::nullopt;
            m_text.append(block, static_cast<std::size_t>(count));
        }
    }

    // How it ended; ends it if it does not.
    std::string howItEnded()
    {
        if (m_isStuck)
        {
            end(SIGABRT);
            return "it was stuck";
        }
        const int status = end(0);
        return WIFSIGNALED(status) ? "it ended by signal " + std::to_string(WTERMSIG(status))
                                   : "it ended with " + std::to_string(WEXITSTATUS(status));
    }

private:
    int end(int signal)
    {
        if (signal != 0)
            kill(m_process, signal);
        int status = 0;
        waitpid(m_process, &status, 0);
        m_process = 0;
        return status;
    }

    pid_t m_process = 0;
    int m_report = -1;
    std::string m_text;
    bool m_isStuck = false;
};

// What is told of one run, until it is known whether it is worth it.
struct RunText
{
    std::uint64_t nth = 0; // 0: none has begun
    std::string trace;
    int findings = 0;
};

class Supervisor
{
public:
    Supervisor(Runs runs) :
        m_runs(std::move(runs))
    {}

    void supervise()
    {
        while (m_callCount == 0 && m_workers < 50)
        {
            ++m_workers;
            WorkerProcess worker(m_runs);
            RunText run;
            while (const auto line = worker.nextLine())
                take(*line, run);
            if (m_callCount != 0)
                return;
            const std::string end = worker.howItEnded();
            tell(run, end);
            if (run.nth == 0)
                return; // nor does it with nothing failing
            m_runs.first = run.nth + m_step;
        }
    }

    [[nodiscard]] int findings() const { return m_findings; }
    [[nodiscard]] int runCount() const { return m_runCount; }
    [[nodiscard]] std::uint64_t callCount() const { return m_callCount == 0 ? 0 : m_callCount - 1; }

private:
    void take(const std::string& line, RunText& run)
    {
        constexpr std::string_view kStep = "step ";
        constexpr std::string_view kRun = "run ";
        constexpr std::string_view kFinding = "finding ";
        constexpr std::string_view kEnd = "end ";
        if (line.starts_with(kRun))
        {
            run = {std::stoull(line.substr(kRun.size())), {}, 0};
            ++m_runCount;
        }
        else if (line == "again")
            run.trace.clear();
        else if (line.starts_with(kFinding))
            tell(run, line.substr(kFinding.size()));
        else if (line.starts_with(kStep))
            m_step = std::stoull(line.substr(kStep.size()));
        else if (line.starts_with(kEnd))
            m_callCount = std::stoull(line.substr(kEnd.size())) + 1;
        else if (!line.starts_with("done "))
            run.trace += "    " + line + "\n";
    }

    void tell(RunText& run, const std::string& text)
    {
        ++m_findings;
        std::printf(
            "%s %s %llu: %s\n", m_runs.road.c_str(), m_runs.kind.c_str(),
            static_cast<unsigned long long>(run.nth), text.c_str());
        if (run.findings++ == 0)
            std::printf("%s", run.trace.c_str());
        std::fflush(stdout);
    }

    Runs m_runs;
    std::uint64_t m_step = 1;
    int m_workers = 0;
    int m_findings = 0;
    int m_runCount = 0;
    std::uint64_t m_callCount = 0; // and one; 0: not known yet
};

} // namespace

bool supervise(const Runs& runs)
{
    Supervisor supervisor(runs);
    supervisor.supervise();
    std::printf(
        "%s %s: %d runs over %llu calls, %d findings\n", runs.road.c_str(), runs.kind.c_str(),
        supervisor.runCount(), static_cast<unsigned long long>(supervisor.callCount()),
        supervisor.findings());
    std::fflush(stdout);
    return supervisor.findings() == 0;
}

} // namespace tavo::devkit
