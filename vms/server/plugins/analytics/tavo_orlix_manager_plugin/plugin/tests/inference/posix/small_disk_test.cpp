#include "posix/small_disk.h"

#include "encrypted_model.h"
#include "manager_fixture.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

using SmallDiskForCopies = test::ManagerFixture;

TEST_F(SmallDiskForCopies, isNotTakenForACorruptedModel)
{
    const std::string key(32, 'k');
    folder.write("m", test::encryptedModel(std::string(300'000, 'w'), key));
    folder.write("m.key", key);
    const std::string copy = folder.path("tmp/m.run");
    const AssignedModels models = {
        {"m", {"m", "Net", "", folder.path("m"), folder.path("m.key"), copy, true}}};
    const std::pair<const char*, std::string> cases[] = {
        {"size=64k", "There is no room left on the disk of " + copy + "."},
        {"ro", "The disk of " + copy + " is read-only."},
    };
    for (const auto& [options, why] : cases)
    {
        const SmallDisk disk(folder.path("tmp"), options);
        if (!disk.isThere())
            GTEST_SKIP() << kNoSmallDisk;
        manager.start(models, folder.path("orlix_plugin.sock"));
        EXPECT_EQ(
            "Failed to decrypt model Net (m) for Orlix Manager. File could be corrupted. " + why,
            onBoard(board_key::kCouldNotStart));
        EXPECT_TRUE(logHas(why));
    }
}

} // namespace tavo::vms_server_plugins::analytics::orlix
