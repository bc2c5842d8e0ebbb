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
void fault(ShmSegment& segment)
{
    ShmView view = attachNewSegment(segment);
    const int file = memfd_create("empty", MFD_CLOEXEC);
    void* const page = mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (file < 0 || page == MAP_FAILED || !shm_write_begin(view, kSize))
        std::_Exit(EXIT_FAILURE);
    *static_cast<volatile char*>(page) = 1;
}

void faultUnder(void (*action)(int), ShmSegment& segment)
{
    std::signal(SIGBUS, action); // in place of a sanitizer's
    fault(segment);
}

void setHandler(void (*handler)(int, siginfo_t*, void*), struct sigaction* former = nullptr)
{
    struct sigaction action = {};
    action.sa_sigaction = handler;
    action.sa_flags = SA_SIGINFO;
    sigaddset(&action.sa_mask, SIGUSR1);
    sigaction(SIGBUS, &action, former);
}

void handlerOfTheHost(int, siginfo_t* info, void*)
{
    sigset_t mask;
    const bool isMasked =
        pthread_sigmask(SIG_BLOCK, nullptr, &mask) == 0 && sigismember(&mask, SIGUSR1) == 1;
    std::_Exit(info->si_code == BUS_ADRERR && isMasked ? kOfTheHost : EXIT_FAILURE);
}

struct sigaction g_formerOfTheHost;

void handlerThatCallsTheFormer(int number, siginfo_t* info, void* context)
{
    static bool wasCalled = false;
    if (std::exchange(wasCalled, true))
        std::_Exit(kCalledAgain);
    g_formerOfTheHost.sa_sigaction(number, info, context);
}

void plainHandlerOfTheHost(int)
{
    std::_Exit(kOfTheHost);
}

TEST(BusErrorGuardTest, eachSignalFindsTheActionThatItWouldHaveFoundWithoutIt)
{
    const auto killed = testing::KilledBySignal(SIGBUS);
    const auto handled = testing::ExitedWithCode(kOfTheHost);
    const struct
    {
        const char* name;
        std::function<void(ShmSegment&)> run;
        std::function<bool(int status)> isRight;
    } cases[] = {
        {"a fault, by default", [](auto& segment) { faultUnder(SIG_DFL, segment); }, killed},
        {"a fault, ignored in vain", [](auto& segment) { faultUnder(SIG_IGN, segment); }, killed},
        {"a fault, with a handler of the number alone",
         [](auto& segment) { faultUnder(plainHandlerOfTheHost, segment); }, handled},
        {"a fault, with a handler",
         [](auto& segment)
         {
             setHandler(handlerOfTheHost);
             fault(segment);
         },
         handled},
        {"what only reads leaves the host's alone",
         [](auto& segment)
         {
             shm_create_named(segment, uniqueName("shm"), 1, kSize);
             shm_remove(segment);
             setHandler(handlerOfTheHost);
             struct sigaction found = {};
             const std::size_t size = shm_size(segment);
             sigaction(SIGBUS, nullptr, &found);
             std::_Exit(
                 size > 0 && found.sa_sigaction == handlerOfTheHost ? kOfTheHost : EXIT_FAILURE);
         },
         handled},
        {"signals that are sent, ignored and then by default",
         [](auto& segment)
         {
             for (const auto action : {SIG_IGN, SIG_DFL})
             {
                 std::signal(SIGBUS, action);
                 const ShmView view = attachNewSegment(segment);
                 raise(SIGBUS);
             }
         },
         killed},
        {"signals that are sent, with a handler for one",
         [](auto& segment)
         {
             struct sigaction once = {};
             once.sa_handler = [](int) {};
             once.sa_flags = static_cast<int>(SA_RESETHAND);
             sigaction(SIGBUS, &once, nullptr);
             const ShmView view = attachNewSegment(segment);
             raise(SIGBUS);
             raise(SIGBUS);
         },
         killed},
        {"a handler that the host sets later is replaced at the next attach",
         [](auto& segment)
         {
             ShmView old = attachNewSegment(segment);
             setHandler(handlerOfTheHost);
             ShmSegment other;
             ShmView view = attachNewSegment(other);
             if (!isGuarded(other, view) || !isGuarded(segment, old))
                 std::_Exit(EXIT_FAILURE);
             fault(segment);
         },
         handled},
        {"handlers that call each other come to an end",
         [](auto& segment)
         {
             const ShmView view = attachNewSegment(segment);
             setHandler(handlerThatCallsTheFormer, &g_formerOfTheHost);
             fault(segment);
         },
         [](int status) { return !WIFEXITED(status) || WEXITSTATUS(status) != kCalledAgain; }}};
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        ShmSegment segment;
        EXPECT_EXIT(c.run(segment), c.isRight, "");
    }
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix::test
