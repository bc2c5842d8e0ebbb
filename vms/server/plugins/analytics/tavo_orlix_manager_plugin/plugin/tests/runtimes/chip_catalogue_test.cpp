#include "runtimes/chip_catalogue.h"

#include <gtest/gtest.h>

#include "base/ini.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

const MachineInfo kUbuntu("Ubuntu", "22.04", CpuArchitecture::X86_64);
const MachineInfo kDebian("Debian", "12", CpuArchitecture::X86_64);
const MachineInfo kWindows("Windows", "10.0.19045", CpuArchitecture::X86_64);
const MachineInfo kArmWindows("Windows", "10.0.26100", CpuArchitecture::Aarch64);
const MachineInfo kArmUbuntu("Ubuntu", "22.04", CpuArchitecture::Aarch64);
const std::string kBuiltInBase =
    "https://storage.tavo.example/artifactory/orlix_open/KEVX/runtimes/1.1.0/";

} // namespace

TEST(DownloadLinkTest, leavesOutWhatIsEmpty)
{
    const struct
    {
        const char* chip;
        const char* os;
        const char* osVersion;
        const char* driver;
        const char* tail;
    } cases[] = {
        {"CPU", "Windows", "", "", "CPU/x86_64/Windows/library.tar.gz"},
        {"NVIDIA", "Windows", "", "cuda_12", "NVIDIA/x86_64/Windows/library-cuda_12.tar.gz"},
        {"AXELERA", "Ubuntu", "22.04", "1.0", "AXELERA/x86_64/Ubuntu/22.04/library-1.0.tar.gz"},
        {"{cpu_arch}", "{chip_name}", "", "", "x86_64/x86_64/{chip_name}/library.tar.gz"},
    };
    for (const auto& c : cases)
    {
        EXPECT_EQ(
            kBuiltInBase + c.tail,
            buildDownloadLink(c.chip, CpuArchitecture::X86_64, c.os, c.osVersion, c.driver));
    }
}

TEST(DownloadLinkTest, aConfiguredStorageReplacesTheWholeBase)
{
    for (const char* const storage : {"http://store.test/rt", "http://store.test/rt/"})
    {
        ini().RuntimesStorageURL = storage;
        EXPECT_EQ(
            "http://store.test/rt/CPU/x86_64/Debian/library.tar.gz",
            buildDownloadLink("CPU", CpuArchitecture::X86_64, "Debian", "", ""));
    }
    ini().RuntimesStorageURL = "";
}

TEST(ChipCatalogueTest, offersWhatNeedsNoDriver)
{
    for (const auto& machine : {kUbuntu, kDebian, kWindows})
    {
        EXPECT_EQ(std::vector<std::string>{"Generic CPU"}, detectCpu(machine)->listRuntimes(""));
        EXPECT_EQ(std::vector<std::string>{"Intel"}, detectIntel(machine)->listRuntimes(""));
        for (const auto& chip :
             {detectMemryx(machine), detectAxelera(machine), detectSima(machine),
              detectEdgeCortix(machine), detectQualcomm(machine), detectAmbarella(machine)})
        {
            EXPECT_TRUE(chip->runtimes.empty());
            EXPECT_FALSE(chip->detected);
        }
    }
    EXPECT_EQ(1u, detectCpu(kArmWindows)->runtimes.size());
    EXPECT_TRUE(detectIntel(kArmWindows)->runtimes.empty());
    EXPECT_EQ("", detectQualcomm(kUbuntu)->chipName);
    for (const auto& [enabled, name] : {std::pair(false, ""), std::pair(true, "AMBARELLA")})
    {
        ini().enableAmbarellaIntegration = enabled;
        EXPECT_EQ(name, detectAmbarella(kArmWindows)->chipName);
    }
    ini().enableAmbarellaIntegration = false;
}

