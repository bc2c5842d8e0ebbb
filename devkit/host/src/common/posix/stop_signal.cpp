#include "common/stop_signal.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <stdexcept>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace tavo::devkit
{

namespace
{

// What the handler may reach. It stays readable once a signal came.
int eventDescriptor = -1;

void onSignal(int)
{
    const int savedErrno = errno;
    const uint64_t one = 1;
    // Nothing to do about a failure in a handler; it means that the signal was told already.
    [[maybe_unused]] const ssize_t written = write(eventDescriptor, &one, sizeof(one));
    errno = savedErrno;
}

void setHandler(void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    if (sigaction(SIGINT, &action, nullptr) != 0 || sigaction(SIGTERM, &action, nullptr) != 0)
        throw std::runtime_error("The signal handler cannot be set.");
}

} // namespace

StopSignal::StopSignal()
{
    eventDescriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (eventDescriptor < 0)
        throw std::runtime_error("There is no descriptor for signals.");
    setHandler(&onSignal);
}

StopSignal::~StopSignal()
{
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    close(eventDescriptor);
    eventDescriptor = -1;
}

bool StopSignal::waitFor(int64_t timeUs) const
{
    pollfd entry{eventDescriptor, POLLIN, 0};
    const auto timeoutMs = int((std::max<int64_t>(timeUs, 0) + 999) / 1000);
    return poll(&entry, 1, timeoutMs) > 0;
}

} // namespace tavo::devkit
