#include "utils/place.h"

#include <windows.h>

#include "utils/paths.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

const char* const kSharedMemoryFolder = "";

// Rights lie in lists there that only the system can read to the end: whether a folder may be
// written shows when it is.
Place lookAtPlace(const std::string& path)
{
    Place place;
    const auto wide = pathFromUtf8(path);
    const DWORD attributes = GetFileAttributesW(wide.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return place;
    place.exists = true;
    place.isFolder = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    place.mayWrite = place.isFolder || (attributes & FILE_ATTRIBUTE_READONLY) == 0;
    ULARGE_INTEGER free = {};
    const auto folder = place.isFolder ? wide : wide.parent_path();
    if (GetDiskFreeSpaceExW(folder.c_str(), &free, nullptr, nullptr) != 0)
        place.freeBytes = free.QuadPart;
    return place;
}

std::string fileLockHolder(const std::string& /*path*/)
{
    return {};
}

} // namespace tavo::vms_server_plugins::analytics::orlix
