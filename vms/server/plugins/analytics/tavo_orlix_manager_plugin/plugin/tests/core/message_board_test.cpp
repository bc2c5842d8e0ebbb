#include "core/message_board.h"

#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "utils/tests/test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

TEST(MessageBoard, KeepsTheLastPostOfAKeyAndSaysWhatItDoes)
{
    const test::CapturedLog log;
    MessageBoard board;
    board.postMessage("A", "first", MessageType::warning);
    board.postMessage("A", "second", MessageType::message);
    board.postMessage("B", "text\n", MessageType::warning);
    const MessageBoard::Entries before = board.snapshot();
    board.removeMessage("A");
    board.removeMessage("A");
    board.removeMessage("C");
    board.postMessage("D", "", MessageType::message);
    board.clearWarnings();

    ASSERT_EQ(2u, before.size()); // a snapshot does not follow
    EXPECT_EQ("second", before.at("A").text);
    EXPECT_EQ(MessageType::message, before.at("A").type);
    EXPECT_EQ("text\n", before.at("B").text);
    const MessageBoard::Entries after = board.snapshot();
    ASSERT_EQ(1u, after.size());
    EXPECT_EQ("", after.at("D").text);
    EXPECT_EQ(
        "Adding warning: A : first\nAdding message: A : second\nAdding warning: B : text\n\n"
        "Removed message: A \nAdding message: D : \nClearing all warning messages.\n",
        log.text());
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
                        board.postMessage(
                            key, key + std::string(i, 'x'),
                            i % 2 ? MessageType::warning : MessageType::message);
                        if (i % 7 == 0)
                            board.clearWarnings();
                        if (i % 11 == 0)
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
