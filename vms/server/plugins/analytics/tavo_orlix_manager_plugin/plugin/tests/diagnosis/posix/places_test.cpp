// What a system's folders really say, and what of it is found.

#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "diagnosis/checks.h"
#include "inference/protocol.h"
#include "posix/small_disk.h"
#include "temporary_folder.h"
#include "utils/file_lock.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

using testing::HasSubstr;

TEST(DoctorsPlaces, AreSeenWithTheirRightsAndTheirRoom)
{
    const TemporaryFolder folder;
    if (const SmallDisk disk(folder.path("small"), "size=64k"); disk.isThere())
    {
        Findings out;
        checkFolders(out, {folder.path("small/to/be/made"), folder.path("small"), ""});
        EXPECT_THAT(out.text(), HasSubstr("/small, user 0, mode 1777, 0 MiB free of 512"));
        EXPECT_THAT(out.text(), HasSubstr(" needed, full disk [bad]"));
    }
    folder.write(protocol::kPluginSocketFile, "");
    const std::string socket = folder.path(protocol::kPluginSocketFile);
    std::filesystem::permissions(folder.path(), std::filesystem::perms::all);
    const bool isStrange = chown(socket.c_str(), 65534, 65534) == 0;
    Findings out;
    checkFolders(
        out,
        {folder.path(), folder.path("none"),
         "P: 1 2: Device {7} sends frames of 1024x1024\nP: 1 2: Device {7} sends frames of "
         "2048x1024\nP: 1 2: Device {8} sends frames of 600000x600000\n"});
    EXPECT_TRUE(checkSockets(out, {folder.path(), folder.path(), ""}));
    FileLock host;
    ASSERT_EQ(FileLock::Outcome::taken, host.take(socket + ".lock"));
    EXPECT_FALSE(checkSockets(out, {folder.path(), folder.path(), ""}));
    EXPECT_THAT(out.text(), HasSubstr("a host has it, process " + std::to_string(getpid())));
    EXPECT_THAT(
        out.text(), HasSubstr("none, 0 MiB free of 512 MiB needed, there is no such folder [bad]"));
    EXPECT_THAT(out.text(), HasSubstr("wrong rights [bad]"));
    EXPECT_THAT(out.text(), HasSubstr(" free of 3089922 MiB needed, full disk [bad]"));
    EXPECT_THAT(
        out.text(), HasSubstr(isStrange ? "mode 644, a stranger's [bad]" : "mode 644 [good]"));
}

} // namespace tavo::vms_server_plugins::analytics::orlix
