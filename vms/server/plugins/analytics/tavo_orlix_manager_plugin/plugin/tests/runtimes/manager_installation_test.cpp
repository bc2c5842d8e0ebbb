#include "runtimes/manager_installation.h"

#include <gtest/gtest.h>

#include "base/ini.h"
#include "http_server.h"
#include "temporary_folder.h"
#include "utils/command.h"
#include "utils/platform_names.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

class ManagerInstallationTest : public testing::Test
{
protected:
    void SetUp() override
    {
        m_folder.write("work/kept.txt", "");
        m_server.handlers.Get(
            std::string("/apps/orlix_manager-x86_64-") + kArchiveTag + ".tgz",
            [this](const httplib::Request&, httplib::Response& response)
            {
                ++m_requests;
                response.set_content(m_archive, "application/gzip");
            });
        m_server.start();
        m_storage = m_server.url("/apps");
        ini().OrlixManagerStorageURL = m_storage.c_str();
    }

    void TearDown() override { ini().OrlixManagerStorageURL = ""; }

    // An archive as the real tar makes it, of some of the files that belong in it.
    void makeArchive(bool engine, const char* version)
    {
        std::filesystem::remove_all(m_folder.path("content"));
        m_folder.write(std::string("content/orlix_manager/bin/") + kManagerExecutable, "");
        if (engine)
            m_folder.write(std::string("content/orlix_manager/bin/") + kEngineExecutable, "");
        if (version)
            m_folder.write("content/orlix_manager/VERSION", version);
        const std::string file = m_folder.path("archive.tgz");
        ASSERT_EQ(
            0,
            runCommand("tar czf " + file + " -C " + m_folder.path("content") + " orlix_manager")
                .exitCode);
        m_archive = m_folder.read("archive.tgz");
    }

    TemporaryFolder m_folder;
    const ScopedTempPath m_temporaryFolder{m_folder.path()};
    std::string m_archive = "no archive";
    std::atomic<int> m_requests{0};
    LoopbackHttpServer m_server;
    MessageBoard m_board;
    std::string m_storage;
};

} // namespace

TEST_F(ManagerInstallationTest, installsOnceAndAgainAfterARemoval)
{
    makeArchive(/*engine*/ true, "4.6.1");
    ManagerInstallation installation(m_folder.path("work"));
    ASSERT_EQ(ManagerInstallState::notInstalled, installation.checkInstallation());
    installation.install(m_board);
    EXPECT_EQ(ManagerInstallState::installed, installation.managerInstallState());
    EXPECT_EQ("4.6.1", m_folder.read("work/orlix_manager/VERSION"));
    EXPECT_FALSE(m_folder.has("orlix_manager.tgz"));
    EXPECT_TRUE(m_board.snapshot().empty());

    ManagerInstallation afterRestart(m_folder.path("work"));
    EXPECT_EQ(ManagerInstallState::notInstalled, afterRestart.managerInstallState());
    EXPECT_EQ(ManagerInstallState::installed, afterRestart.checkInstallation());

    for (const char* const file : {"cache/keys/id.tvc", "etc/settings.json", "version"})
        m_folder.write(std::string("work/orlix_manager/") + file, "");
    m_folder.write("work/orlix_manager/postprocessors/kept.json", "{}");
    installation.remove();
    EXPECT_EQ(ManagerInstallState::notInstalled, installation.checkInstallation());
    for (const char* const gone : {"bin", "etc", "cache", "version", "VERSION"})
        EXPECT_FALSE(m_folder.has(std::string("work/orlix_manager/") + gone)) << gone;
    EXPECT_TRUE(m_folder.has("work/orlix_manager/postprocessors/kept.json"));
    EXPECT_EQ(1, m_requests);
}

TEST_F(ManagerInstallationTest, ofACutArchiveNothingCountsAndAnApplicationPutThereDoes)
{
    std::string program(300'000, '\0'); // that gzip cannot make small
    std::uint32_t random = 1;
    for (char& c : program)
        c = static_cast<char>((random = random * 1664525 + 1013904223) >> 24);
    makeArchive(/*engine*/ true, "4.6.1");
    // Behind all that is looked for.
    m_folder.write("content/orlix_manager/lib/engine.so", program);
    ASSERT_EQ(
        0,
        runCommand(
            "tar czf " + m_folder.path("archive.tgz") + " -C " + m_folder.path("content") +
            " orlix_manager/bin/" + kManagerExecutable + " orlix_manager/bin/" + kEngineExecutable +
            " orlix_manager/VERSION orlix_manager/lib/engine.so")
            .exitCode);
    m_archive = m_folder.read("archive.tgz");
    m_archive.resize(m_archive.size() / 2);
    ManagerInstallation installation(m_folder.path("work"));
    installation.install(m_board);
    EXPECT_EQ(ManagerInstallState::failed, installation.managerInstallState());
    EXPECT_EQ(ManagerInstallState::failed, installation.checkInstallation());
    EXPECT_FALSE(m_folder.has("work/orlix_manager/bin"));
    EXPECT_FALSE(m_folder.has("work/orlix_manager.unpacking"));

    m_folder.write(std::string("work/orlix_manager/bin/") + kManagerExecutable, "");
    m_folder.write(std::string("work/orlix_manager/bin/") + kEngineExecutable, "");
    EXPECT_EQ(ManagerInstallState::installed, installation.checkInstallation());
}

TEST_F(ManagerInstallationTest, aFailureStaysUntilARemoval)
{
    const struct
    {
        const char* name;
        bool engine;
        const char* version;
        ManagerInstallState result;
    } cases[] = {
        {"no engine", false, "4.6.1", ManagerInstallState::failed},
        {"no version", true, nullptr, ManagerInstallState::failed},
        {"empty version", true, "", ManagerInstallState::installed},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        std::filesystem::remove_all(m_folder.path("work/orlix_manager"));
        makeArchive(c.engine, c.version);
        ManagerInstallation installation(m_folder.path("work"));
        installation.install(m_board);
        EXPECT_EQ(c.result, installation.managerInstallState());
        m_folder.write(std::string("work/orlix_manager/bin/") + kEngineExecutable, "");
        EXPECT_EQ(c.result, installation.checkInstallation());
        installation.remove();
        EXPECT_EQ(ManagerInstallState::notInstalled, installation.managerInstallState());
    }

    m_archive = "no archive at all"; // tar starts, and fails
    ManagerInstallation broken(m_folder.path("work"));
    broken.install(m_board);
    EXPECT_EQ(ManagerInstallState::failed, broken.managerInstallState());

    m_storage = m_server.url("/missing");
    ini().OrlixManagerStorageURL = m_storage.c_str();
    ManagerInstallation missing(m_folder.path("work"));
    missing.install(m_board);
    EXPECT_EQ(ManagerInstallState::failed, missing.managerInstallState());
    EXPECT_FALSE(m_folder.has("orlix_manager.tgz"));
    EXPECT_TRUE(m_board.snapshot().empty());
}

} // namespace tavo::vms_server_plugins::analytics::orlix
