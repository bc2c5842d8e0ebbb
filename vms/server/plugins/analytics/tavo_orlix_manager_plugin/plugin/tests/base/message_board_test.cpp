#include "base/message_board.h"

#include <atomic>
#include <set>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "utils/tests/test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

TEST(MessageBoard, KeepsWhatNobodyTookAway)
{
    using Texts = std::set<std::string>;
    const test::CapturedLog log;
    MessageBoard board;
    const auto texts = [&board]
    {
        Texts all;
        for (const auto& [key, entry] : board.snapshot())
            all.insert(key + entry.text + (entry.type == MessageType::warning ? "!" : ""));
        return all;
    };
    board.postMessage("A", "1", MessageType::warning);
    board.postMessage("B", "2", MessageType::message);
    board.postMessage("C", "3", MessageType::warning);
    board.postMessage("A", "4", MessageType::message); // in the place of the warning
    EXPECT_EQ((Texts{"A4", "B2", "C3!"}), texts());
    board.clearWarnings();
    EXPECT_EQ((Texts{"A4", "B2"}), texts());
    board.removeMessage("A");
    board.removeMessage("nobody's");
    EXPECT_EQ(Texts{"B2"}, texts());
    EXPECT_EQ(0u, log.text().find("Adding warning: A : 1\n"));
}

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
