#include "core/base/message_board.h"

#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace tavo::vms_server_plugins::analytics::orlix
{

TEST(MessageBoard, ThreadsPostRemoveAndReadAtWill)
{
    MessageBoard board;
    std::atomic<bool> stop{false};
    std::atomic<int> torn{0};
    std::jthread reader(
        [&]
        {
            while (!stop)
            {
                for (const auto& [key, entry] : board.snapshot())
                    torn += !entry.text.starts_with(key);
            }
        });
    {
        std::vector<std::jthread> writers;
        for (int writer = 0; writer < 3; ++writer)
        {
            writers.emplace_back(
                [&board, key = "KEY_" + std::to_string(writer)]
                {
                    for (int i = 0; i < 500; ++i)
                    {
                        board.postMessage(key, key + std::string(i, 'x'), MessageType::warning);
                        board.clearWarnings();
                        board.removeMessage(key);
                    }
                    board.postMessage(key, key, MessageType::message);
                });
        }
    }
    stop = true;
    EXPECT_EQ(0, torn);
    EXPECT_EQ(3u, board.snapshot().size());
}

} // namespace tavo::vms_server_plugins::analytics::orlix
