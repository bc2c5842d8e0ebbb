#include "remote/host_rest_client.h"

#include <algorithm>
#include <atomic>
#include <future>
#include <set>
#include <stdexcept>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fake_host.h"
#include "utils/tests/test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

using Handler = FakeHost::Handler;
using Response = FakeHost::Response;

// A host may give a text that is none.
struct NullText : sdk::String
{
    NullText() :
        String("")
    {}
    const char* str() const override { return nullptr; }
};

class HostRestClient : public ::testing::Test
{
protected:
    std::string request() { return doRequest("/path", "GET", "", "", m_host); }

    sdk::Ptr<FakeHost> m_host = sdk::makePtr<FakeHost>();
    test::CapturedLog m_log;
};

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
        {"null text", [] { return Response(new NullText); }, "",
         "Warning! Could not get response from API.\n"},
        {"empty value", [] { return Response(new sdk::String("")); }, "",
         "Warning! Could not get response from API.\n"},
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

// What a host does while it takes the request says nothing of what it will do with it.
TEST_F(HostRestClient, AHandlerGivenBackAndTakenAgainIsAnswered)
{
    std::jthread hostThread;
    m_host->run = [&hostThread](const FakeHost::Request&, Handler* handler)
    {
        auto kept = sdk::interfaceCast<Handler>(handler);
        ASSERT_TRUE(kept);
        kept.reset();
        kept = sdk::addRefToPtr(handler);
        hostThread = std::jthread(
            [kept = std::move(kept)]
            {
                sdk::addRefToPtr(kept.get()).reset();
                FakeHost::reply(kept.get(), "H\n\nbody");
            });
    };
    EXPECT_EQ("body", request());
    EXPECT_EQ("", m_log.text());
}

TEST_F(HostRestClient, ALateAnswerWithoutAReferenceMeetsALivingHandler)
{
    std::vector<Handler*> pointers;
    m_host->run = [&pointers](const FakeHost::Request&, Handler* handler)
    { pointers.push_back(handler); };
    for (int n = 0; n < 3; ++n)
        EXPECT_EQ("", request());
    EXPECT_EQ(3u, std::set(pointers.begin(), pointers.end()).size());
    for (Handler* const handler : pointers)
        FakeHost::reply(handler, "H\n\nlate");
    const std::string text = m_log.text();
    const std::string dropped = "Warning! Dropped an answer of the host that nobody waits for.\n";
    EXPECT_TRUE(text.ends_with(dropped + dropped + dropped)) << text;
}

// One waits for the answer, the other for its turn.
TEST_F(HostRestClient, AStopEndsEveryWaitAndTheLateAnswerMeetsALivingHandler)
{
    std::promise<Handler*> taken;
    m_host->run = [&taken](const FakeHost::Request&, Handler* handler)
    {
        handler->addRef(); // else the host would have given it up
        taken.set_value(handler);
    };
    std::stop_source stop;
    const UtilityProviderPtr host(m_host, stop.get_token());
    const auto call = [&host] { EXPECT_EQ("", doRequest("/path", "GET", "", "", host)); };
    std::jthread callers[] = {std::jthread(call), std::jthread(call)};
    Handler* const handler = taken.get_future().get();
    stop.request_stop();
    for (std::jthread& caller : callers)
        caller.join();
    FakeHost::reply(handler, "H\n\nlate");
    EXPECT_EQ(1u, handler->releaseRef());
    call(); // which takes no turn any more
    EXPECT_THAT(
        m_log.text(), ::testing::HasSubstr("Http request failed: The plugin is shutting down.\n"));
    EXPECT_EQ(1u, m_host->requests().size());
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
}

TEST_F(HostRestClient, SoManyHandlersThatAreOwedAnAnswerAreKept)
{
    std::vector<sdk::Ptr<Handler>> handlers;
    m_host->run = [&handlers](const FakeHost::Request&, Handler* handler)
    {
        handlers.push_back(sdk::addRefToPtr(handler));
        throw std::runtime_error("not today");
    };
    constexpr int kMaxUnanswered = 1024;
    const auto isKept = [](const sdk::Ptr<Handler>& handler)
    {
        handler->addRef();
        return handler->releaseRef() > 1;
    };
    request();
    FakeHost::reply(handlers[0].get(), "H\n\nbody");
    request();
    EXPECT_FALSE(isKept(handlers[0]));
    while (handlers.size() < kMaxUnanswered + 3)
        request();
    EXPECT_EQ(kMaxUnanswered, std::count_if(handlers.begin(), handlers.end(), isKept));
}

TEST_F(HostRestClient, ASiteWhoseTextIsNullIsNone)
{
    struct Host : FakeHost
    {
        const sdk::IString* cloudSystemId() const override { return new NullText; }
    };
    EXPECT_FALSE(cloudSystemId(sdk::makePtr<Host>()));
}

TEST_F(HostRestClient, RequestsOfAllThreadsRunOneAtATime)
{
    std::atomic<int> inFlight{0};
    std::atomic<int> overlaps{0};
    m_host->run = [&](const FakeHost::Request&, Handler* handler)
    {
        overlaps += ++inFlight > 1;
        std::this_thread::yield();
        --inFlight;
        FakeHost::reply(handler, "H\n\nbody");
    };
    std::atomic<int> answered{0};
    {
        const auto call = [&]
        {
            for (int n = 0; n < 50; ++n)
                answered += request() == "body";
        };
        const std::jthread callers[] = {std::jthread(call), std::jthread(call), std::jthread(call)};
    }
    EXPECT_EQ(150, answered);
    EXPECT_EQ(0, overlaps);
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

} // namespace tavo::vms_server_plugins::analytics::orlix
