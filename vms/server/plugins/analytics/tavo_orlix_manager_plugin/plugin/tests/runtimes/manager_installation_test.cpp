#include "storage_fixtures.h"

#include <gmock/gmock.h>

#include "base/deployment.h"
#include "incompressible.h"
#include "remote/file_helpers.h"
#include "utils/tests/test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

TEST_F(ManagerInstallationTest, installsOnceAndAgainAfterARemoval)
{
    m_folder.write("content/orlix_manager/VERSION", "4.6.1");
    writeManager("content");
    pack("content", "orlix_manager");
    // Of an unpacking that a crash has ended.
    m_folder.write("server/orlix_manager.unpacking/content/orlix_manager/left", "");
    ManagerInstallation installation(m_folder.path("server"));
    ASSERT_EQ(ManagerInstallState::notInstalled, installation.checkInstallation());
    m_meanwhile = [&]
    { EXPECT_EQ(ManagerInstallState::downloading, installation.managerInstallState()); };
    installation.install(m_board);
    EXPECT_EQ(ManagerInstallState::installed, installation.managerInstallState());
    EXPECT_EQ("4.6.1", m_folder.read("server/orlix_manager/VERSION"));
    EXPECT_FALSE(m_folder.has("orlix_manager.tgz"));
    EXPECT_FALSE(m_folder.has("server/orlix_manager/left"));
    EXPECT_EQ("", told());

    ManagerInstallation afterRestart(m_folder.path("server"));
    EXPECT_EQ(ManagerInstallState::notInstalled, afterRestart.managerInstallState());
    EXPECT_EQ(ManagerInstallState::installed, afterRestart.checkInstallation());

    for (const char* const file : {"cache/keys/id.tvc", "etc/settings.json", "version"})
        m_folder.write(std::string("server/orlix_manager/") + file, "");
    m_folder.write("server/orlix_manager/postprocessors/kept.json", "{}");
    installation.remove();
    EXPECT_EQ(ManagerInstallState::notInstalled, installation.checkInstallation());
    for (const char* const gone : {"bin", "etc", "cache", "version", "VERSION"})
        EXPECT_FALSE(m_folder.has(std::string("server/orlix_manager/") + gone)) << gone;
    EXPECT_TRUE(m_folder.has("server/orlix_manager/postprocessors/kept.json"));
    EXPECT_EQ(1, m_requests);

    ini().OrlixManagerStorageURL = "";
    EXPECT_EQ(
        std::string(kDefaultStorageBase) + "/ORLIXManager/v4-6/" + fileNameOf(managerArchiveUrl()),
        managerArchiveUrl());
}

TEST_F(ManagerInstallationTest, ofACutArchiveNothingCountsAndAnApplicationPutThereDoes)
{
    m_folder.write("content/orlix_manager/VERSION", "4.6.1");
    m_folder.write("content/orlix_manager/lib/engine.so", incompressible(300'000));
    writeManager("content");
    // Behind all that is looked for.
    pack("content", "orlix_manager/bin orlix_manager/VERSION orlix_manager/lib/engine.so");
    m_archive.resize(m_archive.size() / 2);
    ManagerInstallation installation(m_folder.path("server"));
    installation.install(m_board);
    EXPECT_EQ(ManagerInstallState::failed, installation.managerInstallState());
    EXPECT_EQ(ManagerInstallState::failed, installation.checkInstallation());
    EXPECT_FALSE(m_folder.has("server/orlix_manager/bin"));
    EXPECT_FALSE(m_folder.has("server/orlix_manager.unpacking"));

    writeManager("server");
    EXPECT_EQ(ManagerInstallState::installed, installation.checkInstallation());
}

TEST_F(ManagerInstallationTest, aFailureStaysUntilARemoval)
{
    const test::CapturedLog log;
    const auto isLogged = [&log](const std::string& text)
    { return log.text().find("Error! " + text) != std::string::npos; };
    const std::string incomplete = "The archive does not hold all that belongs to it.";
    const struct
    {
        const char* name;
        bool hasEngine;
        const char* version;
        std::string why; // empty: it is installed
    } cases[] = {
        {"no engine", false, "4.6.1", incomplete},
        {"no version", true, nullptr, incomplete},
        {"empty version", true, "", ""},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        for (const char* const folder : {"server/orlix_manager", "content"})
            std::filesystem::remove_all(m_folder.path(folder));
        writeManager("content", c.hasEngine);
        if (c.version)
            m_folder.write("content/orlix_manager/VERSION", c.version);
        pack("content", "orlix_manager");
        ManagerInstallation installation(m_folder.path("server"));
        installation.install(m_board);
        const auto state =
            c.why.empty() ? ManagerInstallState::installed : ManagerInstallState::failed;
        EXPECT_EQ(state, installation.managerInstallState());
        EXPECT_EQ(c.why.empty() ? "" : m_failed + c.why, told());
        m_folder.write(std::string("server/orlix_manager/bin/") + kEngineExecutable, "");
        EXPECT_EQ(state, installation.checkInstallation());
        installation.remove();
        EXPECT_EQ(ManagerInstallState::notInstalled, installation.managerInstallState());
    }

    EXPECT_TRUE(isLogged("Could not install Orlix Manager: " + incomplete));
    EXPECT_FALSE(isLogged("Failed to unpack Orlix Manager: "));
    m_archive = "no archive at all"; // tar starts, and fails
    ManagerInstallation broken(m_folder.path("server"));
    broken.install(m_board);
    EXPECT_EQ(ManagerInstallState::failed, broken.managerInstallState());
    EXPECT_THAT(told(), testing::StartsWith(m_failed + "The archive is damaged or was cut: "));

    EXPECT_TRUE(isLogged("Failed to unpack Orlix Manager: "));

    EXPECT_FALSE(isLogged("Could not download"));
    m_status = 404;
    broken.install(m_board);
    EXPECT_EQ(ManagerInstallState::failed, broken.managerInstallState());
    EXPECT_FALSE(m_folder.has("orlix_manager.tgz"));
    EXPECT_EQ(
        m_failed + "The server of " + managerArchiveUrl() + " answered with status 404.", told());
    EXPECT_TRUE(isLogged("Could not download Orlix Manager file from " + managerArchiveUrl()));

    EXPECT_FALSE(isLogged("Could not move"));
    m_status = 200;
    pack("content", "orlix_manager");
    m_folder.write(
        std::string("server/orlix_manager/bin/") + kManagerExecutable + "/in the way", "");
    broken.install(m_board);
    EXPECT_EQ(ManagerInstallState::failed, broken.managerInstallState());
    EXPECT_THAT(told(), testing::HasSubstr(kManagerExecutable));
    EXPECT_TRUE(isLogged("Could not move Orlix Manager into place: "));
}

} // namespace tavo::vms_server_plugins::analytics::orlix
