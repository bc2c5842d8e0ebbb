#include "utils/file_lock.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "utils/posix/unique_descriptor.h"

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

// What is there is opened, whatever it is; nothing is ever read from it.
UniqueDescriptor openOrMake(const char* path)
{
    constexpr int kFlags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    const int found = open(path, kFlags);
    return UniqueDescriptor(
        found < 0 && errno == ENOENT ? open(path, kFlags | O_CREAT | O_EXCL, S_IRUSR | S_IWUSR)
                                     : found);
}

bool exists(const char* path)
{
    struct stat status = {};
    return lstat(path, &status) == 0;
}

// Whoever had the lock may have deleted the file since it was opened here.
bool isStillAt(const char* path, const struct stat& opened)
{
    struct stat now = {};
    return lstat(path, &now) == 0 && now.st_dev == opened.st_dev && now.st_ino == opened.st_ino;
}

} // namespace

// By flock, which knows two holders of one process apart, as record locks do not.
FileLock::Outcome FileLock::take(const std::string& path)
{
    release();
    UniqueDescriptor file = openOrMake(path.c_str());
    if (!file)
    {
        const int error = errno;
        const Outcome outcome = exists(path.c_str()) ? Outcome::heldByAnother : Outcome::failed;
        errno = error;
        return outcome;
    }
    struct stat status = {};
    if (flock(file.get(), LOCK_EX | LOCK_NB) != 0 || fstat(file.get(), &status) != 0 ||
        !isStillAt(path.c_str(), status))
    {
        return Outcome::heldByAnother;
    }
    if (status.st_uid != geteuid()) // who could delete it meanwhile
    {
        unlink(path.c_str());
        return Outcome::heldByAnother;
    }
    m_file = file.release();
    m_path = path;
    return Outcome::taken;
}

void FileLock::release()
{
    if (m_file == kNone)
        return;
    unlink(m_path.c_str()); // while nobody else has the lock
    close(static_cast<int>(m_file));
    m_file = kNone;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
