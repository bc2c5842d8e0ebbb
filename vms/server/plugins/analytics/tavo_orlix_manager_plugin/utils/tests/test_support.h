#pragma once

#include <atomic>
#include <sstream>
#include <string>

#include <gtest/gtest.h>
#include <testing/comes_true.h>
#include <testing/platform.h>
#include <testing/temporary_folder.h>

#include "utils/log.h"
#include "utils/paths.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{

using test_support::comesTrue;
using test_support::contentOf;
using test_support::TemporaryFolder;

// A name that no other test and no other run has.
inline std::string uniqueName(const std::string& purpose)
{
    static std::atomic<int> counter{0};
    return "orlix_test_" + purpose + "_" + std::to_string(test_support::ownProcessId()) + "_" +
        std::to_string(counter++);
}

// The log as the code under test writes it. Below the highest verbosity, which is the default, it
// is whole when it has been closed.
class CapturedLog
{
public:
    explicit CapturedLog(int verbosity = 2)
    {
        log_init(m_path, m_folder.path("main.log"), "", false, true, verbosity);
    }
    ~CapturedLog()
    {
        log_close();
        told() += text();
    }
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;

    // What those that are gone have captured.
    static std::string& told()
    {
        static std::string all;
        return all;
    }

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
    TemporaryFolder m_folder;
    const std::string m_path = m_folder.path("start.log");
};

} // namespace tavo::vms_server_plugins::analytics::orlix::test
