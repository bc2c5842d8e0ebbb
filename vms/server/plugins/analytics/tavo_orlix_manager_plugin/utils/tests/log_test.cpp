#include "utils/log.h"
#include "utils/log_rarely.h"

#include <algorithm>
#include <regex>

#include <testing/broken_stream.h>

#include "test_support.h"
#include "utils/log_repetitions.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{
namespace
{

constexpr std::size_t kLimit = 10'000'000;

class LogTest : public testing::Test
{
protected:
    ~LogTest() override { log_close(); }

    void open(int verbosity)
    {
        log_init(m_startPath, m_mainPath, "ORLIX Plugin: ", /*console*/ false, true, verbosity);
    }

    TemporaryFolder m_folder;
    const std::string m_startPath = m_folder.path("start.log");
    const std::string m_mainPath = m_folder.path("main.log");
};

TEST_F(LogTest, aLineHasItsHead)
{
    open(2);
    const auto begin = std::chrono::system_clock::now();
    log_info("text %d\n", 7);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    log_debug("more\n");
    const auto end = std::chrono::system_clock::now();
    const std::string content = contentOf(m_startPath);
    std::smatch found;
    ASSERT_TRUE(std::regex_match(
        content, found,
        std::regex("ORLIX Plugin: ([0-9]{13}) [0-9]{9}: text 7\n"
                   "ORLIX Plugin: ([0-9]{13}) ([0-9]{9}): more\n")))
        << content;
    const auto number = [&found](int index)
    { return std::chrono::microseconds(std::stoll(found[index])); };
    EXPECT_LE(
        begin,
        std::chrono::system_clock::time_point(number(1) * 1000 + std::chrono::milliseconds(1)));
    EXPECT_GE(end, std::chrono::system_clock::time_point(number(2) * 1000));
    EXPECT_GE(number(3), std::chrono::milliseconds(15));
    EXPECT_LE(number(3), end - begin);
    EXPECT_EQ("", contentOf(m_mainPath));
    for (const std::string& path : {m_startPath, m_mainPath}) // for all to read
        EXPECT_EQ(std::filesystem::perms(0666), std::filesystem::status(path).permissions());
}

// Start log until the limit is reached, main log until it is passed, then main log and ".old".
TEST_F(LogTest, filesRotate)
{
    testing::internal::CaptureStderr();
    open(1);
    const std::string toTheLimit(kLimit, 'x');
    for (const char* const text : {"first", "second", "third"})
    {
        log_info("%s\n", text);
        log_info("%s\n", toTheLimit.c_str()); // passes the limit and is whole
    }
    log_info("fourth\n");
    log_close();

    const std::string start = contentOf(m_startPath);
    EXPECT_GT(start.size(), kLimit);
    EXPECT_TRUE(start.ends_with("x\n"));
    EXPECT_NE(std::string::npos, start.find("first"));
    EXPECT_NE(std::string::npos, contentOf(m_mainPath + ".old").find("third")); // second: gone
    EXPECT_TRUE(contentOf(m_mainPath).ends_with(": fourth\n"));
    EXPECT_EQ(std::string::npos, contentOf(m_mainPath).find("third"));

    std::filesystem::remove(pathFromUtf8(m_mainPath + ".old"));
    std::filesystem::create_directories(pathFromUtf8(m_mainPath + ".old/in the way"));
    open(1);
    for (int i = 0; i < 4; ++i)
        log_info("%s\n", toTheLimit.c_str());
    log_close();
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_TRUE(told.starts_with("Error renaming file: ")) << told;
    EXPECT_EQ(1, std::count(told.begin(), told.end(), '\n')) << told;
}

TEST_F(LogTest, theConsoleGetsWholeLinesAndTheirHeads)
{
    log_init(m_startPath, m_mainPath, "P: ", /*console*/ true, /*file*/ false, 1);
    std::string expected;
    testing::internal::CaptureStdout();
    for (const std::size_t size : {1022, 1023, 1024, 5000}) // about what needs memory
    {
        expected += std::string(size, 'x') + "\n";
        log_info("%s\n", std::string(size, 'x').c_str());
    }
    log_debug("not at this verbosity\n");
    print_out("bare %d\n", 1);
    const std::string told = testing::internal::GetCapturedStdout();
    const std::regex head("P: [0-9]{13} [0-9]{9,}: ");
    EXPECT_EQ(expected + "bare 1\n", std::regex_replace(told, head, "")) << told;
    EXPECT_FALSE(std::filesystem::exists(pathFromUtf8(m_startPath)));
}

TEST_F(LogTest, whatComesAgainAndAgainIsWrittenOnceAtLevelOne)
{
    constexpr int kTimes = 1000;
    for (const int verbosity : {0, 1, 2})
    {
        open(verbosity);
        for (int i = 0; i < kTimes; ++i)
        {
            log_rarely("", "a result\n");
            log_rarely(i % 2 == 0 ? "a" : "b", "of a device: %d\n", i);
            log_warning("", "a warning\n");
        }
        log_close();
        const std::string content = contentOf(m_startPath);
        const auto lines = std::count(content.begin(), content.end(), '\n');
        EXPECT_EQ(verbosity == 0 ? 0 : verbosity == 1 ? 4 : 3 * kTimes, lines) << content;
    }
}

TEST(LogRepetitionsTest, aKindPassesAtOnceAndThenOnceAnIntervalWithItsCount)
{
    const char* const formats[] = {"first", "second"};
    const auto begin = LogRepetitions::Clock::now();
    LogRepetitions repetitions;
    const auto pass = [&](int format, const char* subject, std::chrono::seconds at)
    {
        const auto leftOut = repetitions.pass(formats[format], subject, begin + at);
        return leftOut ? static_cast<int>(*leftOut) : -1;
    };
    using namespace std::chrono_literals;
    EXPECT_EQ(0, pass(0, "a", 0s));
    EXPECT_EQ(0, pass(0, "b", 0s));
    EXPECT_EQ(0, pass(1, "a", 0s));
    EXPECT_EQ(-1, pass(0, "a", 1s));
    EXPECT_EQ(-1, pass(0, "a", 59s));
    EXPECT_EQ(2, pass(0, "a", 60s));
    EXPECT_EQ(-1, pass(0, "a", 61s));
    EXPECT_EQ(1, pass(0, "a", 120s));
    EXPECT_EQ(0, pass(0, "b", 61s));
    // More kinds than it knows: those not written for longest are forgotten, and it stays right.
    for (std::size_t i = 0; i < LogRepetitions::kMost - 2; ++i)
        EXPECT_EQ(0, pass(0, std::to_string(i).c_str(), 62s));
    EXPECT_EQ(-1, pass(0, "b", 62s));
    EXPECT_EQ(0, pass(1, "a", 62s)); // since 0 s: forgotten
}

TEST(LogFailureTest, isToldOnce)
{
    const TemporaryFolder folder;
    const auto told = [&folder]
    {
        testing::internal::CaptureStderr();
        log_init(folder.path("none/start.log"), folder.path("none/main.log"), "", false, true, 1);
        for (int i = 0; i < 100; ++i)
            log_info("a line\n");
        log_close();
        return testing::internal::GetCapturedStderr();
    };
    EXPECT_EQ("Error creating log file", told());
    EXPECT_EQ("Error creating log file", told()); // of the next engine
}

TEST(StandardStreamTest, aStandardStreamThatNobodyReadsDoesNoHarm)
{
    using test_support::BrokenStream;
    using Stream = BrokenStream::Stream;
    const TemporaryFolder folder;
    const std::string path = folder.path("start.log");
    const std::string longer(5000, 'x');
    for (const auto stream : {Stream::output, Stream::error})
    {
        log_init(path, folder.path("main.log"), "", stream == Stream::output, /*file*/ true, 2);
        const BrokenStream broken(stream);
        errno = EDOM;
        if (stream == Stream::output)
            print_out("%s\n", longer.c_str());
        log_info("%s\n", longer.c_str());
        if (stream == Stream::error)
            log_error("%s\n", longer.c_str());
        EXPECT_EQ(EDOM, errno);
        log_close();
        EXPECT_GT(contentOf(path).size(), longer.size());
    }
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix::test
