#include <tavo/kit/debug.h>

#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace tavo::kit
{

namespace
{

TEST(Debug, aReaderThatIsGoneDoesNoHarm)
{
    ASSERT_NE(std::signal(SIGPIPE, SIG_DFL), SIG_ERR); // as in a host that handles nothing
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    const int formerStderr = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0);
    ASSERT_GE(dup2(ends[1], STDERR_FILENO), 0);
    close(ends[0]);
    close(ends[1]);

    errno = ENOENT;
    printLine("nobody reads this");
    EXPECT_EQ(errno, ENOENT);

    dup2(formerStderr, STDERR_FILENO);
    close(formerStderr);
    sigset_t pending;
    sigpending(&pending);
    EXPECT_EQ(sigismember(&pending, SIGPIPE), 0);
}

} // namespace

} // namespace tavo::kit
