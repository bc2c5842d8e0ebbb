#include "utils/pipes.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>
#include <vector>

#include "utils/deadline.h"
#include "utils/pipe_calls.h"
#include "utils/posix/no_pipe_signal.h"
#include "utils/posix/uninterrupted.h"

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

using Result = PipeCalls::Result;

int descriptorOf(const PipeEnd& end)
{
    return static_cast<int>(end.handle);
}

Result takeUpTo(PipeEnd& end, int timeoutMs, std::span<char> target, std::size_t& count)
{
    PipeEnd* const ends[] = {&end};
    const Result waited = PipeCalls::waitForAny(ends, timeoutMs);
    end.dataReady = false;
    if (waited != Result::data)
        return waited;
    const ssize_t got =
        uninterrupted([&] { return read(descriptorOf(end), target.data(), target.size()); });
    count = static_cast<std::size_t>(std::max<ssize_t>(got, 0));
    return got < 0 ? Result::notStarted : got == 0 ? Result::ended : Result::data;
}

} // namespace

// None is ever made: a poll waits without reading.
void PipeReadCloser::operator()(PipeRead*) const {}

bool PipeCalls::isOpen(PipeHandle handle)
{
    return fcntl(static_cast<int>(handle), F_GETFD) >= 0;
}

void PipeCalls::close(PipeEnd& end)
{
    if (end.handle != kInvalidPipe)
        ::close(descriptorOf(end));
}

Result PipeCalls::waitForAny(std::span<PipeEnd* const> ends, int timeoutMs)
{
    std::vector<pollfd> polled; // which passes over blank ends
    for (const PipeEnd* const end : ends)
        polled.push_back({descriptorOf(*end), POLLIN, 0});
    if (std::ranges::all_of(polled, [](const pollfd& one) { return one.fd < 0; }))
    {
        errno = EBADF;
        return Result::waitFailed;
    }
    const Deadline deadline(timeoutMs);
    const int ready = uninterrupted(
        [&]
        {
            return poll(
                polled.data(), polled.size(),
                timeoutMs == kForever ? kForever : deadline.remainingMs());
        });
    for (std::size_t i = 0; i < ends.size(); ++i)
        ends[i]->dataReady = polled[i].revents != 0;
    return ready > 0 ? Result::data : ready == 0 ? Result::nothing : Result::waitFailed;
}

Result PipeCalls::takeByte(PipeEnd& end, int timeoutMs, std::uint8_t& byte)
{
    std::size_t count = 0;
    return takeUpTo(end, timeoutMs, {reinterpret_cast<char*>(&byte), 1}, count);
}

Result PipeCalls::takeSome(PipeEnd& end, std::string& text)
{
    char chunk[1024];
    std::size_t count = 0;
    const Result result = takeUpTo(end, 0, chunk, count);
    text.append(chunk, count);
    return result;
}

bool PipeCalls::writeByte(const PipeEnd& end, std::uint8_t byte)
{
    const NoPipeSignal noSignal;
    return uninterrupted([&] { return write(descriptorOf(end), &byte, 1); }) == 1;
}

int pipe_create(PipeHandle& readHandle, PipeHandle& writeHandle)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return 0;
    readHandle = ends[0];
    writeHandle = ends[1];
    return 1;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
