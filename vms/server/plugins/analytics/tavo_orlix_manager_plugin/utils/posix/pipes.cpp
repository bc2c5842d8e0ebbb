#include "utils/pipes.h"

#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>
#include <vector>

#include "utils/deadline.h"
#include "utils/handle_text.h"
#include "utils/log.h"
#include "utils/posix/no_pipe_signal.h"
#include "utils/system_error.h"

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

constexpr int kForever = -1;

int descriptorOf(const PipeEnd& end)
{
    return static_cast<int>(end.handle);
}

PipeEnd& readEnd(PipePair& pair, int side)
{
    return side == 1 ? pair.upRead : pair.downRead;
}

const PipeEnd& writeEnd(const PipePair& pair, int side)
{
    return side == 1 ? pair.upWrite : pair.downWrite;
}

// Repeats an interrupted poll. Gives what poll gives.
int waitForAny(std::vector<pollfd>& polled, int timeoutMs)
{
    const Deadline deadline(timeoutMs);
    for (;;)
    {
        const int ready = poll(
            polled.data(), polled.size(),
            timeoutMs == kForever ? kForever : deadline.remainingMs());
        if (ready >= 0 || errno != EINTR)
            return ready;
    }
}

int waitFor(const PipeEnd& end, int timeoutMs)
{
    if (end.handle == kInvalidPipe)
    {
        errno = EBADF; // poll would pass over it, and wait for nothing
        return -1;
    }
    std::vector<pollfd> polled{{descriptorOf(end), POLLIN, 0}};
    return waitForAny(polled, timeoutMs);
}

ssize_t readSome(const PipeEnd& end, void* target, std::size_t size)
{
    for (;;)
    {
        const ssize_t count = read(descriptorOf(end), target, size);
        if (count >= 0 || errno != EINTR)
            return count;
    }
}

} // namespace

// None is ever made: a poll waits without reading.
void PipeReadCloser::operator()(PipeRead*) const {}

PipeEnd::~PipeEnd()
{
    if (handle != kInvalidPipe)
        close(descriptorOf(*this));
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

PipeEnd pipe_end_from_string(const std::string& text)
{
    PipeHandle handle = kInvalidPipe;
    if (!handle_from_string(text, handle) || fcntl(static_cast<int>(handle), F_GETFD) < 0)
        return {};
    return PipeEnd(handle);
}

int pipe_read_byte(PipePair& pair, int side)
{
    const PipeEnd& end = readEnd(pair, side);
    std::uint8_t byte = 0;
    if (waitFor(end, kForever) < 0)
        return kPipeFailed;
    const ssize_t count = readSome(end, &byte, 1);
    return count < 0 ? kPipeFailed : count == 0 ? kPipeEmpty : byte;
}

int pipe_write_byte(const PipePair& pair, int side, std::uint8_t byte)
{
    const NoPipeSignal noSignal;
    ssize_t count = 0;
    do
        count = write(descriptorOf(writeEnd(pair, side)), &byte, 1);
    while (count < 0 && errno == EINTR);
    return count == 1 ? 1 : 0;
}

int pipe_read_byte_timeout(PipePair& pair, int side, int seconds)
{
    const PipeEnd& end = readEnd(pair, side);
    const int ready = waitFor(end, seconds * 1000);
    if (ready < 0)
    {
        log_info("WaitForSingleObject failed!\n"); // as operators know it
        return kPipeFailed;
    }
    if (ready == 0)
        return kPipeTimeout;
    std::uint8_t byte = 0;
    const ssize_t count = readSome(end, &byte, 1);
    if (count < 0)
    {
        log_info("Could not read from pipe!\n");
        return kPipeFailed;
    }
    return count == 1 ? byte : kPipeTimeout;
}

std::size_t pipe_wait_any(std::span<PipePair* const> pairs, int side, std::uint8_t* byte)
{
    if (pairs.empty() || !byte)
    {
        errno = EINVAL;
        return pairs.size();
    }
    std::vector<pollfd> polled;
    std::size_t index = pairs.size();
    for (std::size_t i = 0; i < pairs.size(); ++i)
    {
        polled.push_back({descriptorOf(readEnd(*pairs[i], side)), POLLIN, 0});
        if (index == pairs.size() && readEnd(*pairs[i], side).dataReady)
            index = i;
    }
    if (index == pairs.size())
    {
        const int ready = waitForAny(polled, 1000);
        if (ready == 0)
            log_debug("Timed out waiting for pipe read.\n");
        if (ready < 0)
        {
            log_info(
                "Error! Failed waiting for any pipe: %s\n",
                SystemErrorText(last_system_error()).c_str());
        }
        if (ready <= 0)
            return pairs.size();
        for (std::size_t i = 0; i < pairs.size(); ++i)
        {
            readEnd(*pairs[i], side).dataReady = polled[i].revents != 0;
            if (index == pairs.size() && polled[i].revents != 0)
                index = i;
        }
    }
    PipeEnd& end = readEnd(*pairs[index], side);
    end.dataReady = false;
    if (readSome(end, byte, 1) == 1)
        return index;
    log_info("Could not read pipe: %s\n", SystemErrorText(last_system_error()).c_str());
    errno = EINVAL;
    return pairs.size();
}

std::optional<std::string> pipe_read_text(PipeEnd& end)
{
    constexpr std::size_t kEnough = 1024 * 1024; // of a writer that does not stop
    std::string text;
    char chunk[1024];
    for (;;)
    {
        const int ready = waitFor(end, 0);
        if (ready < 0)
            return std::nullopt;
        if (ready == 0 || text.size() >= kEnough)
            return text;
        const ssize_t count = readSome(end, chunk, sizeof chunk);
        if (count < 0)
            return std::nullopt;
        if (count == 0)
            return text;
        text.append(chunk, static_cast<std::size_t>(count));
    }
}

} // namespace tavo::vms_server_plugins::analytics::orlix
