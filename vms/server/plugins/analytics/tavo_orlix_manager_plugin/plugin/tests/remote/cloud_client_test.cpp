#include "remote/cloud_client.h"

#include <atomic>
#include <cstdlib>
#include <optional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/ini.h"
#include "fake_host.h"
#include "http_server.h"
#include "utils/tests/test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

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
    void startCloud(const std::string& body)
    {
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
    std::atomic<int> m_status{200};

private:
    const char* const m_defaultApi = ini().CloudAPI;
    std::string m_base;
    std::string m_body;
    LoopbackHttpServer m_cloud;
};

TEST_F(CloudClient, IsConnectedWithATokenAndStaysAsItIsWithoutAHost)
{
    std::atomic<int> state{kCloudNeverChecked};
    checkCloudConnection(state, {});
    EXPECT_EQ(kCloudBeingChecked, state);
    for (const std::optional<std::string>& token :
         {std::optional<std::string>(), std::optional<std::string>("")})
    {
        m_host->setToken(token);
        state = kCloudNeverChecked;
        checkCloudConnection(state, m_host);
        EXPECT_EQ(kCloudNotConnected, state);
    }
    checkCloudConnection(state, {});
    EXPECT_EQ(kCloudNotConnected, state);
    m_host->setToken("token");
    checkCloudConnection(state, m_host);
    EXPECT_EQ(kCloudConnected, state);
}

TEST_F(CloudClient, PipelinesBecomeOptionsWithTheirPatch)
{
    startCloud(
        R"([{"uuid":"u1","models":[{"a":1}],"name":"People","pipelines":[]},{"name":"Cars","uuid":"u2"}])");
    const std::vector<PipelineOption> options = getAvailablePipelines(m_host, "dev-1");

    EXPECT_EQ("/dev/system/site-1/device/dev-1/available-pipelines", m_request.path);
    EXPECT_EQ("token-1", m_request.get_header_value("Authorization"));
    ASSERT_EQ(2u, options.size());
    EXPECT_EQ("u1", options[0].uuid);
    EXPECT_EQ(
        R"({"parameters":{"tavoAI":{"models":[{"a":1}],"pipelines":[],"selectedPipeline":"u1"}}})",
        options[0].patch);
    EXPECT_EQ(R"({"parameters":{"tavoAI":{"selectedPipeline":"u2"}}})", options[1].patch);
}

TEST_F(CloudClient, AResetPatchesWhateverTheCloudAnswers)
{
    startCloud(R"({"Devices":{"other":{"models":[]},"dev-1":{"pipelines":{"a":[1]}}}})");
    resetDevices(m_host, {"dev-1", "dev-2"});

    EXPECT_EQ("/dev/reset/", m_request.path);
    EXPECT_EQ(
        R"({"SystemId":"site-1","ServerId":"server-1","Devices":["dev-1","dev-2"]})",
        m_request.body);
    EXPECT_THAT(
        patches(),
        ElementsAre(
            R"(/rest/v4/devices/other {"parameters":{"tavoAI":{"models":[]}}})",
            R"(/rest/v4/devices/dev-1 {"parameters":{"tavoAI":{"pipelines":{"a":[1]}}}})"));
}

TEST_F(CloudClient, AnswersOfTheWrongKindGiveNothing)
{
    for (const char* body :
         {"", "<html>", "[", "{}", "null", R"([1,"a",null,[{"name":"x"}]])", R"({"Devices":[]})",
          R"({"Devices":"x"})", R"({"devices":{"a":{}}})"})
    {
        SCOPED_TRACE(body);
        startCloud(body);
        EXPECT_THAT(getAvailablePipelines(m_host, "dev-1"), IsEmpty());
        resetDevices(m_host, {"a"});
    }
    for (const int status : {206, 302, 500})
    {
        m_status = status;
        startCloud(R"([{"name":"n","uuid":"u"}])");
        EXPECT_THAT(getAvailablePipelines(m_host, "dev-1"), IsEmpty());
        startCloud(R"({"Devices":{"a":{}}})");
        resetDevices(m_host, {"a"});
    }
    EXPECT_THAT(patches(), IsEmpty());
}

TEST_F(CloudClient, AnAnswerPatchesDevicesAndNothingElseOfTheHost)
{
    startCloud(
        R"({"Devices":{"../servers/this":{},"a/b":{},"":{},"a?x":{},"a%2Fb":{},"{dev-1}":{}}})");
    resetDevices(m_host, {});
    EXPECT_THAT(patches(), ElementsAre(R"(/rest/v4/devices/{dev-1} {"parameters":{"tavoAI":{}}})"));
    EXPECT_THAT(
        m_log.text(),
        HasSubstr("Warning! The cloud answered for what is no device: ../servers/this\n"));
}

TEST_F(CloudClient, OfAnErrorsBodyTheLogGetsTheBeginning)
{
    LoopbackHttpServer cloud;
    cloud.failAtLength(".*");
    cloud.start();
    useCloud(cloud.url(""));
    EXPECT_THAT(getAvailablePipelines(m_host, "d"), IsEmpty());
    EXPECT_TRUE(m_log.text().ends_with(" Body: " + std::string(1024, 'a') + "\n"));
}

TEST_F(CloudClient, OnlyATrustedCertificateIsAccepted)
{
    const TestCertificate certificate;
    LoopbackHttpsServer cloud(certificate);
    cloud.handlers.Get(
        ".*",
        [](const httplib::Request&, httplib::Response& response)
        { response.set_content(R"([{"name":"n","uuid":"u"}])", "application/json"); });
    cloud.start();
    useCloud(cloud.url(""));

    EXPECT_THAT(getAvailablePipelines(m_host, "d"), IsEmpty());
    EXPECT_THAT(m_log.text(), HasSubstr("Couldn't get a response from endpoint: "));
    EXPECT_THAT(m_log.text(), HasSubstr("The connection failed: SSL certificate problem: "));
    {
        const test_support::ScopedVariable authorities("CURL_CA_BUNDLE", certificate.caFile());
        EXPECT_EQ(1u, getAvailablePipelines(m_host, "d").size());
    }
    const std::string bundle = certificate.caFile();
    ini().caBundle = bundle.c_str();
    EXPECT_EQ(1u, getAvailablePipelines(m_host, "d").size());
    ini().caBundle = "";
}

} // namespace tavo::vms_server_plugins::analytics::orlix
