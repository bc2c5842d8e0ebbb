#include "remote/host_rest_client.h"

#include <atomic>
#include <stdexcept>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fake_host.h"
#include "remote/orlix_completion_handler.h"
#include "remote/text_helpers.h"
#include "utils/tests/test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Handler = FakeHost::Handler;
using Response = FakeHost::Response;

class HostRestClient : public ::testing::Test
{
protected:
    std::string request() { return doRequest("/path", "GET", "", "", m_host); }

    sdk::Ptr<FakeHost> m_host = sdk::makePtr<FakeHost>();
    test::CapturedLog m_log;
};

TEST_F(HostRestClient, EachOperationSendsItsRequest)
{
    EXPECT_EQ("{}", getDevice(m_host, "{id}"));
    EXPECT_EQ("{}", getDevicesParameters(m_host));
    EXPECT_TRUE(getServerParameters(m_host));
    EXPECT_THAT(getCloudUserIds(m_host), IsEmpty());
    patchDevice(m_host, "{\"a\":1}", "id");
    patchRuntimeInformation(m_host, "", "");
    patchRuntimeInformation(m_host, "Intel", "openvino");
    patchRuntimeActive(m_host, true);
    patchRuntimeActive(m_host, false);

    std::vector<std::string> seen;
    for (const FakeHost::Request& request : m_host->requests())
    {
        EXPECT_EQ(1, request.kind);
        EXPECT_EQ(request.method == "PATCH" ? "application/json" : "", request.mimeType);
        seen.push_back(request.method + " " + request.path + " " + request.body);
    }
    EXPECT_THAT(
        seen,
        ElementsAre(
            "GET /rest/v4/devices/{id} ", "GET /rest/v4/devices?serverId=server-1 ",
            "GET /rest/v4/servers/this ", "GET /rest/v4/users ",
            "PATCH /rest/v4/devices/id {\"a\":1}",
            R"(PATCH /rest/v4/servers/this {"parameters":{"tavoAI":{"runtimeInformation":[{"mimetypes":[""],"name":""}]}}})",
            R"(PATCH /rest/v4/servers/this {"parameters":{"tavoAI":{"runtimeInformation":[{"mimetypes":["openvino"],"name":"Intel"}]}}})",
            R"(PATCH /rest/v4/servers/this {"parameters":{"tavoAI":{"runtimeActive":true}}})",
            R"(PATCH /rest/v4/servers/this {"parameters":{"tavoAI":{"runtimeActive":false}}})"));
}

TEST_F(HostRestClient, WithoutAProviderNothingIsSent)
{
    EXPECT_EQ("", doRequest("/path", "GET", "", "", nullptr));
    EXPECT_EQ("", getDevicesParameters(nullptr));
    EXPECT_FALSE(getServerParameters(nullptr));
    EXPECT_FALSE(cloudSystemId(nullptr));
    EXPECT_EQ("", cloudAuthToken(nullptr));
    EXPECT_EQ(
        "Warning! doRequest called with invalid utility provider.\n"
        "Warning! doRequest called with invalid utility provider.\n"
        "Warning! doRequest called with invalid utility provider.\n",
        m_log.text());
}

TEST_F(HostRestClient, ResultsOfTheHostAreReadAsTold)
{
    const struct
    {
        const char* name;
        std::function<Response()> response;
        const char* text;
        const char* log;
    } kCases[] = {
        {"error with a text",
         [] {
             return Response(sdk::Error{sdk::ErrorCode::networkError, new sdk::String("no way")});
         },
         "", "Http request failed: no way\nWarning! Could not get response from API.\n"},
        {"error without a text",
         [] {
             return Response(sdk::Error{sdk::ErrorCode::networkError, nullptr});
         },
         "", "Http request failed: networkError\nWarning! Could not get response from API.\n"},
        {"no value", [] { return Response(nullptr); }, "Error: Result has no value.", ""},
        {"empty value", [] { return Response(new sdk::String("")); }, "",
         "Warning! Could not get response from API.\n"},
        {"empty body", [] { return Response(new sdk::String("HTTP/1.1 200 OK\r\n\r\n")); }, "", ""},
        {"web page",
         [] { return Response(new sdk::String("HTTP/1.1 401\r\n\r\n<html>\n</html>")); }, "<html>",
         ""}};
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.name);
        const std::string logged = m_log.text();
        m_host->run = [&c](const FakeHost::Request&, Handler* handler)
        { handler->execute(c.response()); };
        EXPECT_EQ(c.text, request());
        EXPECT_EQ(c.log, m_log.text().substr(logged.size()));
    }
}

TEST_F(HostRestClient, ALateAnswerFromAnotherThreadIsWaitedFor)
{
    std::jthread hostThread;
    m_host->run = [&hostThread](const FakeHost::Request&, Handler* handler)
    {
        hostThread = std::jthread([kept = sdk::addRefToPtr(handler)]
                                  { FakeHost::reply(kept.get(), "H\n\nlate"); });
    };
    EXPECT_EQ("late", request());
}

TEST_F(HostRestClient, ASecondAnswerHarmsNobody)
{
    sdk::Ptr<Handler> kept;
    m_host->run = [&kept](const FakeHost::Request&, Handler* handler)
    {
        FakeHost::reply(handler, "H\n\nfirst");
        FakeHost::reply(handler, "H\n\nsecond");
        kept = sdk::addRefToPtr(handler);
    };
    EXPECT_EQ("first", request());
    FakeHost::reply(kept.get(), "H\n\nthird"); // nobody waits any more
    m_host->run = [](const FakeHost::Request&, Handler* handler)
    { FakeHost::reply(handler, "H\n\nother"); };
    EXPECT_EQ("other", request());
}

