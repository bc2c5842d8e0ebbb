#include "utils/files.h"

#include <cerrno>

#include "test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{
namespace
{

using Open = std::FILE* (*)(const char* path);

bool write(Open open, const std::string& path, const std::string& text)
{
    const FileStream file(open(path.c_str()));
    return file && std::fwrite(text.data(), 1, text.size(), file.get()) == text.size();
}

// False where the system has no such links.
bool makeLink(bool isSymbolic, const std::string& target, const std::string& path)
{
    std::error_code error;
    isSymbolic ? std::filesystem::create_symlink(target, path, error)
               : std::filesystem::create_hard_link(target, path, error);
    EXPECT_TRUE(!error || error == std::errc::function_not_supported) << error.message();
    return !error;
}

TEST(FilesTest, whatIsThereIsCutOrWrittenOnAndReadAsItIs)
{
    const TemporaryFolder folder;
    const std::string path = folder.path("\xE5\xBA\x93 \xC3\xBC");
    const struct
    {
        Open open;
        std::string text;
        std::string content;
    } cases[] = {
        {file_open_append, "first of all", "first of all"},
        {file_open_append, "\n\x1A\r\n", "first of all\n\x1A\r\n"},
        {file_open_write, "short", "short"},
        {file_open_append, "\nand on", "short\nand on"},
        {file_open_private, "own", "own"},
        {file_open_write, "", ""},
        {file_open_write, "a\n\x1A\n", "a\n\x1A\n"},
    };
    for (const auto& c : cases)
    {
        EXPECT_TRUE(write(c.open, path, c.text)) << c.content;
        EXPECT_EQ(c.content, contentOf(path));
    }
    const FileStream file(file_open_read(path.c_str()));
    ASSERT_TRUE(file);
    EXPECT_EQ(4u, file_size(file.get()));
    EXPECT_TRUE(file_seek(file.get(), 1));
    for (const char character : {'\n', '\x1A', '\n'})
        EXPECT_EQ(character, std::fgetc(file.get()));
    EXPECT_EQ(EOF, std::fgetc(file.get()));
}

TEST(FilesTest, aFailureToOpenTellsWhy)
{
    const TemporaryFolder folder;
    for (const Open open : {file_open_read, file_open_write, file_open_append, file_open_private})
    {
        errno = 0;
        EXPECT_FALSE(FileStream(open(folder.path("none/file").c_str())));
        EXPECT_EQ(ENOENT, errno);
    }
}

TEST(FilesTest, aPrivateFileIsNewWhateverHasItsName)
{
    const TemporaryFolder folder;
    const std::string path = folder.path("file");
    const std::string victim = folder.path("victim");
    std::ofstream(victim) << "untouched";

    // A stranger has made it before, and holds it open.
    std::ofstream(path) << "";
    std::filesystem::permissions(path, std::filesystem::perms::all);
    {
        std::ifstream reader(path);
        const test_support::OpenToAll openToAll;
        EXPECT_EQ(test_support::kOpenFilesCanBeReplaced, write(file_open_private, path, "secret"));
        std::string seen;
        EXPECT_FALSE(std::getline(reader, seen));
    }
    {
        const test_support::OpenToAll openToAll;
        EXPECT_TRUE(write(file_open_private, path, "secret"));
    }
    EXPECT_EQ("secret", contentOf(path));
    EXPECT_TRUE(test_support::isPrivate(path));

    for (const bool isSymbolic : {true, false})
    {
        std::filesystem::remove(path);
        if (!makeLink(isSymbolic, victim, path))
            continue;
        EXPECT_TRUE(write(file_open_private, path, "secret"));
        EXPECT_EQ("untouched", contentOf(victim));
        EXPECT_EQ("secret", contentOf(path));
        EXPECT_FALSE(std::filesystem::is_symlink(path));
    }

    std::filesystem::remove(path);
    std::filesystem::create_directory(path);
    EXPECT_FALSE(write(file_open_private, path, "secret"));
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix::test
