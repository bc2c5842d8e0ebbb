#include "utils/posix/bus_error_guard.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <dlfcn.h>
#include <mutex>
#include <new>
#include <pthread.h>
#include <sys/mman.h>

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

struct GuardedWrite
{
    void* mapping = nullptr;
    std::size_t length = 0;
    volatile std::sig_atomic_t isLost = 0;
};

// What the handler has replaced. Never changed once it can be seen, and never freed.
struct FormerAction
{
    struct sigaction action = {};
    FormerAction* previous = nullptr;
    std::atomic<bool> isSpent{false}; // of a handler that wanted to be called once
};

constinit std::mutex g_installLock;
bool g_hasKey = false; // under the lock; set before any handler can run

// The write of the thread, as the handler finds it: a thread_local variable may have to be
// allocated when it is touched, which a handler must not do.
pthread_key_t g_write;
thread_local GuardedWrite t_write;

std::atomic<FormerAction*> g_former{nullptr}; // the latest
std::atomic<void*> g_passedOn{nullptr}; // the signal, by its context, that a former handler has

bool lies(const void* address, const GuardedWrite& write)
{
    const auto at = reinterpret_cast<std::uintptr_t>(address);
    const auto begin = reinterpret_cast<std::uintptr_t>(write.mapping);
    return at >= begin && at - begin < write.length;
}

bool cover(GuardedWrite& write)
{
    if (mmap(
            write.mapping, write.length, PROT_READ | PROT_WRITE,
            MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_FIXED, -1, 0) == MAP_FAILED)
    {
        return false;
    }
    write.isLost = 1;
    return true;
}

// A handler that replaced this one may call it in turn, as what it had found: such a signal is for
// what was there before the first of both.
FormerAction& formerFor(const void* context)
{
    FormerAction* former = g_former.load(std::memory_order_acquire);
    while (g_passedOn.load() == context && former->previous)
        former = former->previous;
    return *former;
}

void passOn(int number, siginfo_t* info, void* context)
{
    FormerAction& former = formerFor(context);
    const struct sigaction& action = former.action;
    const bool isFault = info->si_code > 0; // else somebody has sent it
    const bool isForOnce = (action.sa_flags & static_cast<int>(SA_RESETHAND)) != 0;
    const bool isDefault = action.sa_handler == SIG_DFL ||
        (isForOnce && former.isSpent.exchange(true)) ||
        (action.sa_handler == SIG_IGN && isFault); // the system does not let that be ignored
    if (isDefault)
    {
        struct sigaction defaultAction = {};
        defaultAction.sa_handler = SIG_DFL;
        sigaction(number, &defaultAction, nullptr);
        if (!isFault)
            raise(number);
        return; // a fault comes again, where it came from
    }
    if (action.sa_handler == SIG_IGN)
        return;
    g_passedOn.store(context);
    if (action.sa_flags & SA_SIGINFO)
        action.sa_sigaction(number, info, context);
    else
        action.sa_handler(number);
    g_passedOn.store(nullptr);
}

void onBusError(int number, siginfo_t* info, void* context)
{
    const int error = errno;
    auto* const write = static_cast<GuardedWrite*>(pthread_getspecific(g_write));
    const bool isOurs = write && info->si_code > 0 && lies(info->si_addr, *write);
    if (!isOurs || !cover(*write))
        passOn(number, info, context);
    errno = error;
}

// A host that unloads the library must not be left with a handler that is not there any more. A
// program is not unloaded, and cannot be opened either; what stays is never closed.
void stayLoaded()
{
    Dl_info own = {};
    if (dladdr(reinterpret_cast<void*>(&onBusError), &own) != 0)
        static_cast<void>(dlopen(own.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE));
}

} // namespace

bool installBusErrorGuard()
{
    const std::lock_guard lock(g_installLock);
    if (!g_hasKey)
    {
        const int error = pthread_key_create(&g_write, nullptr);
        if (error != 0)
        {
            errno = error;
            return false;
        }
        g_hasKey = true;
        stayLoaded();
    }
    struct sigaction current = {};
    if (sigaction(SIGBUS, nullptr, &current) != 0)
        return false;
    if ((current.sa_flags & SA_SIGINFO) && current.sa_sigaction == onBusError)
        return true;
    auto* const former = new (std::nothrow) FormerAction;
    if (!former)
    {
        errno = ENOMEM;
        return false;
    }
    former->action = current;
    former->previous = g_former.load(std::memory_order_relaxed);
    g_former.store(former, std::memory_order_release);
    struct sigaction own = {};
    own.sa_sigaction = onBusError;
    own.sa_mask = current.sa_mask; // the former handler finds what it asked for
    own.sa_flags = SA_SIGINFO | SA_ONSTACK | (current.sa_flags & (SA_NODEFER | SA_RESTART));
    return sigaction(SIGBUS, &own, nullptr) == 0;
}

void guardWrite(void* mapping, std::size_t length)
{
    t_write.mapping = mapping;
    t_write.length = length;
    t_write.isLost = 0;
    // Cannot fail but for memory, at the first of a thread; then the write goes unguarded.
    pthread_setspecific(g_write, &t_write);
}

bool endGuard()
{
    pthread_setspecific(g_write, nullptr);
    return t_write.isLost == 0;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
