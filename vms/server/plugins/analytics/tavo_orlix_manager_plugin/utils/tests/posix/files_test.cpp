#include "utils/files.h"

#include <sys/stat.h>

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

TEST(FilesTest, aPrivateFileIsNewWhateverHasItsName)
{
    const TempFolder folder;
    const std::string path = folder.file("file");
    const std::string victim = folder.file("victim");
    std::ofstream(victim) << "untouched";

    // A stranger has made it before, and holds it open.
    std::ofstream(path) << "";
    std::filesystem::permissions(path, std::filesystem::perms::all);
    std::ifstream reader(path);
    const mode_t former = umask(0);
    EXPECT_TRUE(writePrivate(path, "secret"));
    umask(former);
    EXPECT_EQ("secret", contentOf(path));
    std::string seen;
    EXPECT_FALSE(std::getline(reader, seen));
    using std::filesystem::perms;
    EXPECT_EQ(perms::owner_read | perms::owner_write, std::filesystem::status(path).permissions());

    for (const bool isSymbolic : {true, false})
    {
        std::filesystem::remove(path);
        isSymbolic ? std::filesystem::create_symlink(victim, path)
                   : std::filesystem::create_hard_link(victim, path);
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
