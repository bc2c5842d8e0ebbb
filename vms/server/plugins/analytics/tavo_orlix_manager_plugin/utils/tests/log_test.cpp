#include "utils/log.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <gmock/gmock.h>

#include "test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{
namespace
{

constexpr std::size_t kLimit = 10'000'000;

class LogTest : public testing::Test
{
protected:
    ~LogTest() override { log_close(); }

    void open(int verbosity, bool console = false, bool file = true)
    {
        log_init(m_startPath, m_mainPath, "ORLIX Plugin: ", console, file, verbosity);
    }

    // One line that brings the current file to `size` bytes or, with `over`, beyond it.
    static void writeLineOf(std::size_t size)
    {
        const std::string text(size, 'x');
        log_info("%s\n", text.c_str());
    }

    TempFolder m_folder;
    const std::string m_startPath = m_folder.file("start.log");
    const std::string m_mainPath = m_folder.file("main.log");
    const std::string m_oldPath = m_mainPath + ".old";
};

TEST_F(LogTest, aLineHasItsHead)
{
    open(2);
    log_info("text %d\n", 7);
    log_debug("more\n");
    EXPECT_THAT(
        contentOf(m_startPath),
        testing::MatchesRegex("ORLIX Plugin: [0-9]{13} [0-9]{9,}: text 7\n"
                              "ORLIX Plugin: [0-9]{13} [0-9]{9,}: more\n"));
    EXPECT_EQ("", contentOf(m_mainPath));
}

TEST_F(LogTest, verbosityAndFlagsDecide)
{
    const struct
    {
        int verbosity;
        bool file;
        bool info;
        bool debug;
    } cases[] = {
        {0, true, false, false},
        {1, true, true, false},
        {2, true, true, true},
        {2, false, false, false}};
    for (const auto& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.verbosity << c.file);
        std::filesystem::remove(m_startPath);
        open(c.verbosity, /*console*/ false, c.file);
        log_info("basic\n");
        log_debug("verbose\n");
        log_close();
        const std::string content = contentOf(m_startPath);
        EXPECT_EQ(c.info, content.find("basic") != std::string::npos);
        EXPECT_EQ(c.debug, content.find("verbose") != std::string::npos);
    }
}

TEST_F(LogTest, consoleGetsTheSameLineAndPrintOutNoFile)
{
    open(1, /*console*/ true);
    testing::internal::CaptureStdout();
    log_info("seen\n");
    print_out("bare %s\n", "text");
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_THAT(out, testing::MatchesRegex("ORLIX Plugin: [0-9]{13} [0-9]{9,}: seen\nbare text\n"));
    log_close();
    EXPECT_EQ(std::string::npos, contentOf(m_startPath).find("bare"));
}

TEST_F(LogTest, errorsGoToStandardErrorToo)
{
    open(2);
    testing::internal::CaptureStderr();
    log_error("broken %d\n", 1);
    EXPECT_EQ("broken 1\n", testing::internal::GetCapturedStderr());
    EXPECT_NE(std::string::npos, contentOf(m_startPath).find(": broken 1\n"));
}

// Start log until the limit is reached, main log until it is passed, then main log and ".old".
TEST_F(LogTest, filesRotate)
{
    open(1);
    log_info("first\n");
    writeLineOf(kLimit); // passes the limit and is whole
    EXPECT_EQ("", contentOf(m_mainPath));
    log_info("second\n");
    writeLineOf(kLimit);
    EXPECT_FALSE(std::filesystem::exists(m_oldPath));
    log_info("third\n");
    writeLineOf(kLimit);
    log_info("fourth\n");
    log_close();

    const std::string start = contentOf(m_startPath);
    EXPECT_GT(start.size(), kLimit);
    EXPECT_TRUE(start.ends_with("x\n"));
    EXPECT_NE(std::string::npos, start.find("first"));
    EXPECT_NE(std::string::npos, contentOf(m_oldPath).find("third")); // the second is gone
    const std::string main = contentOf(m_mainPath);
    EXPECT_NE(std::string::npos, main.find("fourth"));
    EXPECT_EQ(std::string::npos, main.find("third"));
}

