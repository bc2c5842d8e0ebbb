#include "utils/pipes.h"

#include <atomic>
#include <vector>
#include <windows.h>

#include "utils/log.h"
#include "utils/pipe_calls.h"
#include "utils/windows/overlapped_read.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

class PipeRead : public OverlappedRead
{
public:
    explicit PipeRead(PipeHandle pipe) :
        OverlappedRead(reinterpret_cast<HANDLE>(pipe))
    {}
};

namespace
{

using Result = PipeCalls::Result;

HANDLE handleOf(const PipeEnd& end)
{
    return reinterpret_cast<HANDLE>(end.handle);
}

// False when there is nothing to wait with.
bool hasRead(PipeEnd& end)
{
    if (!end.read)
        end.read.reset(new PipeRead(end.handle));
    return static_cast<bool>(*end.read);
}

// Starts to read a byte, unless that is under way. False without an event.
bool startRead(PipeEnd& end)
{
    if (end.readPending)
        return true;
    if (!hasRead(end))
        return false;
    end.read->start(1);
    end.readPending = true;
    return true;
}

// `mayWait` as for OverlappedRead::take.
Result take(PipeEnd& end, bool mayWait)
{
    end.readPending = false;
    end.dataReady = false;
    switch (end.read->take(mayWait))
    {
        case OverlappedRead::Result::data:
            return Result::data;
        case OverlappedRead::Result::ended:
            return Result::ended;
        case OverlappedRead::Result::nothing:
            return Result::nothing;
        default:
            return end.read->wasStarted() ? Result::readFailed : Result::notStarted;
    }
}

std::string newPipeName()
{
    static std::atomic<unsigned long> counter{0};
    return log_format_alloc(
        64, R"(\\.\Pipe\ORLIX_MODULE_PIPE.%08lu.%08lu)", GetCurrentProcessId(), ++counter);
}

} // namespace

void PipeReadCloser::operator()(PipeRead* read) const
{
    delete read;
}

bool PipeCalls::isOpen(PipeHandle handle)
{
    DWORD flags = 0;
    return GetHandleInformation(reinterpret_cast<HANDLE>(handle), &flags) != FALSE;
}

void PipeCalls::close(PipeEnd& end)
{
    end.read.reset();
    if (end.handle != kInvalidPipe)
        CloseHandle(handleOf(end));
}

Result PipeCalls::waitForAny(std::span<PipeEnd* const> ends, int timeoutMs)
{
    std::vector<HANDLE> events;
    for (PipeEnd* const end : ends)
    {
        if (!startRead(*end))
            return Result::notWaitable;
        events.push_back(end->read->event());
    }
    const auto count = static_cast<DWORD>(events.size());
    const DWORD waited =
        WaitForMultipleObjects(count, events.data(), FALSE, static_cast<DWORD>(timeoutMs));
    if (waited == WAIT_TIMEOUT)
        return Result::nothing;
    if (waited >= WAIT_OBJECT_0 + count)
        return Result::waitFailed;
    for (std::size_t i = waited - WAIT_OBJECT_0; i < ends.size(); ++i)
        ends[i]->dataReady = WaitForSingleObject(events[i], 0) == WAIT_OBJECT_0;
    return Result::data;
}

// A read that took too long is given up.
Result PipeCalls::takeByte(PipeEnd& end, int timeoutMs, std::uint8_t& byte)
{
    PipeEnd* const ends[] = {&end};
    const Result waited = waitForAny(ends, timeoutMs);
    if (waited == Result::notWaitable)
        return waited;
    const Result result = take(end, /*mayWait*/ waited == Result::data);
    if (result == Result::data)
        byte = static_cast<std::uint8_t>(end.read->data().front());
    return waited == Result::waitFailed && result == Result::nothing ? waited : result;
}

// The byte of a read that is under way comes first.
Result PipeCalls::takeSome(PipeEnd& end, std::string& text)
{
    if (!end.readPending)
    {
        if (!hasRead(end))
            return Result::notWaitable;
        end.read->start(1024);
    }
    const bool wasPending = end.readPending;
    const Result result = take(end, /*mayWait*/ false);
    if (result == Result::data)
        text += end.read->data();
    return wasPending && result == Result::nothing ? takeSome(end, text) : result;
}

bool PipeCalls::writeByte(const PipeEnd& end, std::uint8_t byte)
{
    DWORD count = 0;
    return WriteFile(handleOf(end), &byte, 1, &count, nullptr) && count == 1;
}

// Overlapped on the reading side, since an anonymous pipe can be read but not waited for.
int pipe_create(PipeHandle& readHandle, PipeHandle& writeHandle)
{
    constexpr DWORD kBufferSize = 512;
    const std::string name = newPipeName();
    UniqueHandle reading(CreateNamedPipeA(
        name.c_str(), PIPE_ACCESS_INBOUND | FILE_FLAG_OVERLAPPED | FILE_FLAG_FIRST_PIPE_INSTANCE,
        PIPE_TYPE_BYTE | PIPE_REJECT_REMOTE_CLIENTS, 1, kBufferSize, kBufferSize, 0, nullptr));
    if (!reading)
        return 0;
    UniqueHandle writing(CreateFileA(
        name.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!writing)
        return 0;
    readHandle = reinterpret_cast<PipeHandle>(reading.release());
    writeHandle = reinterpret_cast<PipeHandle>(writing.release());
    return 1;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
