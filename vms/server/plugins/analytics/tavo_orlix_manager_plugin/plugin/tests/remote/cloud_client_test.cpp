#include "remote/cloud_client.h"

#include <cstdlib>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/ini.h"
#include "fake_host.h"
#include "http_server.h"
#include "https_server.h"
#include "utils/tests/test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class CloudClient : public ::testing::Test
{
protected:
    CloudClient() { m_host->setToken("token-1"); }
    ~CloudClient() override { ini().CloudAPI = m_defaultApi; }

    void useCloud(const std::string& base)
    {
        m_base = base;
        ini().CloudAPI = m_base.c_str();
    }

    // A cloud that answers every request with this, and keeps the request.
    void startCloud(int status, const std::string& body)
    {
        m_status = status;
        m_body = body;
        if (!m_base.empty())
            return;
        const auto answer = [this](const httplib::Request& request, httplib::Response& response)
        {
            m_request = request;
            response.status = m_status;
            response.set_content(m_body, "application/json");
        };
        m_cloud.handlers.Get(".*", answer);
        m_cloud.handlers.Post(".*", answer);
        m_cloud.start();
        useCloud(m_cloud.url("/dev"));
    }

    std::vector<std::string> patches() const
    {
        std::vector<std::string> result;
        for (const FakeHost::Request& request : m_host->requests("PATCH "))
            result.push_back(request.path + " " + request.body);
        return result;
    }

    sdk::Ptr<FakeHost> m_host = sdk::makePtr<FakeHost>();
    test::CapturedLog m_log;
    httplib::Request m_request;

private:
    const char* const m_defaultApi = ini().CloudAPI;
    std::string m_base;
    int m_status = 0;
    std::string m_body;
    LoopbackHttpServer m_cloud;
};

TEST_F(CloudClient, ATokenIsTheWholeTestOfTheConnection)
{
    const struct
    {
        const char* name;
        std::optional<std::string> token;
        int before;
        int after;
        const char* log;
    } kCases[] = {
        {"first check", "t", kCloudNeverChecked, kCloudConnected, "Got cloud token.\n"},
        {"empty", "", kCloudConnected, kCloudNotConnected,
         "Couldn't get cloud token. Assuming not connected to cloud.\n"},
        {"a host without a cloud", std::nullopt, kCloudBeingChecked, kCloudNotConnected,
         "Warning! Cloud token is NULL. This could indicate an incompatible VMS.\n"
         "Couldn't get cloud token. Assuming not connected to cloud.\n"},
        {"connected later", "t", kCloudNotConnected, kCloudConnected, "Got cloud token.\n"}};
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.name);
        const std::string logged = m_log.text();
        m_host->setToken(c.token);
        std::atomic<int> state{c.before};
        checkCloudConnection(state, m_host);
        EXPECT_EQ(c.after, state);
        EXPECT_EQ(c.log, m_log.text().substr(logged.size()));
    }
    EXPECT_THAT(m_host->requests(), IsEmpty());

    for (const int before : {kCloudNeverChecked, kCloudNotConnected})
    {
        std::atomic<int> state{before};
        checkCloudConnection(state, nullptr);
        EXPECT_EQ(before == kCloudNeverChecked ? kCloudBeingChecked : before, state);
    }
    EXPECT_THAT(
        m_log.text(),
        HasSubstr("Warning! Utility provider is null, cannot check cloud connection.\n"));
}

TEST_F(CloudClient, PipelinesBecomeOptionsWithTheirPatch)
{
    startCloud(
        200,
        R"([{"uuid":"u1","models":[{"a":1}],"name":"People","pipelines":[]},{"name":"Cars","uuid":"u2"}])");
    const std::vector<PipelineOption> options = getAvailablePipelines(m_host, "dev-1");

    EXPECT_EQ("/dev/system/site-1/device/dev-1/available-pipelines", m_request.path);
    EXPECT_EQ("ORLIX-Plugin/4.6.66", m_request.get_header_value("User-Agent"));
    EXPECT_EQ("token-1", m_request.get_header_value("Authorization"));
    ASSERT_EQ(2u, options.size());
    EXPECT_EQ("People", options[0].name);
    EXPECT_EQ("u1", options[0].uuid);
    EXPECT_EQ(
        R"({"parameters":{"tavoAI":{"models":[{"a":1}],"pipelines":[],"selectedPipeline":"u1"}}})",
        options[0].patch);
    EXPECT_EQ(R"({"parameters":{"tavoAI":{"selectedPipeline":"u2"}}})", options[1].patch);
    EXPECT_EQ(
        "Patch pipelines People:\n" + options[0].patch + "\nPatch pipelines Cars:\n" +
            options[1].patch + "\n",
        m_log.text());
}

TEST_F(CloudClient, PipelinesOfTheWrongKindGiveNone)
{
    for (const char* body :
         {"", "<html></html>", "{}", "[", "null", R"([1,"a",null,[{"name":"x"}]])"})
    {
        SCOPED_TRACE(body);
        startCloud(200, body);
        EXPECT_THAT(getAvailablePipelines(m_host, "dev-1"), IsEmpty());
    }
    EXPECT_EQ("", m_log.text());
}

