#pragma once

#include <cstdint>
#include <string>

namespace tavo::vms_server_plugins::analytics::orlix
{

// A lock that one holder on this machine can have at a time, of the same process or another. It
// ends with its holder, however that ends. A file of the given path stands for it; it is for its
// owner alone and goes with the lock. Any thread; one at a time.
class FileLock
{
public:
    enum class Outcome
    {
        taken, // until release, or the end of this object
        heldByAnother, // also where another user has made the file, and it cannot be opened
        failed, // there can be no such file; the system's error tells why
    };

    FileLock() = default;
    ~FileLock() { release(); }
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    // Does not wait. To be called again as long as another holds it.
    [[nodiscard]] Outcome take(const std::string& path);

    void release();

private:
    static constexpr std::intptr_t kNone = -1;

    std::intptr_t m_file = kNone; // the system's
    std::string m_path;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
