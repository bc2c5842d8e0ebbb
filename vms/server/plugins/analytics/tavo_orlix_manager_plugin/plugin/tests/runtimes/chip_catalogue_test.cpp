#include "runtimes/chip_catalogue.h"

#include <vector>

#include <gtest/gtest.h>

#include "base/ini.h"
#include "utils/tests/test_support.h"

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

const ChipFamily& familyOf(std::string_view runtimeName)
{
    for (const ChipFamily& family : chipFamilies())
    {
        if (runtimeName == family.runtimeName)
            return family;
    }
    throw std::logic_error("no such family");
}

// As on a machine whose hardware and driver are what `probe` says.
Chip detect(
    std::string_view runtimeName, const MachineInfo& machine, decltype(ChipFamily::probe) probe)
{
    ChipFamily family = familyOf(runtimeName);
    family.probe = probe;
    MessageBoard board;
    return detectChip(family, machine, board);
}

} // namespace

TEST(DownloadLinkTest, leavesOutWhatIsEmptyAndAStorageReplacesTheWholeBase)
{
    const std::string storage = "http://store.test/rt";
    for (const std::string& configured : {std::string(), storage, storage + "/"})
    {
        ini().RuntimesStorageURL = configured.c_str();
        EXPECT_EQ(
            (configured.empty() ? kBuiltInBase : storage + "/") +
                "x86_64/x86_64/{chip_name}/library.tar.gz",
            buildDownloadLink("{cpu_arch}", CpuArchitecture::X86_64, "{chip_name}", "", ""));
    }
    ini().RuntimesStorageURL = "";
}

TEST(ChipCatalogueTest, aFamilyOffersItsRuntimeToMachinesThatRunIt)
{
    const MachineInfo armServer("Ubuntu", "24.04", CpuArchitecture::Aarch64Server);
    const struct
    {
        const char* runtime;
        MachineInfo machine;
        const char* mimeType; // null: not offered
        const char* tail;
        int hailoType = 0; // which of its models it runs
        bool isFit = true;
    } cases[] = {
        {"Generic CPU", kArmWindows, "application/x-onnx",
         "CPU/aarch64/Windows/library-1.2.tar.gz"},
        {"Intel", kArmWindows, nullptr, ""},
        {"NVIDIA", kDebian, "application/x-onnx", "NVIDIA/x86_64/Debian/library-1.2.tar.gz"},
        {"NVIDIA", armServer, nullptr, ""},
        {"MemryX", kDebian, "application/zip; device=memryx",
         "MEMRYX/x86_64/Debian/library-1.2.tar.gz"},
        {"MemryX", kArmWindows, "application/zip; device=memryx",
         "MEMRYX/aarch64/Windows/library-1.2.tar.gz"},
        {"MemryX", armServer, nullptr, ""},
        {"DEEPX", kDebian, "application/x-dxnn", "DEEPX/x86_64/Debian/12/library-1.2.tar.gz"},
        {"DEEPX", kWindows, "application/x-dxnn", "DEEPX/x86_64/Windows/library-1.2.tar.gz"},
        {"DEEPX", armServer, nullptr, ""},
        {"Axelera", kUbuntu, "application/x-axelera",
         "AXELERA/x86_64/Ubuntu/22.04/library-1.2.tar.gz"},
        {"Axelera", kDebian, nullptr, ""},
        {"Axelera", {"Ubuntu", "24.04", CpuArchitecture::X86_64}, nullptr, ""},
        {"Axelera", kArmUbuntu, nullptr, ""},
        {"SiMa", kDebian, "application/x-sima", "SIMA/x86_64/Debian/library-1.2.tar.gz"},
        {"SiMa", kArmUbuntu, nullptr, ""},
        {"EdgeCortix", kDebian, "application/zip; device=edge-cortix",
         "EDGE CORTIX/x86_64/Debian/12/library-1.2.tar.gz"},
        {"EdgeCortix", kArmUbuntu, "application/zip; device=edge-cortix",
         "EDGE CORTIX/aarch64/Ubuntu/22.04/library-1.2.tar.gz"},
        {"EdgeCortix",
         {"ubuntu", "24.04", CpuArchitecture::Aarch64},
         "application/zip; device=edge-cortix",
         "EDGE CORTIX/aarch64/ubuntu/24.04/library-1.2.tar.gz"},
        {"EdgeCortix", kArmWindows, nullptr, ""},
        {"EdgeCortix", armServer, nullptr, ""},
        {"Hailo", kUbuntu, "application/x-hailo8", "HAILO/x86_64/Ubuntu/library-1.2.tar.gz", 1},
        {"Hailo", kArmUbuntu, "application/x-hailo8l", "HAILO/aarch64/Ubuntu/library-1.2.tar.gz",
         2},
        {"Hailo", kUbuntu, nullptr, "", 0},
        {"Hailo", kUbuntu, nullptr, "", 1, false},
        {"Hailo", armServer, nullptr, "", 1},
    };
    static int hailoType;
    static bool isFit;
    for (const auto& c : cases)
    {
        SCOPED_TRACE(std::string(c.runtime) + " on " + c.machine.getOsName());
        hailoType = c.hailoType;
        isFit = c.isFit;
        const Chip chip = detect(
            c.runtime, c.machine,
            [](Chip& record, const MachineInfo&, MessageBoard&)
            {
                record.driverVersion = "1.2";
                record.hailoType = hailoType;
                record.correctlyInstalled = isFit;
            });
        ASSERT_EQ(c.mimeType ? 1u : 0u, chip.runtimes.size());
        if (!c.mimeType)
        {
            EXPECT_EQ("", chip.getFirstMimeType(c.runtime));
            EXPECT_EQ("", chip.getDownloadLink(c.runtime));
            continue;
        }
        EXPECT_EQ(c.mimeType, chip.getFirstMimeType(c.runtime));
        EXPECT_EQ(kBuiltInBase + c.tail, chip.getDownloadLink(c.runtime));
    }
}

