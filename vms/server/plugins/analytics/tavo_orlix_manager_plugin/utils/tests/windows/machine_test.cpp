#include "utils/machine.h"

#include <map>

#include <windows.h>

#include <testing/platform.h>

#include "test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{
namespace
{

// A key of the registry for as long as it lives. Blank for a user who may not make one.
class RegistryKey
{
public:
    RegistryKey() { m_isThere = makeBelow(""); }
    ~RegistryKey() { RegDeleteTreeA(HKEY_LOCAL_MACHINE, m_path.c_str()); }
    RegistryKey(const RegistryKey&) = delete;
    RegistryKey& operator=(const RegistryKey&) = delete;

    [[nodiscard]] explicit operator bool() const { return m_isThere; }
    [[nodiscard]] const std::string& path() const { return m_path; }

    bool makeBelow(const std::string& name) const
    {
        HKEY key = nullptr;
        const bool isMade =
            RegCreateKeyA(HKEY_LOCAL_MACHINE, (m_path + "\\" + name).c_str(), &key) ==
            ERROR_SUCCESS;
        RegCloseKey(key);
        return isMade;
    }

private:
    const std::string m_path = "SOFTWARE\\" + uniqueName("pci");
    bool m_isThere;
};

TEST(PciDevicesTest, vendorsAreReadAndWhatHasNoneIsLeftOut)
{
    const RegistryKey root;
    if (!root)
        GTEST_SKIP() << "this user may not write to the machine's part of the registry";
    for (const char* const name :
         {"VEN_10DE&DEV_2204&SUBSYS_38801462&REV_A1", "ven_1ff4&dev_0000", "VEN_10D", "VEN_10DG",
          "DEV_2204&VEN_10DE", "VEN_"})
    {
        EXPECT_TRUE(root.makeBelow(name));
    }
    std::vector<PciDevice> devices;
    int systemError = -1;
    const auto before = test_support::openHandles();
    EXPECT_TRUE(machine_pci_devices(devices, systemError, root.path().c_str()));
    EXPECT_EQ(before, test_support::openHandles());
    EXPECT_EQ(0, systemError);
    std::map<std::string, int> vendors;
    for (const PciDevice& device : devices)
        vendors[device.key] = device.vendor;
    const std::map<std::string, int> expected{
        {"VEN_10DE&DEV_2204&SUBSYS_38801462&REV_A1", 0x10DE}, {"ven_1ff4&dev_0000", 0x1FF4}};
    EXPECT_EQ(expected, vendors);

    EXPECT_FALSE(machine_pci_devices(devices, systemError, (root.path() + "\\none").c_str()));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, systemError);
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix::test
