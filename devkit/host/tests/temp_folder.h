#pragma once

#include <atomic>
#include <filesystem>
#include <string>

#include <testing/platform.h>

namespace tavo::devkit
{

// A folder of this test's own, which goes with it.
class TempFolder
{
public:
    TempFolder() { std::filesystem::create_directories(m_path); }
    ~TempFolder()
    {
        std::error_code error;
        std::filesystem::remove_all(m_path, error);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    std::string file(const std::string& name) const { return (m_path / name).string(); }

private:
    static std::string newName()
    {
        static std::atomic<int> counter{0};
        return "tavo_host_test." + std::to_string(test_support::ownProcessId()) + "." +
            std::to_string(counter++);
    }

    const std::filesystem::path m_path = std::filesystem::temp_directory_path() / newName();
};

} // namespace tavo::devkit
