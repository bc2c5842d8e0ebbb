#include "testing/broken_stream.h"

#include <csignal>
#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

namespace tavo::test_support
{

BrokenStream::BrokenStream(Stream stream) :
    m_stream(static_cast<int>(stream)),
    m_former(fcntl(m_stream, F_DUPFD_CLOEXEC, 0)),
    m_formerHandler(std::signal(SIGPIPE, SIG_DFL))
{
    int ends[2] = {-1, -1};
    (void)pipe2(ends, O_CLOEXEC);
    std::fflush(nullptr);
    dup2(ends[1], m_stream);
    close(ends[0]);
    close(ends[1]);
}

BrokenStream::~BrokenStream()
{
    std::fflush(nullptr); // what was left to the host, it writes
    dup2(m_former, m_stream);
    close(m_former);
    std::signal(SIGPIPE, m_formerHandler);
}

bool BrokenStream::hasLeftSignal() const
{
    sigset_t pending;
    sigpending(&pending);
    return sigismember(&pending, SIGPIPE) != 0;
}

} // namespace tavo::test_support
