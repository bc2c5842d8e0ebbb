#pragma once

#include <atomic>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <system_error>

#include <gtest/gtest.h>
#include <testing/comes_true.h>
#include <testing/platform.h>

#include "utils/log.h"
#include "utils/paths.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{

// A name that no other test and no other run has.
inline std::string uniqueName(const std::string& purpose)
{
    static std::atomic<int> counter{0};
    return "orlix_test_" + purpose + "_" + std::to_string(test_support::ownProcessId()) + "_" +
        std::to_string(counter++);
}

// A folder of the test's own, gone with it.
class TempFolder
{
public:
    TempFolder() { std::filesystem::create_directories(m_path); }
    ~TempFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    [[nodiscard]] std::string file(const std::string& name) const
    {
        return utf8FromPath(m_path / pathFromUtf8(name));
    }

private:
    const std::filesystem::path m_path = std::filesystem::temp_directory_path() / uniqueName("dir");
};

inline std::string contentOf(const std::string& path)
{
    std::ifstream file(pathFromUtf8(path), std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

// The log as the code under test writes it, at the highest verbosity.
class CapturedLog
{
public:
    CapturedLog() { log_init(m_path, m_folder.file("main.log"), "", false, true, 2); }
    ~CapturedLog() { log_close(); }
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;

    // The texts of all lines so far, without their heads. A line of a text that has several has
    // none.
    [[nodiscard]] std::string text() const
    {
        std::istringstream lines(contentOf(m_path));
        std::string all;
        for (std::string line; std::getline(lines, line);)
        {
            const std::size_t head = line.find(": ");
            all += (head == std::string::npos ? line : line.substr(head + 2)) + "\n";
        }
        return all;
    }

private:
    TempFolder m_folder;
    const std::string m_path = m_folder.file("start.log");
};

using test_support::comesTrue;

} // namespace tavo::vms_server_plugins::analytics::orlix::test
