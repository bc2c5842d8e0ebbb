#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

#include <windows.h>

#include "test_support.h"
#include "utils/files.h"
#include "utils/folders.h"
#include "utils/paths.h"

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

using namespace std::chrono_literals;
using namespace test;

void makeReadOnly(const std::string& path)
{
    ASSERT_TRUE(SetFileAttributesW(pathFromUtf8(path).c_str(), FILE_ATTRIBUTE_READONLY));
}

// Lets nobody else delete or rename it, as a scanner of new files does.
HANDLE hold(const std::string& path)
{
    return CreateFileW(
        pathFromUtf8(path).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
        FILE_ATTRIBUTE_NORMAL, nullptr);
}

} // namespace

TEST(FoldersTest, aRenameWaitsForThoseWhoHaveTheFileOpen)
{
    const TemporaryFolder folder;
    const std::string target = folder.path("b");
    for (const char* const held : {"a", "b"})
    {
        folder.write("a", "new");
        folder.write("b", "old");
        const HANDLE handle = hold(folder.path(held));
        ASSERT_NE(handle, INVALID_HANDLE_VALUE);
        std::error_code error;
        rename_entry(folder.path("a"), target, 10ms, error);
        EXPECT_TRUE(error) << "patience has an end";
        EXPECT_EQ(folder.read("b"), "old");

        std::thread holder(
            [handle]
            {
                Sleep(100);
                CloseHandle(handle);
            });
        rename_entry(folder.path("a"), target, 30s, error);
        holder.join();
        EXPECT_FALSE(error) << error.message();
        EXPECT_EQ(folder.read("b"), "new");
    }
}

TEST(FoldersTest, aFolderNeverReplacesAFileNorAFileAFolder)
{
    const TemporaryFolder folder;
    std::filesystem::create_directories(pathFromUtf8(folder.path("folder")));
    folder.write("file", "kept");
    std::error_code error;
    rename_entry(folder.path("folder"), folder.path("file"), 0ms, error);
    EXPECT_TRUE(error);
    rename_entry(folder.path("file"), folder.path("folder"), 0ms, error);
    EXPECT_TRUE(error);
    EXPECT_EQ(folder.read("file"), "kept");
    EXPECT_TRUE(is_folder_itself(folder.path("folder")));
}

TEST(FoldersTest, readOnlyFilesAreReplacedAndRemoved)
{
    const TemporaryFolder folder;
    const std::string target = folder.path("b");
    std::error_code error;
    folder.write("a", "new");
    folder.write("b", "old");
    makeReadOnly(target);
    rename_entry(folder.path("a"), target, 0ms, error);
    EXPECT_FALSE(error) << error.message();
    EXPECT_EQ(folder.read("b"), "new");

    makeReadOnly(target);
    EXPECT_TRUE(FileStream(file_open_private(target.c_str())));

    folder.write("tree/below/c", "");
    makeReadOnly(folder.path("tree/below/c"));
    makeReadOnly(folder.path("tree/below"));
    remove_tree(folder.path("tree"), error);
    EXPECT_FALSE(error) << error.message();
    EXPECT_FALSE(folder.has("tree"));
    remove_tree(folder.path("tree"), error);
    EXPECT_FALSE(error) << "what is not there: " << error.message();
}

} // namespace tavo::vms_server_plugins::analytics::orlix
