#pragma once

#include <csignal>
#include <functional>
#include <sys/wait.h>
#include <unistd.h>

namespace tavo::vms_server_plugins::analytics::orlix::test
{

// A copy of this process that runs `body`, and then waits until it is ended: with the test at the
// latest.
class ForkedProcess
{
public:
    explicit ForkedProcess(const std::function<void()>& body) :
        m_pid(fork())
    {
        if (m_pid != 0)
            return;
        body();
        for (;;)
            pause();
    }
    ~ForkedProcess() { end(SIGKILL); }
    ForkedProcess(const ForkedProcess&) = delete;
    ForkedProcess& operator=(const ForkedProcess&) = delete;

    void end(int signal)
    {
        if (m_pid <= 0)
            return;
        kill(m_pid, signal);
        waitpid(m_pid, nullptr, 0);
        m_pid = 0;
    }

private:
    pid_t m_pid;
};

} // namespace tavo::vms_server_plugins::analytics::orlix::test
