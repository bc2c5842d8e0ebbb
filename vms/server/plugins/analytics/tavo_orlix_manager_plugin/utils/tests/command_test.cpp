#include "utils/command.h"

#include <algorithm>

#include <testing/test_program.h>

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

std::string program(const std::string& steps)
{
    return "\"" + test_support::testProgram() + "\" " + steps;
}

TEST(RunCommandTest, outputAndErrorsComeAsTheyWereWritten)
{
    const CommandResult result =
        runCommand(program("print \"out of it\" error err print more print-input - exit 7"));
    EXPECT_EQ(7, result.exitCode);
    EXPECT_EQ("out of it\nerr\nmore\n", result.output);
    EXPECT_EQ(200'000u, runCommand(program("print-bytes 200000")).output.size());
    const CommandResult tooMuch = runCommand(program("print-bytes 20000000 exit 3"));
    EXPECT_EQ(3, tooMuch.exitCode);
    EXPECT_EQ(std::size_t{16} * 1024 * 1024, tooMuch.output.size());
}

TEST(RunCommandTest, itEndsWithItsProgramAndTakesAlongWhatThatLeft)
{
    const TemporaryFolder folder;
    const std::string file = folder.path("id");
    const auto begin = std::chrono::steady_clock::now();
    const CommandResult result = runCommand(
        program("start write-id," + file + ",sleep,1000 wait-for " + file + " print done exit 4"));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, kCommandLimit); // not for what it left
    EXPECT_EQ(4, result.exitCode);
    EXPECT_EQ("done\n", result.output);
    const auto left = static_cast<std::uint32_t>(std::stoul(contentOf(file)));
    EXPECT_TRUE(comesTrue([&] { return !test_support::isRunning(left); }));
}

TEST(RunCommandTest, oneThatHangsIsEndedAndFails)
{
    for (const char* const steps :
         {"ignore-requests-to-end - print begun sleep 1000",
          "print begun close-output - sleep 1000"})
    {
        const CommandResult result = runCommand(program(steps), std::chrono::seconds(3));
        EXPECT_EQ(-1, result.exitCode);
        EXPECT_EQ("begun\n", result.output);
    }
    const std::string endless = program("repeat 1000000000 print y");
    EXPECT_EQ(-1, runCommand(endless, std::chrono::seconds(1)).exitCode);
}

TEST(RunCommandTest, aStopEndsIt)
{
    const TemporaryFolder folder;
    const std::string file = folder.path("id");
    const auto begin = std::chrono::steady_clock::now();
    std::stop_source stop;
    const std::jthread stopper(
        [&]
        {
            EXPECT_TRUE(comesTrue([&] { return !contentOf(file).empty(); }));
            stop.request_stop();
        });
    const CommandResult result =
        runCommand(program("write-id " + file + " sleep 1000"), kUnpackLimit, stop.get_token());
    EXPECT_EQ(-1, result.exitCode);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, kUnpackLimit);
}

TEST(RunCommandTest, whatCannotBeStartedGivesMinusOne)
{
    const CapturedLog log;
    const TemporaryFolder folder;
    for (const std::string& line :
         {std::string("no_such_program -v"), std::string(), folder.path()})
        EXPECT_EQ(-1, runCommand(line).exitCode) << line;
    const std::string text = log.text();
    EXPECT_EQ(3, std::ranges::count(text, '\n')) << text; // a line each
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix::test
