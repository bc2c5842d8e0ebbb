#include "testing/platform.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tavo::test_support
{

const char* const kTemporaryFolderVariable = "TMPDIR";
const char kPathListSeparator = ':';
const bool kOpenFilesCanBeReplaced = true;

std::uint32_t ownProcessId()
{
    return static_cast<std::uint32_t>(getpid());
}

bool isRunning(std::uint32_t process)
{
    return kill(static_cast<pid_t>(process), 0) == 0 || errno != ESRCH;
}

void endProcess(std::uint32_t process)
{
    kill(static_cast<pid_t>(process), SIGKILL);
}

void setVariable(const std::string& name, const std::string& value)
{
    if (value.empty())
        unsetenv(name.c_str());
    else
        setenv(name.c_str(), value.c_str(), /*overwrite*/ 1);
}

std::string variable(const std::string& name)
{
    const char* const value = std::getenv(name.c_str());
    return value ? value : "";
}

bool isInherited(std::intptr_t handle)
{
    return (fcntl(static_cast<int>(handle), F_GETFD) & FD_CLOEXEC) == 0;
}

OpenToAll::OpenToAll() :
    m_before(umask(0))
{}

OpenToAll::~OpenToAll()
{
    umask(m_before);
}

std::size_t openHandles()
{
    const std::filesystem::directory_iterator begin("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin, std::filesystem::directory_iterator()));
}

bool hasChildren()
{
    return waitpid(-1, nullptr, WNOHANG) != -1 || errno != ECHILD;
}

std::intptr_t socketAtPort(int port)
{
    for (int descriptor = 0; descriptor < 256; ++descriptor)
    {
        sockaddr_in address{};
        socklen_t size = sizeof address;
        if (getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &size) == 0 &&
            address.sin_family == AF_INET && ntohs(address.sin_port) == port)
        {
            return descriptor;
        }
    }
    return -1;
}

bool isPrivate(const std::string& path)
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 && (status.st_mode & 0777) == 0600;
}

std::uint64_t fileIdentity(const std::string& path)
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 ? status.st_ino : 0;
}

bool sendBytes(std::uintptr_t socket, const std::string& bytes)
{
    return send(static_cast<int>(socket), bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
        static_cast<ssize_t>(bytes.size());
}

} // namespace tavo::test_support
