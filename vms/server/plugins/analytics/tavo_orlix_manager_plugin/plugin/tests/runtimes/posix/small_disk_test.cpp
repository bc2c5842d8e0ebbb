// Why an installation failed, as disks have it that are full or cannot be written.

#include "posix/small_disk.h"

#include "incompressible.h"
#include "storage_fixtures.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

TEST_F(ManagerInstallationTest, tellsTheDiskThatIsFullOrCannotBeWritten)
{
    m_folder.write("content/orlix_manager/lib/engine.so", incompressible(300'000));
    m_folder.write("content/orlix_manager/VERSION", "4.6.1");
    writeManager("content");
    pack("content", "orlix_manager");
    const ScopedTempPath temporaryFolder(m_folder.path("tmp"));
    const std::string staging = m_folder.path("home") + "/orlix_manager.unpacking";
    const std::string archive = m_folder.path("tmp/orlix_manager.tgz");
    const struct
    {
        const char* folder;
        const char* options;
        std::string why;
        int requests;
    } cases[] = {
        {"home", "size=64k", "There is no room left on the disk of " + staging + ".", 1},
        {"tmp", "size=64k", "There is no room left on the disk of " + archive + ".", 1},
        {"home", "ro", "The disk of " + staging + " is read-only.", 0},
        {"tmp", "ro", "The disk of " + archive + " is read-only.", 1},
    };
    std::filesystem::create_directories(m_folder.path("home"));
    std::filesystem::create_directories(m_folder.path("tmp"));
    ManagerInstallation installation(m_folder.path("home"));
    for (const auto& c : cases)
    {
        SCOPED_TRACE(std::string(c.folder) + " " + c.options);
        const SmallDisk disk(m_folder.path(c.folder), c.options);
        if (!disk.isThere())
            GTEST_SKIP() << kNoSmallDisk;
        m_requests = 0;
        installation.install(m_board);
        EXPECT_EQ(ManagerInstallState::failed, installation.managerInstallState());
        EXPECT_EQ(m_failed + c.why, told());
        EXPECT_EQ(c.requests, m_requests);
    }
    installation.install(m_board);
    EXPECT_EQ(ManagerInstallState::installed, installation.managerInstallState());
    EXPECT_EQ("", told());
    {
        const SmallDisk disk(m_folder.path("home/orlix_manager/bin"), "size=64k");
        EXPECT_FALSE(installation.remove()); // what a disk is mounted at stays
        EXPECT_EQ(ManagerInstallState::installed, installation.managerInstallState());
    }
    EXPECT_TRUE(installation.remove());
}

TEST_F(RuntimesManagerTest, tellsTheDiskThatIsFullOrCannotBeWritten)
{
    m_folder.write(std::string("package/") + kRuntimeLibrary, incompressible(300'000));
    pack("package", ".");
    const std::string package = m_folder.path("bin/Generic CPU.tar.gz");
    const struct
    {
        const char* options;
        std::string text;
    } cases[] = {
        {"size=64k", m_downloadFailed + "There is no room left on the disk of " + package + "."},
        {"size=400k",
         m_unpackingFailed + "There is no room left on the disk of " +
             m_folder.path("bin/runtime.unpacking") + "."},
        {"ro", m_downloadFailed + "The disk of " + package + " is read-only."},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.options);
        const SmallDisk disk(m_folder.path("bin"), c.options);
        if (!disk.isThere())
            GTEST_SKIP() << kNoSmallDisk;
        m_manager.install(kCpu, m_board, /*useSubfolder*/ false);
        EXPECT_EQ(RuntimeStatus::installFailed, m_manager.status());
        EXPECT_EQ(c.text, told());
    }
}

} // namespace tavo::vms_server_plugins::analytics::orlix
