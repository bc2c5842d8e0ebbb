#include "remote/file_downloader.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/ini.h"
#include "http_server.h"
#include "remote/certificates.h"
#include "remote/file_helpers.h"
#include "temporary_folder.h"
#include "utils/tests/test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

using ::testing::HasSubstr;
using ::testing::IsEmpty;

class FileDownloader : public ::testing::Test
{
protected:
    Outcome download(const std::string& url)
    {
        return downloadFile(url, m_folder.path("file"), m_board, "KEY", "Downloading it");
    }

    // Whether this text is seen on the board while the download goes on.
    bool boardShows(const std::string& text)
    {
        return test::comesTrue(
            [&]
            {
                const MessageBoard::Entries entries = m_board.snapshot();
                return entries.contains("KEY") && entries.at("KEY").text == text;
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
                    constexpr size_t kEnds[] = {25'000, 50'900, 99'500, 100'000};
                    const size_t end = *std::ranges::upper_bound(kEnds, offset);
                    sink.write(body.data() + offset, end - offset);
                    return end == body.size() ||
                        boardShows(
                               "Downloading it (" + std::to_string(end / 1000) +
                               "%)\nPress 'Refresh' to see updated progress.");
                });
        });
    m_server.start();
    m_folder.write("file", std::string(200'000, 'o')); // is replaced

    ASSERT_TRUE(download(m_server.url("/a b.tgz")));
    EXPECT_EQ(body, m_folder.read("file"));
    EXPECT_THAT(m_board.snapshot(), IsEmpty());
}

TEST_F(FileDownloader, WhatIsNotThereLeavesNoFile)
{
    m_server.handlers.Get(
        R"(/(\d+))",
        [](const httplib::Request& request, httplib::Response& response)
        {
            response.status = std::stoi(request.matches[1]);
            response.set_content("a page that tells of it", "text/plain");
        });
    m_server.start();
    for (const char* const status : {"404", "500", "302", "201"})
    {
        EXPECT_FALSE(download(m_server.url(std::string("/") + status)));
        EXPECT_THAT(
            m_log.text(),
            HasSubstr(std::string("Error! Could not request file data! Status code: ") + status));
    }
    EXPECT_FALSE(download("http://127.0.0.1:1/file"));
    EXPECT_FALSE(download("no url at all"));
    EXPECT_FALSE(m_folder.has("file"));
}

TEST_F(FileDownloader, AServerThatTricklesIsLeftAndSoIsEveryOneAtAStop)
{
    m_server.trickle("/file");
    m_server.start();
    std::stop_source stop;
    const auto expectGivenUp = [&](const TransferFloor& floor)
    {
        EXPECT_FALSE(downloadFile(
            m_server.url("/file"), m_folder.path("file"), m_board, "KEY", "Downloading it", floor,
            stop.get_token()));
        EXPECT_FALSE(m_folder.has("file"));
        EXPECT_THAT(m_board.snapshot(), IsEmpty());
        EXPECT_TRUE(test::comesTrue([&] { return m_server.isLeft.load(); }));
    };
    expectGivenUp({1024, std::chrono::milliseconds(100)});
    const std::jthread stopper(
        [&]
        {
            EXPECT_TRUE(test::comesTrue([&] { return m_folder.has("file"); }));
            stop.request_stop();
        });
    expectGivenUp({});
    EXPECT_THAT(m_log.text(), HasSubstr("This server is shutting down."));
}

TEST_F(FileDownloader, ACertificateIsCheckedWhereTheIniFileSaysSo)
{
    const TestCertificate certificate;
    LoopbackHttpsServer server(certificate);
    server.handlers.Get(
        "/file",
        [](const httplib::Request&, httplib::Response& response)
        { response.set_content("secret", "text/plain"); });
    server.start();
    const std::string bundle = certificate.caFile();
    const struct
    {
        bool verifies;
        const char* bundle;
        bool accepted;
        const char* log;
    } cases[] = {
        {false, "", true, "Certificates of download servers are not checked"},
        {true, "", false, "Certificates of download servers are checked.\n"},
        {true, bundle.c_str(), true, bundle.c_str()},
    };
    for (const auto& c : cases)
    {
        std::filesystem::remove(m_folder.path("file"));
        ini().verifyCertificates = c.verifies;
        ini().caBundle = c.bundle;
        logCertificateChecks();
        EXPECT_THAT(m_log.text(), HasSubstr(c.log));
        EXPECT_EQ(c.accepted, static_cast<bool>(download(server.url("/file"))));
        EXPECT_EQ(c.accepted ? "secret" : "", m_folder.read("file"));
    }
    ini().verifyCertificates = false;
    ini().caBundle = "";
}

TEST(WriteFile, TellsWhetherItDid)
{
    const TemporaryFolder folder;
    const test::CapturedLog log;
    EXPECT_EQ(0, writeFile(folder.path("file"), "data", 4));
    EXPECT_EQ("data", folder.read("file"));
    EXPECT_EQ(1, writeFile(folder.path(), "data", 4));
    EXPECT_EQ(
        "Writing size: 4\nBytes written: 4\nData written successfully\nWriting size: 4\n"
        "Error opening file\n",
        log.text());
}

} // namespace tavo::vms_server_plugins::analytics::orlix
