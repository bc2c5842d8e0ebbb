#include "utils/machine.h"

#include <cerrno>
#include <map>

#include "test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{
namespace
{

TEST(PciDevicesTest, vendorsAreReadAndWhatHasNoneIsLeftOut)
{
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.path("without"));
    for (const auto& [name, text] : std::map<std::string, std::string>{
             {"0000:01:00.0", "0x10de\n"},
             {"0000:02:00.0", "0x1FF4\n"},
             {"bare", "10de\n"},
             {"empty", ""},
             {"other", "0xg0de\n"}})
        folder.write(name + "/vendor", text);
    std::vector<PciDevice> devices;
    int systemError = -1;
    EXPECT_TRUE(machine_pci_devices(devices, systemError, folder.path().c_str()));
    EXPECT_EQ(0, systemError);
    std::map<std::string, int> vendors;
    for (const PciDevice& device : devices)
        vendors[device.key] = device.vendor;
    const std::map<std::string, int> expected{{"0000:01:00.0", 0x10DE}, {"0000:02:00.0", 0x1FF4}};
    EXPECT_EQ(expected, vendors);

    EXPECT_FALSE(machine_pci_devices(devices, systemError, folder.path("none").c_str()));
    EXPECT_EQ(ENOENT, systemError);
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix::test
