#include "server.h"

#include <thread>

#include <gtest/gtest.h>

#include "temporary_folder.h"

namespace tavo::devkit
{

namespace
{

using vms_server_plugins::analytics::orlix::TemporaryFolder;

class ServicesTest : public testing::Test
{
protected:
    ServicesTest()
    {
        m_folder.write("catalogue.json", R"({"models": [], "pipelines": [{}]})");
        m_options.catalogue = m_folder.path("catalogue.json");
        m_options.files = m_folder.path();
    }

    ServicesOptions m_options;

private:
    TemporaryFolder m_folder;
};

TEST_F(ServicesTest, doNotShareAPort)
{
    Services first(m_options);
    m_options.port = first.bind();
    ASSERT_GT(m_options.port, 0);
    const std::jthread serving([&first] { first.serve(); });

    EXPECT_EQ(Services(m_options).bind(), -1);
    first.stop();
}

TEST_F(ServicesTest, stopBeforeTheyHaveBegunToServe)
{
    for (int i = 0; i < 100; ++i)
    {
        Services services(m_options);
        ASSERT_GT(services.bind(), 0);
        const std::jthread serving([&services] { services.serve(); });
        services.stop();
    }
}

} // namespace

} // namespace tavo::devkit
