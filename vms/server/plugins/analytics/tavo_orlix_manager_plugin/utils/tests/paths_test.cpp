#include "utils/paths.h"

#include <filesystem>

#include "test_support.h"
#include "utils/command.h"
#include "utils/platform_names.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{
namespace
{

TEST(PathJoinTest, oneSeparatorStandsBetweenParts)
{
    const std::string separator(1, kPathSeparator);
    EXPECT_EQ("a" + separator + "b" + separator + "c", path_join("a", std::string("b"), "c"));
    EXPECT_EQ("a" + separator + "b", path_join("a" + separator, "b"));
    EXPECT_EQ("a", path_join("a"));
    EXPECT_EQ(separator + "a", path_join("", "a"));
    EXPECT_EQ("", path_join({}));
}

TEST(PlatformNamesTest, theFolderLineMakesAFolderAnewWhateverItsName)
{
    for (const char* const name : {"plain", "two  blanks", "$HOME * ; it's"})
    {
        SCOPED_TRACE(name);
        const TempFolder root;
        const std::string folder = root.file(name);
        const std::string kept = root.file("kept");
        std::filesystem::create_directories(folder);
        std::ofstream(folder + "/old") << "x";
        std::ofstream(kept) << "x";
        std::string line = kMakeFolderCommand;
        const std::string placeholder = "{folder_path}";
        for (std::size_t at; (at = line.find(placeholder)) != std::string::npos;)
            line.replace(at, placeholder.size(), folder);
        const CommandResult result = runCommand(line);
        EXPECT_EQ(0, result.exitCode) << result.output;
        EXPECT_TRUE(std::filesystem::is_empty(folder));
        EXPECT_TRUE(std::filesystem::exists(kept));
    }
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix::test
