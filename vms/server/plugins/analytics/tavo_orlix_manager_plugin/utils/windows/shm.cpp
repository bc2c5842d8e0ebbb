#include "utils/shm.h"

#include <algorithm>
#include <utility>
#include <windows.h>

#include "utils/shm_calls.h"

// A segment is a section that is reserved and backed by the page file. What is committed in one
// view is committed in all; it starts at the section's first byte and never shrinks, so no touch of
// it can fail.

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

HANDLE handleOf(ShmHandle handle)
{
    return reinterpret_cast<HANDLE>(handle);
}

ShmHandle shmHandleOf(HANDLE handle)
{
    return reinterpret_cast<ShmHandle>(handle);
}

// The system knows no name that starts as that of a device does; what follows is one of its own.
// Names are bytes to both sides, so no text of ours is converted here.
std::string systemName(const std::string& name)
{
    return name.starts_with('\\')
        ? name.substr(std::min(name.find_first_not_of("\\."), name.size()))
        : name;
}

// The bytes of the view at `view` that are in that state from `offset` on, at most the reserve.
std::size_t regionSize(const char* view, std::size_t offset, DWORD state)
{
    MEMORY_BASIC_INFORMATION region = {};
    if (VirtualQuery(view + offset, &region, sizeof region) == 0 || region.AllocationBase != view ||
        region.State != state)
    {
        return 0;
    }
    return std::min<std::size_t>(region.RegionSize, kShmReservedSize - offset);
}

} // namespace

ShmView::~ShmView()
{
    if (m_address)
        UnmapViewOfFile(m_address);
}

std::size_t ShmView::committedSize() const
{
    return m_address ? regionSize(m_address, 0, MEM_COMMIT) : 0;
}

ShmHandle ShmCalls::create(const std::string& name, bool mustBeNew)
{
    SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
    const HANDLE handle = CreateFileMappingA(
        INVALID_HANDLE_VALUE, &inheritable, PAGE_READWRITE | SEC_RESERVE, 0, kShmReservedSize,
        systemName(name).c_str());
    if (handle && mustBeNew && GetLastError() == ERROR_ALREADY_EXISTS)
    {
        CloseHandle(handle);
        SetLastError(ERROR_ALREADY_EXISTS);
        return kNoShm;
    }
    return shmHandleOf(handle);
}

bool ShmCalls::isNameTaken(int systemError)
{
    return systemError == ERROR_ALREADY_EXISTS;
}

ShmHandle ShmCalls::open(const std::string& name)
{
    return shmHandleOf(OpenFileMappingA(FILE_MAP_ALL_ACCESS, FALSE, systemName(name).c_str()));
}

ShmView ShmCalls::map(ShmHandle handle, bool readOnly)
{
    ShmView view;
    view.m_address = static_cast<char*>(
        MapViewOfFile(handleOf(handle), readOnly ? FILE_MAP_READ : FILE_MAP_ALL_ACCESS, 0, 0, 0));
    if (view.m_address)
    {
        const std::size_t committed = view.committedSize();
        view.m_length = committed + regionSize(view.m_address, committed, MEM_RESERVE);
    }
    return view;
}

bool ShmCalls::commit(const ShmView& view, std::size_t size)
{
    if (size > view.m_length)
    {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return false;
    }
    return VirtualAlloc(view.m_address, size, MEM_COMMIT, PAGE_READWRITE) != nullptr;
}

bool ShmCalls::beginWrite(ShmView& view, std::size_t size)
{
    return size <= view.committedSize();
}

bool ShmCalls::endWrite(ShmView&)
{
    return true;
}

int shm_close(ShmSegment& segment)
{
    if (segment.handle == kNoShm)
        return -1;
    return CloseHandle(handleOf(std::exchange(segment.handle, kNoShm))) ? 0 : -1;
}

// The name ends with the last handle and view.
void shm_remove(const ShmSegment&) {}

} // namespace tavo::vms_server_plugins::analytics::orlix
