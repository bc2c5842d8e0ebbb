#include "utils/files.h"

#include "test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{
namespace
{

bool writePrivate(const std::string& path, const std::string& text)
{
    const FileStream file(file_open_private(path.c_str()));
    return file && std::fputs(text.c_str(), file.get()) >= 0;
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

TEST(FilesTest, aPrivateFileIsNewWhateverHasItsName)
{
    const TempFolder folder;
    const std::string path = folder.file("file");
    const std::string victim = folder.file("victim");
    std::ofstream(victim) << "untouched";

    // A stranger has made it before, and holds it open.
    std::ofstream(path) << "";
    std::filesystem::permissions(path, std::filesystem::perms::all);
    {
        std::ifstream reader(path);
        const test_support::OpenToAll openToAll;
        EXPECT_EQ(test_support::kOpenFilesCanBeReplaced, writePrivate(path, "secret"));
        std::string seen;
        EXPECT_FALSE(std::getline(reader, seen));
    }
    {
        const test_support::OpenToAll openToAll;
        EXPECT_TRUE(writePrivate(path, "secret"));
    }
    EXPECT_EQ("secret", contentOf(path));
    EXPECT_TRUE(test_support::isPrivate(path));

    for (const bool isSymbolic : {true, false})
    {
        std::filesystem::remove(path);
        if (!makeLink(isSymbolic, victim, path))
            continue;
        EXPECT_TRUE(writePrivate(path, "secret"));
        EXPECT_EQ("untouched", contentOf(victim));
        EXPECT_EQ("secret", contentOf(path));
        EXPECT_FALSE(std::filesystem::is_symlink(path));
    }

    std::filesystem::remove(path);
    std::filesystem::create_directory(path);
    EXPECT_FALSE(writePrivate(path, "secret"));
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix::test