TEST_F(HostRestClient, AHostThatGivesTheRequestUpEndsTheWait)
{
    std::jthread hostThread;
    m_host->run = [&hostThread](const FakeHost::Request&, Handler* handler)
    { hostThread = std::jthread([kept = sdk::addRefToPtr(handler)]() mutable { kept.reset(); }); };
    EXPECT_EQ("", request());
    EXPECT_EQ(
        "Http request failed: The host gave the request up.\n"
        "Warning! Could not get response from API.\n",
        m_log.text());
}

TEST_F(HostRestClient, AHostThatThrowsIsAFailedRequest)
{
    sdk::Ptr<Handler> kept;
    m_host->run = [&kept](const FakeHost::Request&, Handler* handler)
    {
        kept = sdk::addRefToPtr(handler);
        throw std::runtime_error("not today");
    };
    EXPECT_EQ("", request());
    FakeHost::reply(kept.get(), "H\n\nyet an answer");
    EXPECT_EQ(
        "Http request failed: not today\nWarning! Could not get response from API.\n"
        "Warning! Dropped an answer of the host that nobody waits for.\n",
        m_log.text());
    m_host->run = [](const FakeHost::Request&, Handler*) { throw 1; };
    EXPECT_EQ("", request());
}

TEST_F(HostRestClient, RequestsOfAllThreadsRunOneAtATime)
{
    std::atomic<int> inFlight{0};
    std::atomic<int> most{0};
    m_host->run = [&](const FakeHost::Request&, Handler* handler)
    {
        std::thread(
            [&, kept = sdk::addRefToPtr(handler)]
            {
                most = std::max(most.load(), ++inFlight);
                std::this_thread::yield();
                --inFlight;
                FakeHost::reply(kept.get(), "H\n\nbody");
            })
            .detach();
    };
    std::atomic<int> answered{0};
    {
        std::vector<std::jthread> callers;
        for (int i = 0; i < 4; ++i)
        {
            callers.emplace_back(
                [&]
                {
                    for (int n = 0; n < 50; ++n)
                        answered += request() == "body";
                });
        }
    }
    EXPECT_EQ(200, answered);
    EXPECT_EQ(1, most);
}

TEST_F(HostRestClient, NeitherHandlersNorAnswersAreLeaked)
{
    struct CountedText : sdk::String
    {
        explicit CountedText(std::atomic<int>& count) :
            String("H\n\nbody"),
            m_count(count)
        {
            ++m_count;
        }
        ~CountedText() override { --m_count; }
        std::atomic<int>& m_count;
    };
    std::atomic<int> alive{0};
    m_host->run = [&alive](const FakeHost::Request&, Handler* handler)
    {
        handler->execute(Response(new CountedText(alive)));
        handler->execute(Response(new CountedText(alive)));
        handler->execute(Response(sdk::Error{sdk::ErrorCode::otherError, new CountedText(alive)}));
    };
    EXPECT_EQ("body", request());
    EXPECT_EQ(0, alive);
}

TEST_F(HostRestClient, ListsSayWhatIsWrong)
{
    m_host->body = [](const FakeHost::Request&) { return ""; };
    EXPECT_THAT(getDevicesWithConfiguration(m_host), IsEmpty());
    EXPECT_THAT(getDevicesWithoutConfiguration(m_host), IsEmpty());
    EXPECT_THAT(getCloudUserIds(m_host), IsEmpty());
    m_host->body = [](const FakeHost::Request&)
    { return R"([{"id":"a"},{"id":"b","parameters":{"tavoAI":{}}}])"; };
    EXPECT_THAT(getDevicesWithConfiguration(m_host), IsEmpty());
    EXPECT_THAT(getDevicesWithoutConfiguration(m_host), ElementsAre("b"));
    m_host->body = [](const FakeHost::Request&)
    { return R"([{"type":"cloud","id":"u1"},{"type":"local","id":"u2"},{"type":"cloud"}])"; };
    EXPECT_THAT(getCloudUserIds(m_host), ElementsAre("u1"));
    EXPECT_EQ(
        "Warning! Could not patch default device parameters.\n"
        "Warning! Could not patch default device parameters.\n"
        "Warning! Could not get cloud users!\n"
        "Device a not activated yet. Ignoring.\n"
        "Device b has no configuration. Ignoring.\n"
        "Device a not activated yet. Ignoring.\n"
        "WARNING: User does not have ID\n",
        m_log.text());
}

// The host's text is remote input: neither its depth nor its size may harm the process.
TEST_F(HostRestClient, DeepAndHugeAnswersAreHarmless)
{
    const std::string deep = std::string(1'000'000, '[') + std::string(1'000'000, ']');
    m_host->body = [&deep](const FakeHost::Request&) { return deep; };
    const JsonDocument document = getServerParameters(m_host);
    ASSERT_TRUE(document);
    EXPECT_FALSE(pluginParameters(yyjson_doc_get_root(document.get())));
    EXPECT_THAT(getDevicesWithConfiguration(m_host), IsEmpty());

    auto [copy, inner] = makeParametersDocument(yyjson_doc_get_root(document.get()));
    EXPECT_EQ(R"({"parameters":{"tavoAI":)" + deep + "}}", compactJson(copy.get()));
}

} // namespace tavo::vms_server_plugins::analytics::orlix
