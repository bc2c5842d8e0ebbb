#include <csignal>
#include <cstdlib>
#include <cstring>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include "test_support.h"
#include "utils/shm.h"

// What a host has of the signal that guards a write to a segment. Each case in a process of its
// own, since it may end that.

namespace tavo::vms_server_plugins::analytics::orlix::test
{
namespace
{

constexpr int kOfTheHost = 7; // exit codes
constexpr int kCalledAgain = 9;
constexpr std::uint32_t kSize = 100'000;

// The last of its name has ended with the process.
ShmView attachNewSegment(ShmSegment& segment)
{
    shm_create_named(segment, uniqueName("shm"), 1, kSize);
    ShmView view = shm_attach(segment);
    shm_remove(segment);
    return view;
}

// True if the process lives on and the write has failed.
bool isGuarded(const ShmSegment& segment, ShmView& view)
{
    char* const payload = shm_write_begin(view, kSize);
    if (!payload || ftruncate(static_cast<int>(segment.handle), 0) != 0)
        return false;
    std::memset(payload, 'x', kSize);
    return !shm_write_end(view);
}

// A fault of the host's own, while a write to a segment is under way.
void touchWhatIsNotThere(ShmView& view)
{
    const int file = memfd_create("empty", MFD_CLOEXEC);
    void* const page = mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (file < 0 || page == MAP_FAILED || !shm_write_begin(view, kSize))
        std::_Exit(EXIT_FAILURE);
    *static_cast<volatile char*>(page) = 1;
}

void setHandler(void (*handler)(int, siginfo_t*, void*), struct sigaction* former = nullptr)
{
    struct sigaction action = {};
    action.sa_sigaction = handler;
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGBUS, &action, former);
}

void handlerOfTheHost(int, siginfo_t* info, void*)
{
    std::_Exit(info->si_code == BUS_ADRERR ? kOfTheHost : EXIT_FAILURE);
}

struct sigaction g_formerOfTheHost;

void handlerThatCallsTheFormer(int number, siginfo_t* info, void* context)
{
    static bool wasCalled = false;
    if (std::exchange(wasCalled, true))
        std::_Exit(kCalledAgain);
    g_formerOfTheHost.sa_sigaction(number, info, context);
}

TEST(BusErrorGuardTest, aFaultOfTheHostsHasTheDefaultAction)
{
    EXPECT_EXIT(
        {
            std::signal(SIGBUS, SIG_DFL); // in place of a sanitizer's
            ShmSegment segment;
            ShmView view = attachNewSegment(segment);
            touchWhatIsNotThere(view);
        },
        testing::KilledBySignal(SIGBUS), "");
}

TEST(BusErrorGuardTest, aSignalThatIsSentIsPassedOn)
{
    EXPECT_EXIT(
        {
            std::signal(SIGBUS, SIG_IGN);
            ShmSegment segment;
            ShmView view = attachNewSegment(segment);
            raise(SIGBUS);
            std::signal(SIGBUS, SIG_DFL);
            view = attachNewSegment(segment);
            raise(SIGBUS);
        },
        testing::KilledBySignal(SIGBUS), "");
}

TEST(BusErrorGuardTest, aFaultOfTheHostsReachesItsHandler)
{
    EXPECT_EXIT(
        {
            setHandler(handlerOfTheHost);
            ShmSegment segment;
            ShmView view = attachNewSegment(segment);
            touchWhatIsNotThere(view);
        },
        testing::ExitedWithCode(kOfTheHost), "");
}

TEST(BusErrorGuardTest, aHandlerThatTheHostSetsLaterIsReplacedAtTheNextAttach)
{
    EXPECT_EXIT(
        {
            ShmSegment first;
            ShmView old = attachNewSegment(first);
            setHandler(handlerOfTheHost);
            ShmSegment segment;
            ShmView view = attachNewSegment(segment);
            if (!isGuarded(segment, view) || !isGuarded(first, old))
                std::_Exit(EXIT_FAILURE);
            touchWhatIsNotThere(view = attachNewSegment(segment));
        },
        testing::ExitedWithCode(kOfTheHost), "");
}

TEST(BusErrorGuardTest, handlersThatCallEachOtherComeToAnEnd)
{
    EXPECT_EXIT(
        {
            ShmSegment segment;
            ShmView view = attachNewSegment(segment);
            setHandler(handlerThatCallsTheFormer, &g_formerOfTheHost);
            view = attachNewSegment(segment);
            touchWhatIsNotThere(view);
        },
        [](int status) { return !WIFEXITED(status) || WEXITSTATUS(status) != kCalledAgain; }, "");
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix::test
