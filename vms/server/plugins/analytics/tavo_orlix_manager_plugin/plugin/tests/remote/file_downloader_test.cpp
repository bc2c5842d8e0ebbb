#include "remote/file_downloader.h"

#include <csignal>
#include <sys/resource.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "http_server.h"
#include "https_server.h"
#include "temporary_folder.h"
#include "utils/tests/test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class FileDownloader : public ::testing::Test
{
protected:
    bool download(const std::string& url)
    {
        return downloadFile(url, m_folder.path("file"), m_board, "KEY", "Downloading it");
    }

    // Whether this text was seen on the board while the download went on.
    bool boardShows(const std::string& text)
    {
        return test::comesTrue(
            [&]
            {
                const MessageBoard::Entries entries = m_board.snapshot();
                const auto entry = entries.find("KEY");
                return entry != entries.end() && entry->second.text == text &&
                    entry->second.type == MessageType::message;
            });
    }

    TemporaryFolder m_folder;
    MessageBoard m_board;
    test::CapturedLog m_log;
    LoopbackHttpServer m_server;
};

TEST_F(FileDownloader, WritesTheBodyAndShowsItsPercentageMeanwhile)
{
    const std::string body(100'000, 'x');
    m_server.handlers.Get(
        "/a b.tgz",
        [&](const httplib::Request&, httplib::Response& response)
        {
            response.set_content_provider(
                body.size(), "text/plain",
                [&](size_t offset, size_t, httplib::DataSink& sink)
                {
                    const size_t part = body.size() / 4;
                    sink.write(body.data() + offset, part);
                    return offset + part == body.size() ||
                        boardShows(
                               "Downloading it (" + std::to_string((offset + part) / 1000) +
                               "%)\nPress 'Refresh' to see updated progress.");
                });
        });
    m_server.start();
    m_folder.write("file", std::string(200'000, 'o')); // is replaced

    ASSERT_TRUE(download(m_server.url("/a b.tgz")));
    EXPECT_EQ(body, m_folder.read("file"));
    EXPECT_THAT(m_board.snapshot(), IsEmpty());
    EXPECT_THAT(
        m_log.text(),
        HasSubstr(
            "Downloading " + m_server.url("/a b.tgz") + " to file: " + m_folder.path("file") +
            "\n"));
}

TEST_F(FileDownloader, CountsBytesWhereTheServerDoesNotTellTheLength)
{
    m_server.handlers.Get(
        "/file",
        [&](const httplib::Request&, httplib::Response& response)
        {
            response.set_chunked_content_provider(
                "text/plain",
                [&](size_t, httplib::DataSink& sink)
                {
                    sink.write("12345", 5);
                    const bool seen = boardShows(
                        "Downloading it (5 bytes)\nPress 'Refresh' to see updated progress.");
                    sink.done();
                    return seen;
                });
        });
    m_server.start();
    ASSERT_TRUE(download(m_server.url("/file")));
    EXPECT_EQ("12345", m_folder.read("file"));
    EXPECT_THAT(
        m_log.text(),
        HasSubstr(
            "Warning! Could not get content length of download " + m_server.url("/file") + " : "));
}

TEST_F(FileDownloader, AnEmptyBodyIsAFileWithoutProgress)
{
    m_server.handlers.Get(
        "/file",
        [](const httplib::Request&, httplib::Response& response)
        { response.set_content("", "text/plain"); });
    m_server.start();
    EXPECT_TRUE(download(m_server.url("/file")));
    EXPECT_TRUE(m_folder.has("file"));
    EXPECT_EQ("", m_folder.read("file"));
    EXPECT_THAT(m_log.text(), Not(HasSubstr("Adding message")));
}

TEST_F(FileDownloader, ABodyThatBreaksOffIsAShortFile)
{
    m_server.handlers.Get(
        "/file",
        [](const httplib::Request&, httplib::Response& response)
        {
            response.set_content_provider(
                1000, "text/plain",
                [](size_t, size_t, httplib::DataSink& sink)
                {
                    sink.write("short", 5);
                    return false;
                });
        });
    m_server.start();
    EXPECT_TRUE(download(m_server.url("/file")));
    EXPECT_EQ("short", m_folder.read("file"));
    EXPECT_THAT(m_board.snapshot(), IsEmpty());
}

TEST_F(FileDownloader, WhatIsNotThereLeavesNoFile)
{
    m_server.start();
    EXPECT_FALSE(download(m_server.url("/missing")));
    EXPECT_FALSE(download("http://127.0.0.1:1/file"));
    EXPECT_FALSE(download("no url at all"));
    EXPECT_FALSE(m_folder.has("file"));
    EXPECT_THAT(
        m_log.text(),
        ::testing::AllOf(
            HasSubstr("Error! Could not request file data! Status code: 404\n"),
            HasSubstr("Failed to download file at: http://127.0.0.1:1/file\n"),
            HasSubstr("Failed to download file at: no url at all\n")));
}

TEST_F(FileDownloader, SaysThatTheFileCannotBeOpened)
{
    m_server.handlers.Get(
        "/file",
        [](const httplib::Request&, httplib::Response& response)
        { response.set_content("x", "text/plain"); });
    m_server.start();
    const std::string path = m_folder.path("missing/file");
    EXPECT_FALSE(downloadFile(m_server.url("/file"), path, m_board, "KEY", "title"));
    EXPECT_THAT(m_log.text(), HasSubstr("Error opening file for writing: " + path + "\n"));
}

// A full disk, as a limit on the size of files shows it.
TEST_F(FileDownloader, AFileThatTheDiskDoesNotTakeIsNotDownloaded)
{
    m_server.handlers.Get(
        "/file",
        [](const httplib::Request&, httplib::Response& response)
        { response.set_content(std::string(1 << 20, 'x'), "text/plain"); });
    m_server.start();

    struct rlimit before;
    getrlimit(RLIMIT_FSIZE, &before);
    const auto previousHandler = std::signal(SIGXFSZ, SIG_IGN);
    const struct rlimit limit
    {
        1 << 18, before.rlim_max
    };
    setrlimit(RLIMIT_FSIZE, &limit);
    const bool downloaded = download(m_server.url("/file"));
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, previousHandler);

    EXPECT_FALSE(downloaded);
    EXPECT_FALSE(m_folder.has("file")); // half a file must not pass for a cached one
    EXPECT_THAT(m_board.snapshot(), IsEmpty());
    EXPECT_THAT(
        m_log.text(),
        HasSubstr("Error! Could not write downloaded file: " + m_folder.path("file") + "\n"));
}

TEST_F(FileDownloader, AnyCertificateIsAccepted)
{
    const SelfSignedCertificate certificate;
    LoopbackHttpsServer server(certificate);
    server.handlers.Get(
        "/file",
        [](const httplib::Request&, httplib::Response& response)
        { response.set_content("secret", "text/plain"); });
    server.start();
    EXPECT_TRUE(download(server.url("/file")));
    EXPECT_EQ("secret", m_folder.read("file"));
}

} // namespace tavo::vms_server_plugins::analytics::orlix
