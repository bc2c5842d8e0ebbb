#pragma once

#include <cstdint>
#include <string>

namespace tavo::vms_server_plugins::analytics::orlix
{

// What the system says of a folder, or of a file, and of the disk that it lies on. Nothing is
// written to find out, so a disk that fails at the write shows as one that may be written.
struct Place
{
    bool exists = false;
    bool isFolder = false;
    bool mayWrite = false; // this process, as far as rights and the disk's mode say
    bool mayExecute = true; // programs that lie there
    bool isOurs = true; // this process' user's, or the administrator's
    bool othersMayReplace = false; // anybody may rename and delete what others have in it
    std::uint64_t freeBytes = 0; // for this user
    std::string rights; // ", user 0, mode 1777"; empty where a system has neither
};

// Any thread; nothing throws but for want of memory. The path is UTF-8.
[[nodiscard]] Place lookAtPlace(const std::string& path);

// ", process 123" for who has the FileLock of that file; empty where it cannot be told.
[[nodiscard]] std::string fileLockHolder(const std::string& path);

// Where the system keeps the memory that processes share, as a folder; empty where it has none.
extern const char* const kSharedMemoryFolder;

} // namespace tavo::vms_server_plugins::analytics::orlix
