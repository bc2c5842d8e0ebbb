#include "utils/pipes.h"

#include <utility>

#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

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

} // namespace tavo::vms_server_plugins::analytics::orlix