TEST_F(CloudClient, AnyOtherStatusIsLoggedWithItsBody)
{
    startCloud(404, "no %s such device %n");
    EXPECT_THAT(getAvailablePipelines(m_host, "d"), IsEmpty());
    const std::string endpoint =
        std::string(ini().CloudAPI) + "/system/site-1/device/d/available-pipelines";
    const std::string failure = "Failed to fetch pipelines! Endpoint:" + endpoint +
        " Code: 404 Line: HTTP/1.1 404 Not Found Body: no %s such device %n";
    EXPECT_EQ(failure + "\n", m_log.text());

    startCloud(500, "");
    resetDevices(m_host, {"d"});
    EXPECT_THAT(
        m_log.text(),
        HasSubstr(
            "Failed to configure devices! Endpoint:" + std::string(ini().CloudAPI) +
            "/reset/ Code: 500 Line: HTTP/1.1 500 Internal Server Error Body: "));
    EXPECT_THAT(patches(), IsEmpty());
}

TEST_F(CloudClient, WithoutAServerThereIsNoResponse)
{
    useCloud("http://127.0.0.1:1");
    EXPECT_THAT(getAvailablePipelines(m_host, "d"), IsEmpty());
    resetDevices(m_host, {});
    EXPECT_EQ(
        "Couldn't get a response from endpoint: http://127.0.0.1:1/system/site-1/device/d/available-pipelines\n"
        "Resetting configuration of 0 devices. String: {\"SystemId\":\"site-1\",\"ServerId\":\"server-1\",\"Devices\":[]}\n"
        "Couldn't get a response from endpoint: http://127.0.0.1:1/reset/\n",
        m_log.text());
}

TEST_F(CloudClient, ABodyThatBreaksOffIsNoAnswer)
{
    LoopbackHttpServer cloud;
    cloud.handlers.Get(
        ".*",
        [](const httplib::Request&, httplib::Response& response)
        {
            response.set_content_provider(
                1000, "application/json",
                [](size_t, size_t, httplib::DataSink& sink)
                {
                    sink.write("[]", 2);
                    return false;
                });
        });
    cloud.start();
    useCloud(cloud.url(""));
    EXPECT_THAT(getAvailablePipelines(m_host, "d"), IsEmpty());
    EXPECT_EQ("Failed to fetch available pipelines! Body can not be read.\n", m_log.text());
}

TEST_F(CloudClient, AResetPatchesWhateverTheCloudAnswers)
{
    startCloud(200, R"({"Devices":{"other":{"models":[]},"dev-1":{"pipelines":{"a":[1]}}}})");
    resetDevices(m_host, {"dev-1", "dev-2"});

    EXPECT_EQ("/dev/reset/", m_request.path);
    EXPECT_EQ("application/json", m_request.get_header_value("Content-Type"));
    EXPECT_EQ("token-1", m_request.get_header_value("Authorization"));
    EXPECT_EQ(
        R"({"SystemId":"site-1","ServerId":"server-1","Devices":["dev-1","dev-2"]})",
        m_request.body);
    EXPECT_THAT(
        patches(),
        ElementsAre(
            R"(/rest/v4/devices/other {"parameters":{"tavoAI":{"models":[]}}})",
            R"(/rest/v4/devices/dev-1 {"parameters":{"tavoAI":{"pipelines":{"a":[1]}}}})"));
    EXPECT_THAT(
        m_log.text(),
        HasSubstr(
            R"(Patching parameters to device: other : {"parameters":{"tavoAI":{"models":[]}}})"));
}

TEST_F(CloudClient, AResetWithNobodyNamedIsStillAsked)
{
    startCloud(200, "{}");
    m_host->setSite(std::nullopt);
    m_host->server = nullptr;
    resetDevices(m_host, {});
    EXPECT_EQ(R"({"Devices":[]})", m_request.body);
}

TEST_F(CloudClient, ResetAnswersOfTheWrongKindPatchNothing)
{
    for (const char* body :
         {"", "<html>", "[]", R"({"Devices":[]})", R"({"Devices":"x"})", R"({"devices":{"a":{}}})"})
    {
        SCOPED_TRACE(body);
        startCloud(200, body);
        resetDevices(m_host, {"a"});
    }
    EXPECT_THAT(patches(), IsEmpty());
}

// The cloud's own text is as remote as any other.
TEST_F(CloudClient, ADeepAnswerIsHarmless)
{
    const std::string deep = std::string(200'000, '[') + std::string(200'000, ']');
    startCloud(200, R"({"Devices":{"a":)" + deep + "}}");
    resetDevices(m_host, {"a"});
    EXPECT_THAT(
        patches(), ElementsAre("/rest/v4/devices/a {\"parameters\":{\"tavoAI\":" + deep + "}}"));
}

TEST_F(CloudClient, OnlyACertificateThatTheSystemTrustsIsAccepted)
{
    const SelfSignedCertificate certificate;
    LoopbackHttpsServer cloud(certificate);
    cloud.handlers.Get(
        ".*",
        [](const httplib::Request&, httplib::Response& response)
        { response.set_content(R"([{"name":"n","uuid":"u"}])", "application/json"); });
    cloud.start();
    useCloud(cloud.url(""));

    EXPECT_THAT(getAvailablePipelines(m_host, "d"), IsEmpty());
    EXPECT_THAT(m_log.text(), HasSubstr("Couldn't get a response from endpoint: "));
    setenv("CURL_CA_BUNDLE", certificate.caFile().c_str(), 1);
    EXPECT_EQ(1u, getAvailablePipelines(m_host, "d").size());
    unsetenv("CURL_CA_BUNDLE");
}

} // namespace tavo::vms_server_plugins::analytics::orlix
