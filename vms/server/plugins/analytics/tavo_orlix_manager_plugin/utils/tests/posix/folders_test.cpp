#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <unistd.h>

#include "test_support.h"
#include "utils/folders.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

using test::TempFolder;

TEST(FoldersTest, whatALinkLeadsToIsNotRemovedWithIt)
{
    const TempFolder folder;
    std::filesystem::create_directories(folder.file("elsewhere"));
    std::ofstream(folder.file("elsewhere/kept")) << "";
    std::filesystem::create_directories(folder.file("tree"));
    std::filesystem::create_directory_symlink(folder.file("elsewhere"), folder.file("tree/link"));
    std::error_code error;
    remove_tree(folder.file("tree"), error);
    EXPECT_FALSE(error) << error.message();
    EXPECT_FALSE(std::filesystem::exists(folder.file("tree")));
    EXPECT_TRUE(std::filesystem::exists(folder.file("elsewhere/kept")));

    // What cannot go holds up nothing else, and its own reason is told.
    for (const char* const below : {"tree/a", "tree/b", "tree/c"})
    {
        std::filesystem::create_directories(folder.file(below));
        std::ofstream(folder.file(below) + "/file") << "";
        std::filesystem::permissions(folder.file(below), std::filesystem::perms::all);
    }
    for (const char* const above : {"", "tree"})
        std::filesystem::permissions(folder.file(above), std::filesystem::perms::all);
    std::filesystem::permissions(folder.file("tree/b"), std::filesystem::perms(0555));
    const uid_t user = geteuid();
    ASSERT_TRUE(user != 0 || seteuid(65534) == 0); // root may do anything
    remove_tree(folder.file("tree"), error);
    ASSERT_TRUE(user != 0 || seteuid(0) == 0);
    EXPECT_EQ(error, std::errc::permission_denied);
    EXPECT_TRUE(std::filesystem::exists(folder.file("tree/b/file")));
    for (const char* const below : {"tree/a", "tree/c"})
        EXPECT_FALSE(std::filesystem::exists(folder.file(below)));
    std::filesystem::permissions(folder.file("tree/b"), std::filesystem::perms::all);
    EXPECT_TRUE(folder_entries(folder.file("none"), error).empty());
    EXPECT_EQ(error, std::errc::no_such_file_or_directory);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
