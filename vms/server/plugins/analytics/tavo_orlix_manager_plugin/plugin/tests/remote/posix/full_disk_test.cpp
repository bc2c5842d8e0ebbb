// A full disk, as a limit on the size of files shows it.

#include "remote/file_downloader.h"

#include <csignal>

#include <sys/resource.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "http_server.h"
#include "temporary_folder.h"
#include "utils/tests/test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

class LimitedFileSize
{
public:
    explicit LimitedFileSize(rlim_t size)
    {
        getrlimit(RLIMIT_FSIZE, &m_before);
        rlimit limit = m_before;
        limit.rlim_cur = size;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~LimitedFileSize()
    {
        setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_handlerBefore);
    }

private:
    rlimit m_before = {};
    void (*const m_handlerBefore)(int) = std::signal(SIGXFSZ, SIG_IGN);
};

} // namespace

TEST(FullDisk, AFileThatTheDiskDoesNotTakeIsNotDownloaded)
{
    const TemporaryFolder folder;
    MessageBoard board;
    const test::CapturedLog log;
    LoopbackHttpServer server;
    server.handlers.Get(
        "/file",
        [](const httplib::Request&, httplib::Response& response)
        { response.set_content(std::string(1 << 20, 'x'), "text/plain"); });
    server.start();

    Outcome downloaded;
    {
        const LimitedFileSize limit(1 << 18);
        downloaded = downloadFile(server.url("/file"), folder.path("file"), board, "KEY", "It");
    }
    EXPECT_FALSE(downloaded);
    EXPECT_FALSE(folder.has("file")); // half a file must not pass for a cached one
    EXPECT_THAT(
        log.text(),
        ::testing::HasSubstr(
            "Error! Gave up the download of " + server.url("/file") + ": " + downloaded.why()));
    EXPECT_EQ(folder.path("file") + ": File too large.", downloaded.why());
}

} // namespace tavo::vms_server_plugins::analytics::orlix
