#include "utils/posix/keeper_file.h"

#include <fcntl.h>
#include <filesystem>
#include <span>
#include <sys/mman.h>
#include <sys/stat.h>

#include "utils/posix/keeper_image.h"
#include "utils/posix/uninterrupted.h"

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

constexpr int kAboveStandard = 10;

bool writeAll(int descriptor, std::span<const unsigned char> bytes)
{
    while (!bytes.empty())
    {
        const ssize_t count =
            uninterrupted([&] { return write(descriptor, bytes.data(), bytes.size()); });
        if (count < 0)
            return false;
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return true;
}

UniqueDescriptor keeperInMemory()
{
#if defined(MFD_EXEC)
    constexpr unsigned kToBeRun = MFD_EXEC;
#else
    constexpr unsigned kToBeRun = 0x10; // known to newer systems, which may ask for it
#endif
    UniqueDescriptor file(memfd_create("orlix_keeper", MFD_CLOEXEC | kToBeRun));
    if (!file)
        file.reset(memfd_create("orlix_keeper", MFD_CLOEXEC));
    if (!file || !writeAll(file.get(), kKeeperImage))
        return {};
    return aboveStandard(file);
}

// A file that is open for writing cannot be run, so it is opened anew before it loses its name.
UniqueDescriptor keeperIn(const std::string& folder)
{
    std::string path = folder + "/.orlix_keeper_XXXXXX";
    UniqueDescriptor file(mkostemp(path.data(), O_CLOEXEC));
    if (!file)
        return {};
    const bool isWritten =
        fchmod(file.get(), S_IRUSR | S_IXUSR) == 0 && writeAll(file.get(), kKeeperImage);
    file.reset();
    if (isWritten)
        file.reset(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    unlink(path.c_str());
    return file ? aboveStandard(file) : UniqueDescriptor();
}

} // namespace

UniqueDescriptor openKeeper(int attempt, const std::string& program)
{
    if (attempt == 0)
        return keeperInMemory();
    const std::size_t slash = program.rfind('/');
    if (attempt == 1 && slash != std::string::npos)
        return keeperIn(program.substr(0, slash));
    std::error_code error;
    return keeperIn(std::filesystem::temp_directory_path(error).string());
}

UniqueDescriptor aboveStandard(const UniqueDescriptor& descriptor)
{
    return UniqueDescriptor(fcntl(descriptor.get(), F_DUPFD_CLOEXEC, kAboveStandard));
}

} // namespace tavo::vms_server_plugins::analytics::orlix
