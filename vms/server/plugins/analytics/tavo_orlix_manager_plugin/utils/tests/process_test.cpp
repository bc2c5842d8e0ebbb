#include "utils/process.h"

#include <csignal>
#include <vector>

#include "process_tree.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{
namespace
{

ProcessRecord start(std::vector<std::string> steps)
{
    return process_start(program(std::move(steps)), /*console*/ false);
}

TEST(ProcessTest, aKillReachesTheWholeTree)
{
    WrittenIds tree;
    ProcessRecord record = process_start(treeProgram(tree), /*console*/ false);
    ASSERT_TRUE(process_started(record));
    ASSERT_TRUE(tree.waitFor(kTreeSize));
    EXPECT_TRUE(tree.areRunning());
    ExitCode exitCode = 0;
    EXPECT_TRUE(process_is_running(record, exitCode));
    EXPECT_EQ(259, exitCode);
    EXPECT_EQ(-2, process_wait(record, 0));
    EXPECT_EQ(9, process_kill(record));
    EXPECT_EQ(9, process_wait(record, 20));
    EXPECT_TRUE(tree.allEnd());
}

TEST(ProcessTest, whatAProcessLeavesRunningEndsWithItsJob)
{
    WrittenIds left;
    ProcessRecord record = start(
        {"start-apart", "write-id," + left.file(0) + ",sleep,1000", "wait-for", left.file(0),
         "exit", "4"});
    ASSERT_TRUE(left.waitFor(1));
    ExitCode exitCode = 0;
    EXPECT_TRUE(comesTrue([&] { return !process_is_running(record, exitCode); }));
    EXPECT_EQ(4, exitCode);
    EXPECT_TRUE(left.areRunning());
    record = start({"exit", "0"}); // overwrites the record
    EXPECT_TRUE(left.allEnd());
}

TEST(ProcessTest, aHandlerIsToldOfEachSignalToEnd)
{
    static int told;
    for (const int number : {SIGINT, SIGTERM, SIGABRT})
    {
        process_set_signal_handler([](int signal) { told = signal; });
        std::raise(number);
        EXPECT_EQ(number, told);
    }
    process_set_signal_handler(SIG_DFL);
}

TEST(ProcessTest, theEndIsToldOnce)
{
    ProcessRecord waited = start({"exit", "255"});
    EXPECT_EQ(255, process_wait(waited, 20));

    ProcessRecord broken = start({"exit", "-1073741819"}); // as an access violation has, somewhere
    EXPECT_LE(0, process_wait(broken, 20));

    ProcessRecord asked = start({"exit", "255"});
    ExitCode exitCode = 0;
    EXPECT_TRUE(comesTrue([&] { return !process_is_running(asked, exitCode); }));
    EXPECT_EQ(255, exitCode);
    exitCode = 77;
    EXPECT_FALSE(process_is_running(asked, exitCode));
    EXPECT_EQ(77, exitCode);
    EXPECT_EQ(-1, process_wait(asked, 0));
    EXPECT_EQ(-1, process_kill(asked));

    const ProcessRecord ended = start({"exit", "0"}); // before or by the first of these
    EXPECT_TRUE(comesTrue([&] { return process_kill(ended) == -1; }));
}

TEST(ProcessTest, whatCannotBeAProcessIsNotStartedAndToldWhy)
{
    const struct
    {
        std::vector<std::string> arguments;
        const char* reason;
    } cases[] = {
        {{}, "Error! Argument string length is 0.\n"},
        {{"", ""}, "Error! Argument string length is 0.\n"},
        {std::vector<std::string>(1024, "/none"), "Too many input arguments!"},
        {std::vector<std::string>(1023, "/none"), "Error: Could not start process: "}};
    for (const auto& c : cases)
    {
        const CapturedLog log;
        PipeEnd errors;
        ProcessRecord record = process_start(c.arguments, /*console*/ false, &errors);
        EXPECT_FALSE(process_started(record) || record.job);
        EXPECT_EQ(kInvalidPipe, errors.handle);
        EXPECT_EQ(kProcessWaitFailed, process_wait(record, 20));
        EXPECT_TRUE(log.text().starts_with(c.reason)) << log.text();
    }
}

TEST(ProcessTest, nothingIsLeftOfAProcessThatHasEndedOrOfAJobThatIsNeverRun)
{
    const auto run = []
    {
        PipeEnd errors;
        ProcessRecord record = process_start(program({"exit", "0"}), /*console*/ false, &errors);
        EXPECT_EQ(0, process_wait(record, 20));
        EXPECT_FALSE(process_started(process_start(std::vector<std::string>{"/none"}, false)));

        const ProcessRecord job =
            process_prepare(program({"sleep", "1000"}), /*console*/ false, &errors);
        EXPECT_TRUE(job.job);
        EXPECT_FALSE(process_started(job));
        EXPECT_EQ(-1, process_kill(job));
        ProcessRecord none = process_prepare({"/none"}, /*console*/ false);
        EXPECT_FALSE(process_run(none));
        EXPECT_FALSE(none.job);
    };
    run(); // what a system keeps from the first time on
    const auto before = test_support::openHandles();
    for (int i = 0; i < 3; ++i)
        run();
    EXPECT_EQ(before, test_support::openHandles());
    EXPECT_FALSE(test_support::hasChildren()); // not even an ended one
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix::test
