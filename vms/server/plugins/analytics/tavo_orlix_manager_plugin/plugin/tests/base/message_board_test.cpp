#include "base/message_board.h"

#include <set>

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
    EXPECT_EQ(
        "Adding warning: A : 1\nAdding message: B : 2\nAdding warning: C : 3\n"
        "Adding message: A : 4\nClearing all warning messages.\nRemoved message: A \n",
        log.text());
}

} // namespace tavo::vms_server_plugins::analytics::orlix
