#include "utils/machine.h"

#include <algorithm>

#include "test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{
namespace
{

TEST(OsReleaseTest, nameIsOneWordAndVersionAsGiven)
{
    const struct
    {
        const char* text;
        const char* name;
        const char* version;
    } cases[] = {
        {"PRETTY_NAME=\"x\"\nNAME=\"Ubuntu\"\nVERSION_ID=\"22.04\"\n", "Ubuntu", "22.04"},
        {"NAME=\"Debian GNU/Linux\"\nVERSION=\"12 (bookworm)\"\nVERSION_ID=\"12\"", "Debian", "12"},
        {"VERSION_ID=3.19.0\nNAME='Alpine Linux'\n", "Alpine", "3.19.0"},
        {"NAME=\"A\\\"B\"\n", "A\"B", "Unknown"},
        {"NAME=\n\nVERSION_ID=\"\"\nNAME2=x\n", "Unknown", "Unknown"},
        {"", "Unknown", "Unknown"},
    };
    for (const auto& c : cases)
    {
        const OsRelease release = parse_os_release(c.text);
        EXPECT_EQ(c.name, release.name) << c.text;
        EXPECT_EQ(c.version, release.version) << c.text;
    }
}

TEST(MachineTest, theSystemAgreesWithItself)
{
    EXPECT_NE("", machine_os_name());
    EXPECT_EQ(std::string::npos, machine_os_name().find(' '));
    std::ifstream cpuInfo("/proc/cpuinfo");
    const std::string text(std::istreambuf_iterator<char>(cpuInfo), {});
    EXPECT_EQ(text.find(" avx2 ") != std::string::npos, machine_has_avx2());
#if defined(__x86_64__)
    EXPECT_EQ(ProcessorKind::x86_64, machine_processor_kind());
#endif
}

TEST(MachineTest, librariesAreFoundWithAndWithoutTheirVersion)
{
    EXPECT_TRUE(machine_has_library("libc.so.6"));
    EXPECT_TRUE(machine_has_library("libstdc++.so"));
    EXPECT_FALSE(machine_has_library("libnone_of_this_name.so"));
}

TEST(MachineTest, pciDevicesHaveTheirVendors)
{
    const TempFolder root;
    for (const auto& [device, vendor] :
         {std::pair("0000:00:02.0", "0x8086\n"), std::pair("0000:01:00.0", "0x10de\n"),
          std::pair("0000:02:00.0", "unclear"), std::pair("0000:03:00.0", "")})
    {
        std::filesystem::create_directory(root.file(device));
        std::ofstream(root.file(std::string(device) + "/vendor")) << vendor;
    }
    std::filesystem::create_directory(root.file("0000:04:00.0"));
    std::vector<PciDevice> devices;
    int error = -1;
    ASSERT_TRUE(machine_pci_devices(devices, error, root.file("").c_str()));
    EXPECT_EQ(0, error);
    std::sort(
        devices.begin(), devices.end(),
        [](const PciDevice& a, const PciDevice& b) { return a.key < b.key; });
    ASSERT_EQ(2u, devices.size());
    EXPECT_EQ("0000:00:02.0", devices[0].key);
    EXPECT_EQ(0x8086, devices[0].vendor);
    EXPECT_EQ(0x10de, devices[1].vendor);

    devices.clear();
    EXPECT_FALSE(machine_pci_devices(devices, error, root.file("none").c_str()));
    EXPECT_EQ(ENOENT, error);
    EXPECT_TRUE(devices.empty());
}

TEST(ListFilesTest, foldersAreLeftOutAndLinksToThemAreNot)
{
    const TempFolder folder;
    std::filesystem::create_directory(folder.file("folder"));
    std::filesystem::create_directory_symlink(folder.file("folder"), folder.file("hailo0"));
    std::ofstream(folder.file("file")) << "x";
    std::vector<std::string> names = list_files(folder.file(""));
    std::sort(names.begin(), names.end());
    EXPECT_EQ((std::vector<std::string>{"file", "hailo0"}), names);
    EXPECT_TRUE(list_files(folder.file("none")).empty());
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix::test
