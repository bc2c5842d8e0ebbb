// Why an installation failed, as disks have it that are full or cannot be written.

#include "posix/small_disk.h"

#include <gmock/gmock.h>

#include "incompressible.h"
#include "manager_installation_fixture.h"
#include "runtimes_fixture.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

namespace
{

// All that is on the board.
std::vector<std::string> texts(const MessageBoard& board)
{
    std::vector<std::string> all;
    for (const auto& [key, entry] : board.snapshot())
        all.push_back(entry.text);
    return all;
}

} // namespace

TEST_F(ManagerInstallationTest, tellsTheDiskThatIsFullOrCannotBeWritten)
{
    m_folder.write("content/orlix_manager/lib/engine.so", incompressible(300'000));
    makeArchive(/*engine*/ true, "4.6.1", /*anew*/ false);
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
        EXPECT_THAT(
            texts(m_board), UnorderedElementsAre("Failed to install the Orlix Manager. " + c.why));
        EXPECT_EQ(c.requests, m_requests);
    }
    installation.install(m_board);
    EXPECT_EQ(ManagerInstallState::installed, installation.managerInstallState());
    EXPECT_THAT(texts(m_board), IsEmpty());
}

TEST_F(RuntimesManagerTest, tellsTheDiskThatIsFullOrCannotBeWritten)
{
    m_folder.write(std::string("package/") + kRuntimeLibrary, incompressible(300'000));
    makePackage(".");
    const std::string package = m_folder.path("bin/Generic CPU.tar.gz");
    const std::string extraction =
        "Failed to extract the runtime package. Please ensure you have a stable Internet "
        "connection and enough free space on your disk. ";
    const struct
    {
        const char* options;
        std::string text;
    } cases[] = {
        {"size=64k",
         "Failed to download the runtime package. There is no room left on the disk of " + package +
             "."},
        {"size=400k",
         extraction + "There is no room left on the disk of " +
             m_folder.path("bin/runtime.unpacking") + "."},
        {"ro", "Failed to download the runtime package. The disk of " + package + " is read-only."},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.options);
        const SmallDisk disk(m_folder.path("bin"), c.options);
        if (!disk.isThere())
            GTEST_SKIP() << kNoSmallDisk;
        m_manager.install(kCpu, m_board, /*useSubfolder*/ false);
        EXPECT_EQ(RuntimeStatus::installFailed, m_manager.status());
        EXPECT_THAT(texts(m_board), UnorderedElementsAre(c.text));
    }
}

} // namespace tavo::vms_server_plugins::analytics::orlix
