#include <future>

#include <gtest/gtest.h>

#include <tavo/sdk/helpers/ref_countable.h>

#include "metadata/metadata.h"
#include "records/record_store.h"
#include "records/records.h"
#include "records/rest_api.h"
#include "records/rest_service.h"

namespace tavo::devkit
{

class RestApi : public testing::Test
{
protected:
    RestApi()
    {
        m_store->put(RecordKind::server, kServerRecordId, R"({"id":"s","parameters":{}})");
        m_store->put(RecordKind::device, "{AB}", R"({"id":"{AB}","serverId":"{s}"})");
        m_store->put(RecordKind::device, "cd", R"({"id":"cd","serverId":"other"})");
        m_store->put(RecordKind::user, "u", R"({"id":"u","type":"cloud"})");
    }

    std::string answer(const char* method, const char* path, const char* body = "")
    {
        return answerRequest(*m_store, {path, method, body});
    }

    static std::string ok(const std::string& body)
    {
        return "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: " +
            std::to_string(body.size()) + "\r\n\r\n" + body;
    }

    std::unique_ptr<RecordStore> m_store = makeMemoryRecordStore();
};

TEST_F(RestApi, answersWithWholeResponses)
{
    const std::string first = R"({"id":"{AB}","serverId":"{s}"})";
    const std::string second = R"({"id":"cd","serverId":"other"})";
    EXPECT_EQ(answer("GET", "/rest/v4/devices?serverId=s"), ok("[" + first + "]"));
    EXPECT_EQ(answer("GET", "/rest/v4/devices"), ok("[" + first + "," + second + "]"));
    EXPECT_EQ(answer("GET", "/rest/v4/devices?x=1&serverId=nobody"), ok("[]"));
    EXPECT_EQ(answer("GET", "/rest/v4/devices/ab"), ok(first));
    EXPECT_EQ(answer("GET", "/rest/v4/servers/this"), ok(R"({"id":"s","parameters":{}})"));
    EXPECT_EQ(answer("GET", "/rest/v4/users"), ok(R"([{"id":"u","type":"cloud"}])"));
}

TEST_F(RestApi, patchesMergeAndLastAndLeaveTheId)
{
    const std::string patched = R"({"id":"{AB}","serverId":"{s}","parameters":{"tavoAI":{"x":1}}})";
    EXPECT_EQ(
        answer("PATCH", "/rest/v4/devices/{ab}", R"({"id":"zz","parameters":{"tavoAI":{"x":1}}})"),
        ok(patched));
    EXPECT_EQ(answer("GET", "/rest/v4/devices/AB"), ok(patched));

    EXPECT_EQ(
        answer("PATCH", "/rest/v4/servers/this", R"({"parameters":null})"), ok(R"({"id":"s"})"));
}

TEST_F(RestApi, tellsAFailureByItsStatus)
{
    const struct
    {
        const char* method;
        const char* path;
        const char* body;
        const char* status;
    } kCases[] = {
        {"GET", "/rest/v4/devices/unknown", "", "404"},
        {"PATCH", "/rest/v4/devices/unknown", "{}", "404"},
        {"GET", "/rest/v4/devices/", "", "404"},
        {"GET", "/rest/v4/devicesab", "", "404"},
        {"GET", "/elsewhere", "", "404"},
        {"POST", "/rest/v4/devices/ab", "{}", "405"},
        {"PATCH", "/rest/v4/devices/ab", "{", "400"},
    };
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(std::string(c.method) + " " + c.path);
        const std::string text = answer(c.method, c.path, c.body);
        EXPECT_EQ(text.substr(0, 12), std::string("HTTP/1.1 ") + c.status);
        EXPECT_NE(text.find("\r\n\r\n"), std::string::npos);
    }
}

namespace
{

class Completion : public sdk::RefCountable<RestService::CompletionHandler>
{
public:
    void execute(sdk::Result<const sdk::IString*> response) override
    {
        m_answer.set_value({std::this_thread::get_id(), takeText(response.value)});
    }

    std::promise<std::pair<std::thread::id, std::string>> m_answer;
};

} // namespace

TEST(RestServiceTest, answersOnItsOwnThreadAndLeavesNothingUnanswered)
{
    const auto store = makeMemoryRecordStore();
    store->put(RecordKind::server, kServerRecordId, R"({"id":"s"})");
    std::vector<sdk::Ptr<Completion>> completions;
    {
        RestService service(*store);
        for (int i = 0; i < 3; ++i)
        {
            completions.push_back(sdk::makePtr<Completion>());
            service.submit({"/rest/v4/servers/this", "GET", ""}, completions.back());
        }
    }
    for (const auto& completion : completions)
    {
        const auto [thread, text] = completion->m_answer.get_future().get();
        EXPECT_NE(thread, std::this_thread::get_id());
        EXPECT_TRUE(text.ends_with("\r\n\r\n{\"id\":\"s\"}"));
    }
}

// Whatever its thread is at just then: about to wait, in its wait, or with a request.
TEST(RestServiceTest, endsWheneverItIsAskedTo)
{
    const auto store = makeMemoryRecordStore();
    for (int i = 0; i < 2'000; ++i)
    {
        RestService service(*store);
        for (int request = 0; request < i % 3; ++request)
            service.submit({"/rest/v4/users", "GET", ""}, sdk::makePtr<Completion>());
        if (i % 2 == 0)
            std::this_thread::yield();
    }
}

} // namespace tavo::devkit
