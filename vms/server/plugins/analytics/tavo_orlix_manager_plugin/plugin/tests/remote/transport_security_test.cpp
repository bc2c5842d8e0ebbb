// Whom the HTTP client believes, each case against a real server.

#include <atomic>

#include <gtest/gtest.h>
#include <tavo/network/http/http_client.h>

#include "http_server.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

using network::http::HttpClient;

class TransportSecurity : public ::testing::Test
{
protected:
    // Whether a client that trusts `m_authority` alone has an answer of this server.
    [[nodiscard]] bool isAccepted(const TestCertificate& certificate) const
    {
        LoopbackHttpsServer server(certificate);
        server.handlers.Get("/", [](const httplib::Request&, httplib::Response&) {});
        server.start();
        HttpClient careless(network::ssl::kAcceptAnyCertificate);
        EXPECT_TRUE(careless.doGet(server.url("/"))) << "there is nothing to refuse";
        HttpClient client(network::ssl::kDefaultCertificateCheck);
        client.setCaBundle(m_authority.caFile());
        const bool accepted = client.doGet(server.url("/"));
        EXPECT_EQ(accepted, client.failure().empty()) << client.failure();
        return accepted;
    }

    const TestCertificate m_authority{"Authority"};
};

TEST_F(TransportSecurity, ARightCertificateIsAccepted)
{
    EXPECT_TRUE(isAccepted(TestCertificate("localhost", &m_authority)));
}

TEST_F(TransportSecurity, OneForAnotherNameIsRefused)
{
    EXPECT_FALSE(isAccepted(TestCertificate("localhost.test", &m_authority)));
}

TEST_F(TransportSecurity, AnExpiredOneIsRefused)
{
    EXPECT_FALSE(isAccepted(TestCertificate("localhost", &m_authority, /*secondsLeft*/ -1)));
}

TEST_F(TransportSecurity, ASelfSignedOneIsRefused)
{
    EXPECT_FALSE(isAccepted(TestCertificate("localhost")));
}

TEST_F(TransportSecurity, OneThatAStrangerSignedIsRefused)
{
    const TestCertificate stranger("Authority");
    EXPECT_FALSE(isAccepted(TestCertificate("localhost", &stranger)));
}

TEST_F(TransportSecurity, ABundleThatCannotBeReadTrustsNobody)
{
    const TestCertificate certificate("localhost", &m_authority);
    LoopbackHttpsServer server(certificate);
    server.start();
    HttpClient client(network::ssl::kDefaultCertificateCheck);
    client.setCaBundle(m_authority.caFile() + ".gone");
    EXPECT_FALSE(client.doGet(server.url("/")));
    EXPECT_NE(std::string::npos, client.failure().find(".gone")) << client.failure();
}

TEST_F(TransportSecurity, ARedirectLeadsToNoSecondRequest)
{
    const TestCertificate certificate("localhost", &m_authority);
    std::atomic<int> seconds{0};
    LoopbackHttpsServer other(certificate);
    other.handlers.Get(".*", [&](const httplib::Request&, httplib::Response&) { ++seconds; });
    other.start();
    LoopbackHttpsServer server(certificate);
    server.handlers.Get(
        R"(/(\d+))",
        [&](const httplib::Request& request, httplib::Response& response)
        { response.set_redirect(other.url("/"), std::stoi(request.matches[1])); });
    server.start();
    for (const int status : {301, 302, 303, 307, 308})
    {
        HttpClient client(network::ssl::kDefaultCertificateCheck);
        client.setCaBundle(m_authority.caFile());
        client.addAdditionalHeader("Authorization", "secret");
        ASSERT_TRUE(client.doGet(server.url("/" + std::to_string(status))));
        EXPECT_EQ(status, client.response()->statusLine.statusCode);
        EXPECT_TRUE(client.eof()) << "what would lead on goes on here";
    }
    EXPECT_EQ(0, seconds);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
