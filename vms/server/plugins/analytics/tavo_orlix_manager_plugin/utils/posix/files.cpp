#include "utils/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tavo::vms_server_plugins::analytics::orlix
{

std::FILE* file_open_read(const char* path)
{
    return std::fopen(path, "rbe");
}

std::FILE* file_open_write(const char* path)
{
    return std::fopen(path, "wbe");
}

std::FILE* file_open_append(const char* path)
{
    return std::fopen(path, "abe");
}

std::FILE* file_open_private(const char* path)
{
    // Whoever has opened what is there, or has linked it to somewhere else, keeps that.
    unlink(path);
    const int descriptor = open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (descriptor < 0)
        return nullptr;
    std::FILE* const file = fdopen(descriptor, "wb");
    if (!file)
        close(descriptor);
    return file;
}

void file_allow_all(std::FILE* file)
{
    // Not being its owner is the one likely failure, and then the mode is the owner's affair.
    static_cast<void>(fchmod(fileno(file), 0666));
}

bool file_seek(std::FILE* file, std::uint64_t position)
{
    return fseeko(file, static_cast<off_t>(position), SEEK_SET) == 0;
}

std::uint64_t file_size(std::FILE* file)
{
    struct stat status = {};
    return fstat(fileno(file), &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
