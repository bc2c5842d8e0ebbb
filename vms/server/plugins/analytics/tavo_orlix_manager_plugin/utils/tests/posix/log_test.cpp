#include "utils/log.h"

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

#include "test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{
namespace
{

// Nobody reads what this process writes to one of its standard streams, and it takes a broken pipe
// as a host that handles nothing does.
class BrokenStream
{
public:
    explicit BrokenStream(int stream) :
        m_stream(stream),
        m_former(fcntl(stream, F_DUPFD_CLOEXEC, 0)),
        m_formerHandler(std::signal(SIGPIPE, SIG_DFL))
    {
        int ends[2];
        EXPECT_EQ(0, pipe2(ends, O_CLOEXEC));
        std::fflush(nullptr);
        dup2(ends[1], stream);
        close(ends[0]);
        close(ends[1]);
    }
    ~BrokenStream()
    {
        std::fflush(nullptr); // what was left to the host, it writes
        dup2(m_former, m_stream);
        close(m_former);
        std::signal(SIGPIPE, m_formerHandler);
    }
    BrokenStream(const BrokenStream&) = delete;
    BrokenStream& operator=(const BrokenStream&) = delete;

private:
    const int m_stream;
    const int m_former;
    void (*const m_formerHandler)(int);
};

TEST(StandardStreamTest, aStandardStreamThatNobodyReadsDoesNoHarm)
{
    const TempFolder folder;
    const std::string path = folder.file("start.log");
    const std::string longer(5000, 'x');
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO})
    {
        log_init(path, folder.file("main.log"), "", stream == STDOUT_FILENO, /*file*/ true, 2);
        const BrokenStream broken(stream);
        if (stream == STDOUT_FILENO)
            print_out("%s\n", longer.c_str());
        log_info("%s\n", longer.c_str());
        if (stream == STDERR_FILENO)
            log_error("%s\n", longer.c_str());
        log_close();
        EXPECT_GT(contentOf(path).size(), longer.size());
    }
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix::test
