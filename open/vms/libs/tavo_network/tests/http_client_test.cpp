#include <tavo/network/http/http_client.h>

#include <chrono>
#include <future>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tavo/network/http/head_parser.h>

#include <testing/platform.h>
#include <testing/scoped_variable.h>
#include <testing/scripted_server.h>

namespace tavo::network::http
{

namespace
{

using namespace std::chrono_literals;
using test_support::Connection;
using test_support::ScriptedServer;
using ::testing::HasSubstr;
using ::testing::Not;

// Reads the request, answers with `response` and closes.
ScriptedServer::Script answer(std::string response)
{
    return [response = std::move(response)](Connection& connection)
    {
        connection.readRequest();
        connection.write(response);
    };
}

TEST(HttpClient, givesHeadAndBody)
{
    const struct
    {
        const char* name;
        const char* response;
        const char* statusLine;
        const char* body;
    } kCases[] = {
        {"length", "HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nbody", "HTTP/1.1 200 OK", "body"},
        {"no length", "HTTP/1.0 200 OK\r\n\r\nbody", "HTTP/1.0 200 OK", "body"},
        {"chunks and trailer",
         "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
         "2\r\nbo\r\n2\r\ndy\r\n0\r\nX-Late: 1\r\n\r\n",
         "HTTP/1.1 200 OK", "body"},
        {"no body", "HTTP/1.1 204 No Content\r\n\r\n", "HTTP/1.1 204 No Content", ""},
        {"not found", "HTTP/1.1 404 Not Found\r\nContent-Length: 4\r\n\r\ngone",
         "HTTP/1.1 404 Not Found", "gone"},
        {"redirect is not followed",
         "HTTP/1.1 302 Found\r\nLocation: /other\r\nContent-Length: 0\r\n\r\n",
         "HTTP/1.1 302 Found", ""},
        {"interim head first",
         "HTTP/1.1 103 Early Hints\r\nX-Early: 1\r\n\r\n"
         "HTTP/1.1 200\r\nContent-Length: 1\r\n\r\nb",
         "HTTP/1.1 200", "b"}};
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.name);
        const ScriptedServer server(answer(c.response));
        HttpClient client(ssl::kDefaultCertificateCheck);
        ASSERT_TRUE(client.doGet(server.url())); // whose body is left
        ASSERT_TRUE(client.doGet(server.url()));
        EXPECT_EQ(client.response()->statusLine.toString(), c.statusLine);
        EXPECT_EQ(getHeaderValue(client.response()->headers, "X-Early"), "");
        EXPECT_EQ(
            getHeaderValue(client.response()->headers, "content-length").empty(),
            std::string(c.response).find("Content-Length") == std::string::npos);
        EXPECT_EQ(client.eof(), std::string(c.body).empty());
        EXPECT_EQ(client.fetchEntireMessageBody(), c.body);
        EXPECT_TRUE(client.eof());
        EXPECT_EQ(client.failure(), "");
    }
}

TEST(HttpClient, sendsWhatItIsGiven)
{
    std::promise<std::string> request;
    std::promise<int> clientPort;
    const ScriptedServer server(
        [&](Connection& connection)
        {
            request.set_value(connection.readRequest());
            clientPort.set_value(connection.clientPort());
            connection.write("HTTP/1.1 200 OK\r\nContent-Length: 1\r\n\r\n");
            connection.waitForClose();
        });
    HttpClient client(ssl::kDefaultCertificateCheck);
    client.addAdditionalHeader("User-Agent", "agent/1");
    client.addAdditionalHeader("Authorization", "");
    client.addAdditionalHeader("X-Split", "a\r\nX-Injected: b");
    const std::string body = std::string("nul \0 in it ", 12) + std::string(3'000'000, 'x');
    ASSERT_TRUE(client.doPost(server.url("/a b?c=d e"), "application/json", body));

    const std::string text = request.get_future().get();
    const std::string head = text.substr(0, text.find("\r\n\r\n") + 4);
    EXPECT_THAT(head, testing::StartsWith("POST /a%20b?c=d%20e HTTP/1.1\r\n"));
    EXPECT_THAT(head, HasSubstr("\r\nContent-Type: application/json\r\n"));
    EXPECT_THAT(head, HasSubstr("\r\nUser-Agent: agent/1\r\n"));
    EXPECT_THAT(head, HasSubstr("\r\nAuthorization:\r\n"));
    EXPECT_THAT(head, Not(HasSubstr("X-Injected")));
    EXPECT_THAT(head, Not(HasSubstr("Expect")));
    EXPECT_TRUE(text.substr(head.size()) == body);

    const std::intptr_t socket = test_support::socketAtPort(clientPort.get_future().get());
    ASSERT_NE(socket, -1);
    EXPECT_FALSE(test_support::isInherited(socket));
}

