#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
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

void write(const std::string& path, const std::string& text)
{
    std::ofstream(pathFromUtf8(path)) << text;
}

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
    const TempFolder folder;
    const std::string target = folder.file("b");
    for (const char* const held : {"a", "b"})
    {
        write(folder.file("a"), "new");
        write(target, "old");
        const HANDLE handle = hold(folder.file(held));
        ASSERT_NE(handle, INVALID_HANDLE_VALUE);
        std::error_code error;
        rename_entry(folder.file("a"), target, 10ms, error);
        EXPECT_TRUE(error) << "patience has an end";
        EXPECT_EQ(contentOf(target), "old");

        std::thread holder(
            [handle]
            {
                Sleep(100);
                CloseHandle(handle);
            });
        rename_entry(folder.file("a"), target, 30s, error);
        holder.join();
        EXPECT_FALSE(error) << error.message();
        EXPECT_EQ(contentOf(target), "new");
    }
}

TEST(FoldersTest, aFolderNeverReplacesAFileNorAFileAFolder)
{
    const TempFolder folder;
    std::filesystem::create_directories(pathFromUtf8(folder.file("folder")));
    write(folder.file("file"), "kept");
    std::error_code error;
    rename_entry(folder.file("folder"), folder.file("file"), 0ms, error);
    EXPECT_TRUE(error);
    rename_entry(folder.file("file"), folder.file("folder"), 0ms, error);
    EXPECT_TRUE(error);
    EXPECT_EQ(contentOf(folder.file("file")), "kept");
    EXPECT_TRUE(is_folder_itself(folder.file("folder")));
}

TEST(FoldersTest, readOnlyFilesAreReplacedAndRemoved)
{
    const TempFolder folder;
    const std::string target = folder.file("b");
    std::error_code error;
    write(folder.file("a"), "new");
    write(target, "old");
    makeReadOnly(target);
    rename_entry(folder.file("a"), target, 0ms, error);
    EXPECT_FALSE(error) << error.message();
    EXPECT_EQ(contentOf(target), "new");

    makeReadOnly(target);
    EXPECT_TRUE(FileStream(file_open_private(target.c_str())));

    std::filesystem::create_directories(pathFromUtf8(folder.file("tree/below")));
    write(folder.file("tree/below/c"), "");
    makeReadOnly(folder.file("tree/below/c"));
    makeReadOnly(folder.file("tree/below"));
    remove_tree(folder.file("tree"), error);
    EXPECT_FALSE(error) << error.message();
    EXPECT_FALSE(std::filesystem::exists(pathFromUtf8(folder.file("tree"))));
    remove_tree(folder.file("tree"), error);
    EXPECT_FALSE(error) << "what is not there: " << error.message();
}

} // namespace tavo::vms_server_plugins::analytics::orlix
