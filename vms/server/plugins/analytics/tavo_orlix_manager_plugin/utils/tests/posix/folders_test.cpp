#include <gtest/gtest.h>

#include <filesystem>
#include <unistd.h>

#include "test_support.h"
#include "utils/folders.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

using test::TemporaryFolder;

TEST(FoldersTest, whatALinkLeadsToIsNotRemovedWithIt)
{
    const TemporaryFolder folder;
    folder.write("elsewhere/kept", "");
    std::filesystem::create_directories(folder.path("tree"));
    std::filesystem::create_directory_symlink(folder.path("elsewhere"), folder.path("tree/link"));
    std::error_code error;
    remove_tree(folder.path("tree"), error);
    EXPECT_FALSE(error) << error.message();
    EXPECT_FALSE(folder.has("tree"));
    EXPECT_TRUE(folder.has("elsewhere/kept"));

    // What cannot go holds up nothing else, and its own reason is told.
    for (const char* const below : {"tree/a", "tree/b", "tree/c"})
    {
        folder.write(std::string(below) + "/file", "");
        std::filesystem::permissions(folder.path(below), std::filesystem::perms::all);
    }
    for (const char* const above : {"", "tree"})
        std::filesystem::permissions(folder.path(above), std::filesystem::perms::all);
    std::filesystem::permissions(folder.path("tree/b"), std::filesystem::perms(0555));
    const uid_t user = geteuid();
    ASSERT_TRUE(user != 0 || seteuid(65534) == 0); // root may do anything
    remove_tree(folder.path("tree"), error);
    ASSERT_TRUE(user != 0 || seteuid(0) == 0);
    EXPECT_EQ(error, std::errc::permission_denied);
    EXPECT_TRUE(folder.has("tree/b/file"));
    for (const char* const below : {"tree/a", "tree/c"})
        EXPECT_FALSE(folder.has(below));
    std::filesystem::permissions(folder.path("tree/b"), std::filesystem::perms::all);
    EXPECT_TRUE(folder_entries(folder.path("none"), error).empty());
    EXPECT_EQ(error, std::errc::no_such_file_or_directory);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
