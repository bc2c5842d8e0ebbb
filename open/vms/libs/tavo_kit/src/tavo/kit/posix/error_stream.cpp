#include <tavo/kit/error_stream.h>

#include <cerrno>
#include <csignal>
#include <ctime>

#include <unistd.h>

namespace tavo::kit
{

namespace
{

// While it lives, a write of this thread into a broken pipe raises no SIGPIPE. The signal's
// disposition belongs to the host, so it is only held back on this thread and then taken away.
class SigpipeBlock
{
public:
    SigpipeBlock()
    {
        sigset_t pending;
        sigpending(&pending);
        m_wasPending = sigismember(&pending, SIGPIPE) == 1;

        sigemptyset(&m_sigpipe);
        sigaddset(&m_sigpipe, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &m_sigpipe, &m_formerMask);
    }

    ~SigpipeBlock()
    {
        if (!m_wasPending)
        {
            const timespec noWait{};
            sigtimedwait(&m_sigpipe, nullptr, &noWait);
        }
        pthread_sigmask(SIG_SETMASK, &m_formerMask, nullptr);
    }

    SigpipeBlock(const SigpipeBlock&) = delete;
    SigpipeBlock& operator=(const SigpipeBlock&) = delete;

private:
    sigset_t m_sigpipe;
    sigset_t m_formerMask;
    bool m_wasPending = false;
};

} // namespace

size_t writeSomeToErrorStream(std::string_view text)
{
    const SigpipeBlock block;
    ssize_t written = 0;
    do
        written = write(STDERR_FILENO, text.data(), text.size());
    while (written < 0 && errno == EINTR);
    return written < 0 ? 0 : static_cast<size_t>(written);
}

} // namespace tavo::kit