// Of records that a probe has filled, as those of families without one stay empty.
TEST(ChipCatalogueTest, aFamilyOffersItsRuntimeToMachinesThatRunIt)
{
    using Detect = std::unique_ptr<Chip> (*)(const MachineInfo&);
    using File = void (*)(Chip&, const MachineInfo&);
    const std::pair<Detect, File> memryx(detectMemryx, fileMemryxRuntime);
    const std::pair<Detect, File> deepx(detectDeepx, fileDeepxRuntime);
    const std::pair<Detect, File> axelera(detectAxelera, fileAxeleraRuntime);
    const std::pair<Detect, File> sima(detectSima, fileSimaRuntime);
    const std::pair<Detect, File> edgeCortix(detectEdgeCortix, fileEdgeCortixRuntime);
    const struct
    {
        const char* runtime;
        std::pair<Detect, File> family;
        MachineInfo machine;
        const char* mimeType; // null: not offered
        const char* tail;
    } cases[] = {
        {"MemryX", memryx, kDebian, "application/zip; device=memryx",
         "MEMRYX/x86_64/Debian/library-1.2.tar.gz"},
        {"MemryX", memryx, kArmWindows, "application/zip; device=memryx",
         "MEMRYX/aarch64/Windows/library-1.2.tar.gz"},
        {"DEEPX", deepx, kDebian, "application/x-dxnn",
         "DEEPX/x86_64/Debian/12/library-1.2.tar.gz"},
        {"DEEPX", deepx, kWindows, "application/x-dxnn", "DEEPX/x86_64/Windows/library-1.2.tar.gz"},
        {"Axelera", axelera, kUbuntu, "application/x-axelera",
         "AXELERA/x86_64/Ubuntu/22.04/library-1.2.tar.gz"},
        {"Axelera", axelera, kDebian, nullptr, ""},
        {"Axelera", axelera, {"Ubuntu", "24.04", CpuArchitecture::X86_64}, nullptr, ""},
        {"Axelera", axelera, kArmUbuntu, nullptr, ""},
        {"SiMa", sima, kDebian, "application/x-sima", "SIMA/x86_64/Debian/library-1.2.tar.gz"},
        {"SiMa", sima, kArmUbuntu, nullptr, ""},
        {"EdgeCortix", edgeCortix, kDebian, "application/zip; device=edge-cortix",
         "EDGE CORTIX/x86_64/Debian/12/library-1.2.tar.gz"},
        {"EdgeCortix", edgeCortix, kArmUbuntu, "application/zip; device=edge-cortix",
         "EDGE CORTIX/aarch64/Ubuntu/22.04/library-1.2.tar.gz"},
        {"EdgeCortix", edgeCortix, kArmWindows, nullptr, ""},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(std::string(c.runtime) + " on " + c.machine.getOsName());
        const auto chip = c.family.first(c.machine);
        chip->driverVersion = "1.2";
        chip->correctlyInstalled = true;
        c.family.second(*chip, c.machine);
        ASSERT_EQ(c.mimeType ? 1u : 0u, chip->runtimes.size());
        if (!c.mimeType)
            continue;
        EXPECT_EQ(c.mimeType, chip->getFirstMimeType(c.runtime));
        EXPECT_EQ(kBuiltInBase + c.tail, chip->getDownloadLink(c.runtime));
    }
}

TEST(ChipCatalogueTest, aHailoDevicesTypeChoosesTheModelsItRuns)
{
    const struct
    {
        int type;
        bool fit;
        const char* mimeType; // null: not offered
    } cases[] = {
        {1, true, "application/x-hailo8"},
        {2, true, "application/x-hailo8l"},
        {0, true, nullptr},
        {1, false, nullptr}};
    for (const auto& c : cases)
    {
        HailoChip chip;
        chip.chipName = "HAILO";
        chip.cpuArchitecture = CpuArchitecture::X86_64;
        chip.driverVersion = "4.18.0";
        chip.correctlyInstalled = c.fit;
        chip.hailoType = c.type;
        fileHailoRuntime(chip, kUbuntu);
        ASSERT_EQ(c.mimeType ? 1u : 0u, chip.runtimes.size());
        if (!c.mimeType)
            continue;
        EXPECT_EQ(c.mimeType, chip.getFirstMimeType("Hailo"));
        EXPECT_EQ(
            kBuiltInBase + "HAILO/x86_64/Ubuntu/library-4.18.0.tar.gz",
            chip.getDownloadLink("Hailo"));
    }
}

TEST(ChipFamiliesTest, areDetectedInOneOrderAndToldInAnother)
{
    ini().enableAmbarellaIntegration = true;
    MessageBoard board;
    std::vector<std::string> detected;
    std::map<int, std::string> told;
    for (const ChipFamily& family : chipFamilies())
    {
        detected.push_back(family.detect(kArmWindows, board).chipName);
        told[family.printPlace] = detected.back();
    }
    ini().enableAmbarellaIntegration = false;
    EXPECT_EQ(
        (std::vector<std::string>{
            "CPU", "HAILO", "NVIDIA", "", "MEMRYX", "DEEPX", "AXELERA", "SIMA", "INTEL",
            "EDGE CORTIX", "AMBARELLA"}),
        detected);
    EXPECT_EQ(
        (std::map<int, std::string>{
            {0, "CPU"},
            {1, "HAILO"},
            {2, "NVIDIA"},
            {3, ""},
            {4, "MEMRYX"},
            {5, "DEEPX"},
            {6, "SIMA"},
            {7, "INTEL"},
            {8, "AXELERA"},
            {9, "EDGE CORTIX"},
            {10, "AMBARELLA"}}),
        told);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
