#include "utils/shm.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "utils/posix/bus_error_guard.h"
#include "utils/shm_calls.h"

// The size of the segment's file is what is committed; every view maps the whole reserve, so that
// a segment that has grown shows in views that exist.

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

constexpr int kFirstDescriptor = 3; // a handle is never 0, also in a host without standard streams

std::string systemName(const std::string& name)
{
    return "/" + name;
}

ShmHandle handleOf(int descriptor)
{
    if (descriptor < 0)
        return kNoShm;
    if (descriptor >= kFirstDescriptor)
        return descriptor;
    const int moved = fcntl(descriptor, F_DUPFD_CLOEXEC, kFirstDescriptor);
    close(descriptor);
    return moved < 0 ? kNoShm : moved;
}

int descriptorOf(ShmHandle handle)
{
    return static_cast<int>(handle);
}

// Allocates the pages now, since a page that cannot be had when it is touched ends the process.
bool allocate(int descriptor, std::size_t size)
{
    int error{};
    do
        error = posix_fallocate(descriptor, 0, static_cast<off_t>(size));
    while (error == EINTR);
    if (error != 0)
        errno = error;
    return error == 0;
}

} // namespace

ShmView::~ShmView()
{
    if (m_address)
    {
        munmap(m_address, m_length);
        close(descriptorOf(m_handle));
    }
}

std::size_t ShmView::committedSize() const
{
    struct stat status = {};
    if (!m_address || fstat(descriptorOf(m_handle), &status) != 0)
        return 0;
    return std::min(static_cast<std::size_t>(status.st_size), m_length);
}

ShmHandle ShmCalls::create(const std::string& name, bool mustBeNew)
{
    const int flags = O_RDWR | O_CREAT | O_CLOEXEC | (mustBeNew ? O_EXCL : 0);
    return handleOf(::shm_open(systemName(name).c_str(), flags, S_IRUSR | S_IWUSR));
}

bool ShmCalls::isNameTaken(int systemError)
{
    return systemError == EEXIST;
}

ShmHandle ShmCalls::open(const std::string& name)
{
    return handleOf(::shm_open(systemName(name).c_str(), O_RDWR | O_CLOEXEC, 0));
}

ShmView ShmCalls::map(ShmHandle handle, bool readOnly)
{
    ShmView view;
    if (handle == kNoShm)
    {
        errno = EBADF;
        return view;
    }
    if (!readOnly && !installBusErrorGuard())
        return view;
    const int own = fcntl(descriptorOf(handle), F_DUPFD_CLOEXEC, kFirstDescriptor);
    if (own < 0)
        return view;
    const int protection = readOnly ? PROT_READ : PROT_READ | PROT_WRITE;
    void* const address = mmap(nullptr, kShmReservedSize, protection, MAP_SHARED, own, 0);
    if (address == MAP_FAILED)
    {
        const int error = errno;
        close(own);
        errno = error;
        return view;
    }
    view.m_address = static_cast<char*>(address);
    view.m_length = kShmReservedSize;
    view.m_handle = own;
    return view;
}

bool ShmCalls::commit(const ShmView& view, std::size_t size)
{
    if (size > view.m_length)
    {
        errno = ENOMEM;
        return false;
    }
    return allocate(descriptorOf(view.m_handle), size);
}

// A creator that has only set the file's size has left holes, which cost memory at the first touch.
// Where the holes are is not told, so one of them anywhere has the system look at all that is
// needed, once.
bool ShmCalls::beginWrite(ShmView& view, std::size_t size)
{
    constexpr std::size_t kBlock = 512;
    const int descriptor = descriptorOf(view.m_handle);
    struct stat status = {};
    if (size > view.m_length || fstat(descriptor, &status) != 0)
        return false;
    const auto committed = static_cast<std::size_t>(status.st_size);
    if (size > committed)
        return false;
    if (size > view.m_backed || view.m_backed > committed)
    {
        const bool hasHoles = static_cast<std::size_t>(status.st_blocks) * kBlock < committed;
        if (hasHoles && !allocate(descriptor, size))
            return false;
        view.m_backed = size;
    }
    guardWrite(view.m_address, view.m_length);
    return true;
}

bool ShmCalls::endWrite(ShmView& view)
{
    if (endGuard())
        return true;
    view.m_backed = 0;
    if (mmap(
            view.m_address, view.m_length, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED,
            descriptorOf(view.m_handle), 0) == MAP_FAILED)
        view = {};
    return false;
}

int shm_close(ShmSegment& segment)
{
    if (segment.handle == kNoShm)
        return -1;
    return close(descriptorOf(std::exchange(segment.handle, kNoShm)));
}

void shm_remove(const ShmSegment& segment)
{
    shm_unlink(systemName(segment.name).c_str());
}

} // namespace tavo::vms_server_plugins::analytics::orlix
