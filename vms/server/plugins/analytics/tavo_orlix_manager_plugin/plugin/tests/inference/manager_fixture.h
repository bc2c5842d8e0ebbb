#pragma once

#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "core/ini.h"
#include "inference/orlix_manager_interface.h"
#include "temporary_folder.h"
#include "utils/tests/test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{

// The system's temporary folder, for as long as a test needs its own.
class ScopedTemporaryDirectory
{
public:
    explicit ScopedTemporaryDirectory(const std::string& path)
    {
        if (const char* old = std::getenv("TMPDIR"))
            m_old = old;
        setenv("TMPDIR", path.c_str(), 1);
    }
    ~ScopedTemporaryDirectory()
    {
        if (m_old)
            setenv("TMPDIR", m_old->c_str(), 1);
        else
            unsetenv("TMPDIR");
    }

private:
    std::optional<std::string> m_old;
};

// An OrlixManagerInterface whose sockets and files are this test's own.
class ManagerFixture : public testing::Test
{
protected:
    TemporaryFolder folder;
    CapturedLog log;
    ScopedTemporaryDirectory temporaryDirectory{folder.path()};
    MessageBoard board;
    OrlixManagerInterface manager{folder.path(), &board};

    [[nodiscard]] bool logHas(const std::string& text) const
    {
        return log.text().find(text) != std::string::npos;
    }

    // Empty if there is no such entry.
    [[nodiscard]] std::string onBoard(const std::string& key) const
    {
        const auto entries = board.snapshot();
        const auto entry = entries.find(key);
        return entry == entries.end() ? std::string() : entry->second.text;
    }
};

} // namespace tavo::vms_server_plugins::analytics::orlix::test