TEST_F(LogTest, theMainLogRotatesOnlyAboveTheLimit)
{
    open(1);
    writeLineOf(kLimit);
    log_info("main begins\n");
    std::error_code error;
    log_close();
    const std::size_t head = contentOf(m_mainPath).find(": ", 15) + 2;

    open(1);
    writeLineOf(kLimit);
    writeLineOf(kLimit - head - 1); // exactly the limit
    log_info("still\n");
    EXPECT_FALSE(std::filesystem::exists(m_oldPath, error));
    log_info("now\n");
    log_close();
    EXPECT_TRUE(contentOf(m_oldPath).ends_with(": still\n"));
    EXPECT_TRUE(contentOf(m_mainPath).ends_with(": now\n"));
}

TEST_F(LogTest, aFileThatCannotBeOpenedIsToldAndMissed)
{
    testing::internal::CaptureStdout();
    log_init(m_folder.file("none/start.log"), m_mainPath, "p: ", false, true, 2);
    EXPECT_EQ(
        "Failed to initialise logfile: " + m_folder.file("none/start.log") + "\n",
        testing::internal::GetCapturedStdout());
    log_info("goes on\n");
    EXPECT_TRUE(contentOf(m_mainPath).ends_with(": goes on\n"));
}

TEST_F(LogTest, oneLoggerFollowsAnother)
{
    open(2);
    log_info("one\n");
    log_close();
    log_info("nobody hears\n");
    open(2);
    log_info("two\n");
    EXPECT_EQ(std::string::npos, contentOf(m_startPath).find("one"));
    EXPECT_TRUE(contentOf(m_startPath).ends_with(": two\n"));
    open(2); // without a close in between
    log_info("three\n");
    EXPECT_TRUE(contentOf(m_startPath).ends_with(": three\n"));
}

TEST_F(LogTest, everybodyMayReadAndWriteTheFilesAndNoChildInheritsThem)
{
    open(1);
    struct stat status = {};
    ASSERT_EQ(0, stat(m_startPath.c_str(), &status));
    EXPECT_EQ(0666u, status.st_mode & 0777);
    ASSERT_EQ(0, stat(m_mainPath.c_str(), &status));
    EXPECT_EQ(0666u, status.st_mode & 0777);
    int found = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
    {
        std::error_code gone;
        const auto target = std::filesystem::read_symlink(entry.path(), gone);
        if (target == m_startPath || target == m_mainPath)
        {
            ++found;
            EXPECT_TRUE(fcntl(std::stoi(entry.path().filename()), F_GETFD) & FD_CLOEXEC);
        }
    }
    EXPECT_EQ(2, found);
}

TEST_F(LogTest, linesSurviveOpeningAndClosingOnOtherThreads)
{
    std::atomic<bool> end{false};
    std::thread writers[3];
    for (std::thread& writer : writers)
    {
        writer = std::thread(
            [&end]
            {
                while (!end)
                {
                    log_info("a line\n");
                    log_debug("another\n");
                }
            });
    }
    for (int i = 0; i < 300; ++i)
    {
        open(i % 3);
        log_close();
    }
    open(1);
    end = true;
    for (std::thread& writer : writers)
        writer.join();
    log_info("last\n");
    log_close();
    EXPECT_TRUE(contentOf(m_startPath).ends_with(": last\n"));
}

TEST(LogFormatTest, theTextIsWholeWhateverTheFirstSize)
{
    for (const std::size_t size : {0, 1, 5, 6, 100})
        EXPECT_EQ("12 ab", log_format_alloc(size, "%d %s", 12, "ab")) << size;
    EXPECT_EQ("", log_format_alloc(0, "%s", ""));
}

TEST(LogSizeTest, aMissingFileIsToldOnTheConsole)
{
    const TempFolder folder;
    std::ofstream(folder.file("five")) << "12345";
    std::uint32_t size = 77;
    EXPECT_TRUE(log_size_of_file(folder.file("five"), size));
    EXPECT_EQ(5u, size);
    testing::internal::CaptureStdout();
    EXPECT_FALSE(log_size_of_file(folder.file("none"), size));
    EXPECT_EQ(
        "An unexpected error occurred accessing log file: " + folder.file("none") +
            " No such file or directory\n",
        testing::internal::GetCapturedStdout());
    EXPECT_EQ(5u, size);
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix::test
