#include "utils/pipes.h"

#include <algorithm>
#include <cerrno>
#include <utility>
#include <vector>

#include "utils/handle_text.h"
#include "utils/log.h"
#include "utils/pipe_calls.h"
#include "utils/system_error.h"

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

using Result = PipeCalls::Result;

PipeEnd& readEnd(PipePair& pair, int side)
{
    return side == 1 ? pair.upRead : pair.downRead;
}

bool isReady(const PipeEnd* end)
{
    return end->dataReady;
}

// False, with the reason logged, when there is none.
bool waitForReadyEnd(std::span<PipeEnd* const> ends)
{
    if (std::ranges::any_of(ends, isReady)) // none is passed over for long
        return true;
    switch (PipeCalls::waitForAny(ends, 1000))
    {
        case Result::data:
            return true;
        case Result::nothing:
            log_debug("Timed out waiting for pipe read.\n");
            return false;
        case Result::notWaitable:
            log_info("Could not read pipe: %s\n", SystemErrorText(last_system_error()).c_str());
            errno = EINVAL;
            return false;
        default:
            log_info(
                "Error! Failed waiting for any pipe: %s\n",
                SystemErrorText(last_system_error()).c_str());
            return false;
    }
}

} // namespace

PipeEnd::~PipeEnd()
{
    PipeCalls::close(*this);
}

PipeEnd::PipeEnd(PipeEnd&& other) noexcept :
    handle(std::exchange(other.handle, kInvalidPipe)),
    read(std::move(other.read)),
    readPending(std::exchange(other.readPending, false)),
    dataReady(std::exchange(other.dataReady, false))
{}

PipeEnd& PipeEnd::operator=(PipeEnd&& other) noexcept
{
    // What this end held is closed with `moved`.
    PipeEnd moved(std::move(other));
    std::swap(handle, moved.handle);
    std::swap(read, moved.read);
    std::swap(readPending, moved.readPending);
    std::swap(dataReady, moved.dataReady);
    return *this;
}

PipePair pipe_pair_new(int& status)
{
    PipePair pair;
    status = 0;
    if (!pipe_create(pair.upRead.handle, pair.upWrite.handle) ||
        !pipe_create(pair.downRead.handle, pair.downWrite.handle))
    {
        log_info("Error! Couldn't create up pipe handles!\n"); // for both, as operators know it
        status = -2;
    }
    return pair;
}

PipePair pipe_pair_fill(PipeEnd upRead, PipeEnd upWrite, PipeEnd downRead, PipeEnd downWrite)
{
    return {std::move(upRead), std::move(upWrite), std::move(downRead), std::move(downWrite)};
}

void pipe_close_side(PipePair& pair, int side)
{
    constexpr int kDownSide = 2;
    (side == kDownSide ? pair.upWrite : pair.downWrite) = {};
    (side == kDownSide ? pair.downRead : pair.upRead) = {};
}

PipeEnd pipe_end_new()
{
    return {};
}

PipeEnd pipe_end_from_string(const std::string& text)
{
    PipeHandle handle = kInvalidPipe;
    return handle_from_string(text, handle) && PipeCalls::isOpen(handle) ? PipeEnd(handle)
                                                                         : PipeEnd();
}

int pipe_read_byte(PipePair& pair, int side)
{
    std::uint8_t byte = 0;
    switch (PipeCalls::takeByte(readEnd(pair, side), PipeCalls::kForever, byte))
    {
        case Result::data:
            return byte;
        case Result::ended:
            return kPipeEmpty;
        default:
            return kPipeFailed;
    }
}

int pipe_write_byte(const PipePair& pair, int side, std::uint8_t byte)
{
    return PipeCalls::writeByte(side == 1 ? pair.upWrite : pair.downWrite, byte) ? 1 : 0;
}

int pipe_read_byte_timeout(PipePair& pair, int side, int seconds)
{
    std::uint8_t byte = 0;
    switch (PipeCalls::takeByte(readEnd(pair, side), seconds * 1000, byte))
    {
        case Result::data:
            return byte;
        case Result::ended:
        case Result::nothing:
            return kPipeTimeout;
        case Result::notWaitable:
            log_info("Could not create event!\n");
            break;
        case Result::waitFailed:
            log_info("WaitForSingleObject failed!\n"); // as operators know it
            break;
        case Result::notStarted:
            log_info("Could not read from pipe!\n");
            break;
        case Result::readFailed:
            log_info("GetOverlappedResult failed!\n");
            break;
    }
    return kPipeFailed;
}

std::size_t pipe_wait_any(std::span<PipePair* const> pairs, int side, std::uint8_t* byte)
{
    if (pairs.empty() || !byte)
    {
        errno = EINVAL;
        return pairs.size();
    }
    std::vector<PipeEnd*> ends;
    for (PipePair* const pair : pairs)
        ends.push_back(&readEnd(*pair, side));
    if (!waitForReadyEnd(ends))
        return pairs.size();
    const auto ready = std::ranges::find_if(ends, isReady);
    (*ready)->dataReady = false;
    if (PipeCalls::takeByte(**ready, PipeCalls::kForever, *byte) == Result::data)
        return static_cast<std::size_t>(ready - ends.begin());
    log_info("Could not read pipe: %s\n", SystemErrorText(last_system_error()).c_str());
    errno = EINVAL;
    return pairs.size();
}

std::optional<std::string> pipe_read_text(PipeEnd& end)
{
    constexpr std::size_t kEnough = 1024 * 1024; // of a writer that does not stop
    std::string text;
    Result result = Result::data;
    while (result == Result::data && text.size() < kEnough)
        result = PipeCalls::takeSome(end, text);
    const bool hasFailed =
        result != Result::data && result != Result::ended && result != Result::nothing;
    return hasFailed ? std::nullopt : std::optional(std::move(text));
}

} // namespace tavo::vms_server_plugins::analytics::orlix
