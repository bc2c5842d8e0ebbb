#include "manager_installation_fixture.h"

#include <gmock/gmock.h>

#include "incompressible.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

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
    makeArchive(/*engine*/ true, "4.6.1");
    // Behind all that is looked for.
    m_folder.write("content/orlix_manager/lib/engine.so", incompressible(300'000));
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
        EXPECT_EQ(
            c.result == ManagerInstallState::installed
                ? ""
                : "Failed to install the Orlix Manager. The archive does not hold all that belongs "
                  "to it.",
            told());
        m_folder.write(std::string("work/orlix_manager/bin/") + kEngineExecutable, "");
        EXPECT_EQ(c.result, installation.checkInstallation());
        installation.remove();
        EXPECT_EQ(ManagerInstallState::notInstalled, installation.managerInstallState());
    }

    m_archive = "no archive at all"; // tar starts, and fails
    ManagerInstallation broken(m_folder.path("work"));
    broken.install(m_board);
    EXPECT_EQ(ManagerInstallState::failed, broken.managerInstallState());
    EXPECT_THAT(
        told(),
        testing::StartsWith(
            "Failed to install the Orlix Manager. The archive is damaged or was cut: "));

    m_storage = m_server.url("/missing");
    ini().OrlixManagerStorageURL = m_storage.c_str();
    ManagerInstallation missing(m_folder.path("work"));
    missing.install(m_board);
    EXPECT_EQ(ManagerInstallState::failed, missing.managerInstallState());
    EXPECT_FALSE(m_folder.has("orlix_manager.tgz"));
    EXPECT_EQ(
        "Failed to install the Orlix Manager. The server of " + managerArchiveUrl() +
            " answered with status 404.",
        told());
}

} // namespace tavo::vms_server_plugins::analytics::orlix
