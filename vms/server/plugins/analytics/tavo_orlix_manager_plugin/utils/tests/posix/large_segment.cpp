#include "large_segment.h"

#include <stdexcept>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace tavo::vms_server_plugins::analytics::orlix::test
{

// A file of one hole, which takes memory where it is touched.
LargeSegment::LargeSegment(std::size_t size) :
    m_handle(::shm_open(("/" + name).c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600))
{
    if (m_handle < 0 || ftruncate(static_cast<int>(m_handle), static_cast<off_t>(size)) != 0)
        throw std::runtime_error("no segment of that size");
}

LargeSegment::~LargeSegment()
{
    ::close(static_cast<int>(m_handle));
    ::shm_unlink(("/" + name).c_str());
}

} // namespace tavo::vms_server_plugins::analytics::orlix::test
