#include "testing/broken_stream.h"

#include <cstdio>

#include <fcntl.h>
#include <io.h>

namespace tavo::test_support
{

// The C library tells the system where its own streams go.
BrokenStream::BrokenStream(Stream stream) :
    m_stream(static_cast<int>(stream)),
    m_former(_dup(m_stream)),
    m_formerHandler(nullptr)
{
    int ends[2] = {-1, -1};
    (void)_pipe(ends, 512, _O_BINARY | _O_NOINHERIT);
    std::fflush(nullptr);
    _dup2(ends[1], m_stream);
    _close(ends[0]);
    _close(ends[1]);
}

BrokenStream::~BrokenStream()
{
    std::fflush(nullptr); // what was left to the host, it writes
    _dup2(m_former, m_stream);
    _close(m_former);
}

bool BrokenStream::hasLeftSignal() const
{
    return false;
}

} // namespace tavo::test_support