TEST(HttpClient, stopEndsEveryWaitAndAllThatFollow)
{
    for (const bool hasHead : {false, true})
    {
        SCOPED_TRACE(hasHead);
        std::promise<void> asked;
        const ScriptedServer server(
            [&](Connection& connection)
            {
                connection.readRequest();
                if (hasHead)
                    connection.write("HTTP/1.1 200 OK\r\n\r\n");
                asked.set_value();
                EXPECT_TRUE(connection.waitForClose());
            });
        HttpClient client(ssl::kDefaultCertificateCheck); // with a time-out of a minute
        ASSERT_TRUE(!hasHead || client.doGet(server.url()));
        const std::jthread stopper(
            [&]
            {
                asked.get_future().wait();
                client.stop();
            });
        EXPECT_TRUE(hasHead ? client.eof() : !client.doGet(server.url()));
        EXPECT_FALSE(client.doGet(server.url()));
    }
}

TEST(HttpClient, goesThroughTheProxyThatTheEnvironmentNames)
{
    const struct
    {
        const char* variable;
        const char* url;
        const char* exempt;
        const char* firstLine; // at the proxy
    } kCases[] = {
        {"http_proxy", "http://storage.invalid/x", "", "GET http://storage.invalid/x HTTP/1.1"},
        {"https_proxy", "https://storage.invalid/x", "", "CONNECT storage.invalid:443 HTTP/1.1"},
        {"HTTPS_PROXY", "https://storage.invalid/x", "", "CONNECT storage.invalid:443 HTTP/1.1"},
        {"all_proxy", "https://storage.invalid/x", "", "CONNECT storage.invalid:443 HTTP/1.1"},
        {"https_proxy", "https://storage.invalid/x", ".invalid", ""},
        {"http_proxy", "http://localhost:1/x", "", ""}};
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(std::string(c.variable) + " " + c.url);
        std::string request;
        {
            const ScriptedServer proxy(
                [&request](Connection& connection)
                {
                    request = connection.readRequest();
                    connection.write("HTTP/1.1 403 Forbidden\r\nContent-Length: 0\r\n\r\n");
                });
            const test_support::ScopedVariable named(c.variable, proxy.url(""));
            const test_support::ScopedVariable exempt("no_proxy", c.exempt);
            HttpClient client(ssl::kDefaultCertificateCheck);
            static_cast<void>(client.doGet(Url(c.url)));
        }
        EXPECT_EQ(request.substr(0, request.find("\r\n")), c.firstLine);
    }
}

TEST(HeadParser, takesHeadsUpToItsLimit)
{
    HeadParser parser;
    const std::string line = "X: " + std::string(1019, 'x') + "\r\n"; // of 1 KiB
    for (int i = 0; i < 256; ++i)
        EXPECT_TRUE(parser.addLine(line)) << i;
    EXPECT_FALSE(parser.addLine("X"));
}

TEST(HeadParser, joinsTheLinesOfOneHeader)
{
    HeadParser parser;
    for (const char* const line : {"HTTP/1.1 200 OK", " of none", "X:", " a", "\tb", "Y: c", ""})
        EXPECT_TRUE(parser.addLine(line));
    EXPECT_EQ(getHeaderValue(parser.response()->headers, "X"), "a b");
    EXPECT_EQ(getHeaderValue(parser.response()->headers, "Y"), "c");
}

TEST(HttpClient, hasNoResponseWhenNoHeadCame)
{
    const struct
    {
        const char* name;
        ScriptedServer::Script script;
    } kCases[] = {
        {"closed at once", [](Connection&) {}},
        {"silent", [](Connection& connection) { EXPECT_TRUE(connection.waitForClose()); }},
        {"no HTTP", answer("SSH-2.0-server\r\n")},
        {"a head that never ends",
         [](Connection& connection)
         {
             connection.readRequest();
             connection.write("HTTP/1.1 200 OK\r\n");
             const auto end = std::chrono::steady_clock::now() + 3s;
             while (connection.write("X-Name: x\r\n") && std::chrono::steady_clock::now() < end)
                 std::this_thread::sleep_for(20ms);
             connection.write("\r\n");
         }},
        {"a head of many megabytes",
         [](Connection& connection)
         {
             connection.write("HTTP/1.1 200 OK\r\n");
             for (int line = 0; line < 50'000; ++line)
             {
                 if (!connection.write("X-Name: " + std::string(1000, 'x') + "\r\n"))
                     return;
             }
             connection.write("\r\n");
         }}};
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.name);
        const ScriptedServer server(c.script);
        HttpClient client(ssl::kDefaultCertificateCheck);
        client.setAllTimeouts(300ms);
        EXPECT_FALSE(client.doGet(server.url()));
        EXPECT_EQ(client.response(), nullptr);
        EXPECT_NE(client.failure(), "");
        EXPECT_TRUE(client.eof());
        EXPECT_EQ(client.fetchMessageBodyBuffer(), "");
        EXPECT_EQ(client.fetchEntireMessageBody(), std::nullopt);
    }
}