TEST(MachineInfoTest, onlyWhatRunsNativelyHasAnArchitecture)
{
    EXPECT_EQ(CpuArchitecture::X86_64, nativeArchitectureOf(ProcessorKind::x86_64));
    EXPECT_EQ(CpuArchitecture::Aarch64, nativeArchitectureOf(ProcessorKind::arm64));
    EXPECT_EQ(CpuArchitecture::Unknown, nativeArchitectureOf(ProcessorKind::x86));
    EXPECT_EQ(CpuArchitecture::Unknown, nativeArchitectureOf(ProcessorKind::other));
    EXPECT_STREQ("UNKNOWN", architectureText(CpuArchitecture::Unknown));
}

TEST(ChipFamiliesTest, areDetectedInOneOrderAndToldInAnother)
{
    const test::CapturedLog log;
    for (const bool enabled : {false, true})
    {
        ini().enableAmbarellaIntegration = enabled;
        const char* const ambarella = enabled ? "AMBARELLA" : "";
        MessageBoard board;
        std::vector<std::string> detected;
        std::vector<std::string> told(chipFamilies().size(), "nobody");
        for (const ChipFamily& family : chipFamilies())
        {
            detected.push_back(detectChip(family, kArmWindows, board).chipName);
            told.at(static_cast<std::size_t>(family.printPlace)) = detected.back();
        }
        EXPECT_EQ(
            (std::vector<std::string>{
                "CPU", "HAILO", "NVIDIA", "", "MEMRYX", "DEEPX", "AXELERA", "SIMA", "INTEL",
                "EDGE CORTIX", ambarella}),
            detected);
        EXPECT_EQ(
            (std::vector<std::string>{
                "CPU", "HAILO", "NVIDIA", "", "MEMRYX", "DEEPX", "SIMA", "INTEL", "AXELERA",
                "EDGE CORTIX", ambarella}),
            told);
    }
    ini().enableAmbarellaIntegration = false;
    EXPECT_EQ(std::string::npos, log.text().find("only supported on aarch64"));
    MessageBoard board;
    ini().enableAmbarellaIntegration = true;
    EXPECT_TRUE(detectChip(chipFamilies().front(), kUbuntu, board).detected);
    EXPECT_TRUE(detectChip(chipFamilies().back(), kUbuntu, board).runtimes.empty());
    ini().enableAmbarellaIntegration = false;
    EXPECT_TRUE(log.text().ends_with(
        "Ambarella runtime is only supported on aarch64. Current CPU architecture: x86_64\n"));
}

} // namespace tavo::vms_server_plugins::analytics::orlix
