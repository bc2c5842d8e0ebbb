#include <tavo/kit/debug.h>

#include <csignal>
#include <ctime>

#include <gtest/gtest.h>
#include <testing/broken_stream.h>

namespace tavo::kit
{

TEST(ErrorStream, aSignalThatWaitedBeforeGoesOnWaiting)
{
    sigset_t pipeSignal;
    sigset_t former;
    sigemptyset(&pipeSignal);
    sigaddset(&pipeSignal, SIGPIPE);
    printLine("");
    pthread_sigmask(SIG_BLOCK, &pipeSignal, &former);
    EXPECT_EQ(sigismember(&former, SIGPIPE), 0) << "as it was";
    pthread_kill(pthread_self(), SIGPIPE);
    {
        const test_support::BrokenStream broken(test_support::BrokenStream::Stream::error);
        printLine("nobody reads this");
        EXPECT_TRUE(broken.hasLeftSignal());
    }
    const timespec atOnce{};
    EXPECT_EQ(sigtimedwait(&pipeSignal, nullptr, &atOnce), SIGPIPE);
    pthread_sigmask(SIG_SETMASK, &former, nullptr);
}

} // namespace tavo::kit
