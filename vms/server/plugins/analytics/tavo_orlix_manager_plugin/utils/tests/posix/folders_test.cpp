#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

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
}

} // namespace tavo::vms_server_plugins::analytics::orlix
