#include "utils/windows/overlapped_read.h"

#include <algorithm>

namespace tavo::vms_server_plugins::analytics::orlix
{

OverlappedRead::OverlappedRead(HANDLE pipe) :
    m_pipe(pipe),
    m_event(CreateEventW(nullptr, /*manual reset*/ TRUE, FALSE, nullptr))
{}

// The system writes to the buffer until the read is over.
OverlappedRead::~OverlappedRead()
{
    if (m_isUnderWay)
        static_cast<void>(take(/*mayWait*/ false));
}

void OverlappedRead::start(std::size_t most)
{
    m_overlapped = {};
    m_overlapped.hEvent = m_event.get();
    m_count = 0;
    const bool isDone = ReadFile(
                            m_pipe, m_buffer.data(), static_cast<DWORD>(std::min(most, kMost)),
                            nullptr, &m_overlapped) != FALSE;
    m_error = isDone ? ERROR_SUCCESS : GetLastError();
    m_wasStarted = isDone || m_error == ERROR_IO_PENDING;
    m_isUnderWay = m_wasStarted;
    if (!m_isUnderWay)
        SetEvent(m_event.get());
}

OverlappedRead::Result OverlappedRead::take(bool mayWait)
{
    if (m_isUnderWay)
    {
        if (!mayWait)
            CancelIoEx(m_pipe, &m_overlapped);
        const bool isDone = GetOverlappedResult(m_pipe, &m_overlapped, &m_count, TRUE) != FALSE;
        m_error = isDone ? ERROR_SUCCESS : GetLastError();
        m_isUnderWay = false;
    }
    switch (m_error)
    {
        case ERROR_SUCCESS:
            return m_count > 0 ? Result::data : Result::ended;
        case ERROR_BROKEN_PIPE:
            return Result::ended;
        case ERROR_OPERATION_ABORTED:
            return Result::nothing;
        default:
            SetLastError(m_error);
            return Result::failed;
    }
}

} // namespace tavo::vms_server_plugins::analytics::orlix
