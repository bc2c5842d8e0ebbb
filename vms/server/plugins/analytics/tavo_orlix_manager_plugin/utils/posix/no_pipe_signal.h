#pragma once

#include <cerrno>
#include <csignal>
#include <ctime>

namespace tavo::vms_server_plugins::analytics::orlix
{

// While it lives, a write of this thread into a broken pipe raises no SIGPIPE: a write has no flag
// against it as a send has, and what the process does with the signal is the host's affair. So the
// signal is held back on this thread and taken.
class NoPipeSignal
{
public:
    NoPipeSignal()
    {
        sigemptyset(&m_pipeSignal);
        sigaddset(&m_pipeSignal, SIGPIPE);
        sigset_t pending;
        sigpending(&pending);
        m_wasPending = sigismember(&pending, SIGPIPE) == 1;
        pthread_sigmask(SIG_BLOCK, &m_pipeSignal, &m_before);
    }
    ~NoPipeSignal()
    {
        const int error = errno;
        const timespec atOnce = {};
        if (!m_wasPending)
            sigtimedwait(&m_pipeSignal, nullptr, &atOnce);
        pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
        errno = error;
    }
    NoPipeSignal(const NoPipeSignal&) = delete;
    NoPipeSignal& operator=(const NoPipeSignal&) = delete;

private:
    sigset_t m_pipeSignal;
    sigset_t m_before;
    bool m_wasPending;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
