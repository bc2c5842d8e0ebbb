#include "utils/posix/keeper_file.h"

#include <filesystem>
#include <sys/stat.h>

#include <testing/scoped_variable.h>

#include "../test_support.h"
#include "utils/posix/keeper_image.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{

TEST(KeeperFileTest, canBeRunAndHasNoNameWhereverItLies)
{
    const TemporaryFolder folder;
    const test_support::ScopedVariable temporary("TMPDIR", folder.path("t"));
    for (const char* const place : {"t", "p"})
        std::filesystem::create_directory(folder.path(place));
    const struct
    {
        int attempt;
        std::string program;
        std::string begin; // of what the system calls it
        mode_t mode;
    } cases[] = {
        {0, folder.path("p/program"), "/memfd:", 0777},
        {1, folder.path("p/program"), folder.path("p/."), 0500},
        {1, "program", folder.path("t/."), 0500},
        {2, folder.path("p/program"), folder.path("t/."), 0500}};
    for (const auto& c : cases)
    {
        const UniqueDescriptor file = openKeeper(c.attempt, c.program);
        ASSERT_LE(10, file.get());
        struct stat status = {};
        ASSERT_EQ(0, fstat(file.get(), &status));
        EXPECT_EQ(std::size(kKeeperImage), static_cast<std::size_t>(status.st_size));
        EXPECT_EQ(c.mode, status.st_mode & 0777);
        const std::string name =
            std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(file.get()));
        EXPECT_TRUE(name.starts_with(c.begin) && name.ends_with(" (deleted)")) << name;
    }
    EXPECT_FALSE(openKeeper(1, folder.path("none/program")));
}

} // namespace tavo::vms_server_plugins::analytics::orlix::test
