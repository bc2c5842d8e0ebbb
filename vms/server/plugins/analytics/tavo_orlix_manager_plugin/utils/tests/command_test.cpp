#include "utils/command.h"

#include <csignal>
#include <cstring>

#include "test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{
namespace
{

TEST(SplitCommandLineTest, blanksPartWordsAndQuotesKeepThem)
{
    const struct
    {
        const char* line;
        std::vector<std::string> words;
    } cases[] = {
        {"", {}},
        {" \t ", {}},
        {"nvidia-smi --query-gpu=count  --format=csv",
         {"nvidia-smi", "--query-gpu=count", "--format=csv"}},
        {"tar -xf \"/a b/c.tgz\" -C \"/d e\"", {"tar", "-xf", "/a b/c.tgz", "-C", "/d e"}},
        {"a \"\" b\"c d\"e", {"a", "", "bc de"}},
        {"a 'b c' \\d $e", {"a", "'b", "c'", "\\d", "$e"}},
        {"a \"b c", {"a", "b c"}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.words, splitCommandLine(c.line)) << c.line;
}

TEST(RunCommandTest, outputAndErrorsComeAsTheyWereWritten)
{
    const CommandResult result =
        runCommand("sh -c \"echo out; echo err >&2; echo more; cat; exit 7\"");
    EXPECT_EQ(7, result.exitCode);
    EXPECT_EQ("out\nerr\nmore\n", result.output);
    EXPECT_EQ(200'000u, runCommand("head -c 200000 /dev/zero").output.size());
}

TEST(RunCommandTest, whatCannotBeStartedGivesMinusOne)
{
    const TempFolder folder;
    for (const std::string& line :
         {folder.file("none"), std::string("no_such_program -v"), std::string(),
          folder.file("") /* a folder */})
    {
        const CommandResult result = runCommand(line);
        EXPECT_EQ(-1, result.exitCode) << line;
        EXPECT_EQ("", result.output) << line;
    }
    const CapturedLog log;
    static_cast<void>(runCommand("no_such_program"));
    log_info("\n"); // the line has no end of its own
    EXPECT_EQ("Error creating process: 2", log.text().substr(0, 25));
}

TEST(RunCommandTest, theExitCodeIsKnownWhereTheHostIgnoresItsChildren)
{
    const auto before = signal(SIGCHLD, SIG_IGN);
    EXPECT_EQ(3, runCommand("sh -c \"exit 3\"").exitCode);
    signal(SIGCHLD, before);
}

TEST(RunCommandTest, commandsRunAtTheSameTime)
{
    std::vector<std::thread> threads;
    threads.reserve(8);
    for (int i = 0; i < 8; ++i)
    {
        threads.emplace_back(
            [i]
            {
                const CommandResult result = runCommand(
                    "sh -c \"echo " + std::to_string(i) + "; exit " + std::to_string(i) + "\"");
                EXPECT_EQ(i, result.exitCode);
                EXPECT_EQ(std::to_string(i) + "\n", result.output);
            });
    }
    for (std::thread& thread : threads)
        thread.join();
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix::test