TEST(HttpClient, refusesWhatIsNoWebAddress)
{
    for (const char* const url :
         {"", "localhost/x", "file:///etc/hostname", "ftp://localhost/x",
          "http://localhost:1/nobody-listens"})
    {
        SCOPED_TRACE(url);
        HttpClient client(ssl::kAcceptAnyCertificate);
        EXPECT_FALSE(client.doGet(Url(url)));
        EXPECT_EQ(client.response(), nullptr);
        EXPECT_NE(client.failure(), "");
    }
}

TEST(HttpClient, givesWhatCameOfABrokenBody)
{
    const struct
    {
        const char* name;
        const char* head;
        bool isStalled;
    } kCases[] = {
        {"cut", "Content-Length: 100\r\n\r\nhalf", false},
        {"cut in a chunk", "Transfer-Encoding: chunked\r\n\r\n10\r\nhalf", false},
        {"stalled", "Content-Length: 100\r\n\r\nhalf", true}};
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.name);
        const ScriptedServer server(
            [&c](Connection& connection)
            {
                connection.readRequest();
                connection.write(std::string("HTTP/1.1 200 OK\r\n") + c.head);
                EXPECT_TRUE(!c.isStalled || connection.waitForClose());
            });
        HttpClient client(ssl::kDefaultCertificateCheck);
        client.setAllTimeouts(1000ms);
        ASSERT_TRUE(client.doGet(server.url()));
        std::string body;
        while (body.size() < 4 && !client.eof())
            body += client.fetchMessageBodyBuffer();
        EXPECT_EQ(body, "half");
        EXPECT_TRUE(client.eof());
        EXPECT_NE(client.failure(), "");

        ASSERT_TRUE(client.doGet(server.url()));
        EXPECT_EQ(client.fetchEntireMessageBody(), std::nullopt);
        EXPECT_EQ(client.response()->statusLine.statusCode, 200);
    }
}

TEST(HttpClient, waitsForWhatComesSlowly)
{
    constexpr auto kTimeout = 1500ms;
    const ScriptedServer server(
        [&](Connection& connection)
        {
            connection.readRequest();
            std::this_thread::sleep_for(100ms);
            connection.write("HTTP/1.0 200 OK\r\n\r\n");
            std::this_thread::sleep_for(100ms);
            const auto end = std::chrono::steady_clock::now() + kTimeout * 5 / 4;
            while (std::chrono::steady_clock::now() < end && connection.write("x"))
                std::this_thread::sleep_for(kTimeout / 20);
        });
    HttpClient client(ssl::kDefaultCertificateCheck);
    client.setAllTimeouts(0ms); // stands for the default
    ASSERT_TRUE(client.doGet(server.url()));
    client.setAllTimeouts(kTimeout);
    EXPECT_NE(client.fetchMessageBodyBuffer(), "");
    EXPECT_TRUE(client.fetchEntireMessageBody()) << "the time-out is for a silence";
}

TEST(HttpClient, boundsTheEntireBody)
{
    for (const size_t excess : {0, 1})
    {
        SCOPED_TRACE(excess);
        const ScriptedServer server(answer(
            "HTTP/1.1 200 OK\r\n\r\n" + std::string(HttpClient::kMaxEntireBodySize + excess, 'x')));
        HttpClient client(ssl::kDefaultCertificateCheck);
        ASSERT_TRUE(client.doGet(server.url()));
        EXPECT_EQ(client.fetchEntireMessageBody().has_value(), excess == 0);
        EXPECT_TRUE(client.eof());
    }
}

TEST(HttpClient, survivesAServerThatHangsUpWhileItSends)
{
    const ScriptedServer server([](Connection&) {}); // what came unread resets it
    HttpClient client(ssl::kAcceptAnyCertificate);
    EXPECT_FALSE(client.doPost(server.url(), "text/plain", std::string(20'000'000, 'x')));
}

} // namespace

} // namespace tavo::network::http
