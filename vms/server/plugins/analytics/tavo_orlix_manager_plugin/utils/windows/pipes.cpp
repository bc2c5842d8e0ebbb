#include "utils/pipes.h"

#include <atomic>
#include <cerrno>
#include <vector>
#include <windows.h>

#include "utils/handle_text.h"
#include "utils/log.h"
#include "utils/system_error.h"
#include "utils/windows/overlapped_read.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

class PipeRead : public OverlappedRead
{
public:
    explicit PipeRead(PipeHandle pipe) :
        OverlappedRead(reinterpret_cast<HANDLE>(pipe), 1)
    {}
};

namespace
{

using Result = OverlappedRead::Result;

HANDLE handleOf(const PipeEnd& end)
{
    return reinterpret_cast<HANDLE>(end.handle);
}

PipeEnd& readEnd(PipePair& pair, int side)
{
    return side == 1 ? pair.upRead : pair.downRead;
}

const PipeEnd& writeEnd(const PipePair& pair, int side)
{
    return side == 1 ? pair.upWrite : pair.downWrite;
}

// Starts to read a byte, unless that is under way. False without an event.
bool startRead(PipeEnd& end)
{
    if (end.readPending)
        return true;
    if (!end.read)
        end.read.reset(new PipeRead(end.handle));
    if (!*end.read)
        return false;
    end.read->start();
    end.readPending = true;
    return true;
}

// `mayWait` as for OverlappedRead::take.
Result takeByte(PipeEnd& end, std::uint8_t& byte, bool mayWait)
{
    end.readPending = false;
    end.dataReady = false;
    const Result result = end.read->take(mayWait);
    if (result == Result::data)
        byte = static_cast<std::uint8_t>(end.read->data().front());
    return result;
}

std::string newPipeName()
{
    static std::atomic<unsigned long> counter{0};
    return log_format_alloc(
        64, R"(\\.\Pipe\ORLIX_MODULE_PIPE.%08lu.%08lu)", GetCurrentProcessId(), ++counter);
}

// Waits a second for a byte on any of the ends. Gives its index, or that behind the last.
std::size_t waitForAny(std::span<PipePair* const> pairs, int side)
{
    std::vector<HANDLE> events;
    for (PipePair* const pair : pairs)
    {
        PipeEnd& end = readEnd(*pair, side);
        if (!startRead(end))
        {
            log_info("Could not read pipe: %s\n", SystemErrorText(last_system_error()).c_str());
            errno = EINVAL;
            return pairs.size();
        }
        events.push_back(end.read->event());
    }
    const auto count = static_cast<DWORD>(events.size());
    const DWORD waited = WaitForMultipleObjects(count, events.data(), FALSE, 1000);
    if (waited == WAIT_TIMEOUT)
    {
        log_debug("Timed out waiting for pipe read.\n");
        return pairs.size();
    }
    if (waited >= WAIT_OBJECT_0 + count)
    {
        log_info(
            "Error! Failed waiting for any pipe: %s\n",
            SystemErrorText(last_system_error()).c_str());
        return pairs.size();
    }
    const std::size_t index = waited - WAIT_OBJECT_0;
    for (std::size_t i = index + 1; i < pairs.size(); ++i)
    {
        if (WaitForSingleObject(events[i], 0) == WAIT_OBJECT_0)
            readEnd(*pairs[i], side).dataReady = true;
    }
    return index;
}

} // namespace

void PipeReadCloser::operator()(PipeRead* read) const
{
    delete read;
}

PipeEnd::~PipeEnd()
{
    read.reset();
    if (handle != kInvalidPipe)
        CloseHandle(handleOf(*this));
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

PipeEnd pipe_end_from_string(const std::string& text)
{
    PipeHandle handle = kInvalidPipe;
    DWORD flags = 0;
    if (!handle_from_string(text, handle) ||
        !GetHandleInformation(reinterpret_cast<HANDLE>(handle), &flags))
    {
        return {};
    }
    return PipeEnd(handle);
}

int pipe_read_byte(PipePair& pair, int side)
{
    PipeEnd& end = readEnd(pair, side);
    std::uint8_t byte = 0;
    if (!startRead(end))
        return kPipeFailed;
    switch (takeByte(end, byte, /*mayWait*/ true))
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
    DWORD count = 0;
    return WriteFile(handleOf(writeEnd(pair, side)), &byte, 1, &count, nullptr) && count == 1 ? 1
                                                                                              : 0;
}

int pipe_read_byte_timeout(PipePair& pair, int side, int seconds)
{
    PipeEnd& end = readEnd(pair, side);
    std::uint8_t byte = 0;
    if (!startRead(end))
    {
        log_info("Could not create event!\n");
        return kPipeFailed;
    }
    const DWORD waited = WaitForSingleObject(end.read->event(), static_cast<DWORD>(seconds) * 1000);
    if (waited == WAIT_FAILED)
        log_info("WaitForSingleObject failed!\n");
    switch (takeByte(end, byte, /*mayWait*/ waited == WAIT_OBJECT_0))
    {
        case Result::data:
            return byte;
        case Result::failed:
            log_info(
                end.read->wasStarted() ? "GetOverlappedResult failed!\n"
                                       : "Could not read from pipe!\n");
            return kPipeFailed;
        default:
            return waited == WAIT_FAILED ? kPipeFailed : kPipeTimeout;
    }
}

std::size_t pipe_wait_any(std::span<PipePair* const> pairs, int side, std::uint8_t* byte)
{
    if (pairs.empty() || !byte)
    {
        errno = EINVAL;
        return pairs.size();
    }
    std::size_t index = 0;
    while (index < pairs.size() && !readEnd(*pairs[index], side).dataReady)
        ++index;
    if (index == pairs.size())
        index = waitForAny(pairs, side);
    if (index == pairs.size() ||
        takeByte(readEnd(*pairs[index], side), *byte, /*mayWait*/ true) == Result::data)
    {
        return index;
    }
    log_info("Could not read pipe: %s\n", SystemErrorText(last_system_error()).c_str());
    errno = EINVAL;
    return pairs.size();
}

std::optional<std::string> pipe_read_text(PipeEnd& end)
{
    constexpr std::size_t kEnough = 1024 * 1024; // of a writer that does not stop
    std::string text;
    std::uint8_t byte = 0;
    if (end.readPending && takeByte(end, byte, /*mayWait*/ false) == Result::data)
        text += static_cast<char>(byte);
    OverlappedRead read(handleOf(end), 1024);
    if (!read)
        return std::nullopt;
    while (text.size() < kEnough)
    {
        read.start();
        switch (read.take(/*mayWait*/ false))
        {
            case Result::data:
                text += read.data();
                break;
            case Result::failed:
                return std::nullopt;
            default:
                return text;
        }
    }
    return text;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
