#pragma once

#include <string>

#include "utils/shm.h"

namespace tavo::devkit
{

inline bool segmentExists(const std::string& name)
{
    namespace orlix = vms_server_plugins::analytics::orlix;
    orlix::ShmSegment segment;
    orlix::shm_from_name(segment, name);
    const bool isOpen = orlix::shm_open(segment);
    orlix::shm_close(segment);
    return isOpen;
}

} // namespace tavo::devkit
