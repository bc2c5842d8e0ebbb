#pragma once

#include <filesystem>
#include <string>

#include <sched.h>
#include <sys/mount.h>

namespace tavo::vms_server_plugins::analytics::orlix
{

// A disk of this process's own, mounted at a folder by options such as "size=64k" or "ro". Only
// root can have one, and not everywhere: isThere says so. It is to come before any thread.
class SmallDisk
{
public:
    SmallDisk(const std::string& folder, const std::string& options) :
        m_folder(folder)
    {
        std::filesystem::create_directories(folder);
        m_isThere = unshare(CLONE_NEWNS) == 0 &&
            mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
            mount(
                "tmpfs", folder.c_str(), "tmpfs", options == "ro" ? MS_RDONLY : 0,
                options == "ro" ? nullptr : options.c_str()) == 0;
    }
    ~SmallDisk()
    {
        if (m_isThere)
            umount2(m_folder.c_str(), MNT_DETACH);
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    [[nodiscard]] bool isThere() const { return m_isThere; }

private:
    const std::string m_folder;
    bool m_isThere = false;
};

inline constexpr char kNoSmallDisk[] = "only root can mount a disk, and not everywhere";

} // namespace tavo::vms_server_plugins::analytics::orlix
