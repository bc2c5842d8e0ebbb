#include "utils/place.h"

#include <fstream>
#include <sstream>

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace tavo::vms_server_plugins::analytics::orlix
{

const char* const kSharedMemoryFolder = "/dev/shm";

Place lookAtPlace(const std::string& path)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0)
        return {};
    Place place;
    place.exists = true;
    std::ostringstream rights;
    rights << ", user " << status.st_uid << ", mode " << std::oct << (status.st_mode & 07777U);
    place.rights = rights.str();
    place.isFolder = S_ISDIR(status.st_mode);
    place.mayWrite = access(path.c_str(), W_OK) == 0;
    place.isOurs = status.st_uid == geteuid() || status.st_uid == 0;
    place.othersMayReplace =
        place.isFolder && (status.st_mode & S_IWOTH) != 0 && (status.st_mode & S_ISVTX) == 0;
    struct statvfs disk = {};
    if (statvfs(path.c_str(), &disk) == 0)
    {
        place.freeBytes = std::uint64_t{disk.f_bavail} * disk.f_frsize;
        place.mayExecute = (disk.f_flag & ST_NOEXEC) == 0;
        if ((disk.f_flag & ST_RDONLY) != 0)
            place.mayWrite = false;
    }
    return place;
}

// The system's table has a line such as "1: FLOCK  ADVISORY  WRITE 123 08:01:4711 0 EOF".
std::string fileLockHolder(const std::string& path)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0)
        return {};
    std::ifstream table("/proc/locks");
    std::string number, kind, manner, access, process, file;
    for (std::string line; std::getline(table, line);)
    {
        std::istringstream words(line);
        words >> number >> kind >> manner >> access >> process >> file;
        if (kind == "FLOCK" && file.ends_with(":" + std::to_string(status.st_ino)))
            return ", process " + process;
    }
    return {};
}

} // namespace tavo::vms_server_plugins::analytics::orlix
