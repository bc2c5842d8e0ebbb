#pragma once

#include <string>

#include <gtest/gtest.h>

#include "base/ini.h"
#include "inference/message_buffer.h"
#include "inference/orlix_manager_interface.h"
#include "temporary_folder.h"
#include "utils/tests/test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{

// The message as its receiver has it.
inline std::string joined(const MessageBuffer& message)
{
    std::string bytes(message.size(), '\0');
    message.copyTo(bytes.data(), CopyWay::plain);
    return bytes;
}

// An OrlixManagerInterface whose sockets and files are this test's own.
class ManagerFixture : public testing::Test
{
protected:
    TemporaryFolder folder;
    CapturedLog log;
    ScopedTempPath temporaryDirectory{folder.path()};
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
