#include "large_segment.h"

#include <stdexcept>

#include <windows.h>

namespace tavo::vms_server_plugins::analytics::orlix::test
{

LargeSegment::LargeSegment(std::size_t size) :
    m_handle(reinterpret_cast<std::intptr_t>(CreateFileMappingA(
        INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE | SEC_COMMIT,
        static_cast<DWORD>(std::uint64_t{size} >> 32), static_cast<DWORD>(size), name.c_str())))
{
    if (m_handle == 0)
        throw std::runtime_error("no segment of that size");
}

LargeSegment::~LargeSegment()
{
    CloseHandle(reinterpret_cast<HANDLE>(m_handle));
}

} // namespace tavo::vms_server_plugins::analytics::orlix::test
