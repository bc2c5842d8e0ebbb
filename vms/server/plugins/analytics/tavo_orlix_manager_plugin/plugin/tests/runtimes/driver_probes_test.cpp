#include "runtimes/driver_probes.h"

#include <gtest/gtest.h>

#include "runtimes/chip_catalogue.h"
#include "temporary_folder.h"
#include "utils/paths.h"
#include "utils/tests/test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

// The tools of an accelerator's vendor, found on PATH as the real ones are.
class DriverProbeTest : public testing::Test
{
protected:
    void SetUp() override
    {
        test_support::setVariable("CUDA_PATH", "");
        test_support::setVariable("PATH", m_toolsPath);
    }

    [[nodiscard]] std::string boardText() const
    {
        return m_board.snapshot()[board_key::kNvidiaGpuSdk].text;
    }

    TemporaryFolder m_folder;
    const std::string m_toolsPath = test_support::pathWith(m_folder.path());
    const test_support::ScopedVariable m_path{"PATH", m_toolsPath};
    const test_support::ScopedVariable m_cudaPath{"CUDA_PATH", ""};
    MessageBoard m_board;
};

} // namespace

TEST(CompareVersionsTest, comparesPieceByPiece)
{
    const struct
    {
        const char* a;
        const char* b;
        int result;
    } cases[] = {{"3.0", "3.0.0", 0},    {"3.0.0", "3.0", 0},   {"3.10.0", "3.9.9", 1},
                 {"2.9.5", "3.0.0", -1}, {"3.2.1", "3.2.0", 1}, {"3", "3.0.1", -1}};
    for (const auto& c : cases)
        EXPECT_EQ(c.result, compareVersions(c.a, c.b)) << c.a << " " << c.b;
    EXPECT_THROW((void)compareVersions("a.1", "1"), std::invalid_argument);
    EXPECT_THROW((void)compareVersions("99999999999", "1"), std::out_of_range);
}

TEST_F(DriverProbeTest, deepxIsFitWithASupportedVersionOnly)
{
    const struct
    {
        const char* name;
        const char* steps;
        bool detected;
        bool fit;
        const char* driverVersion;
    } cases[] = {
        {"status fails", "exit 1", false, false, ""},
        {"information fails", "end-with-argument --status\nexit 1", true, false, ""},
        {"no version", "print DXRT", true, false, ""},
        {"supported", "print DXRT v3.2.0 and DXRT v1.0.0", true, true, "dxrt-v3.2.0"},
        {"unsupported", "print DXRT v3.2.1", true, false, "3.2.1"},
        {"beyond numbers", "print DXRT v99999999999.0.0", true, false, "99999999999.0.0"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        m_folder.writeProgram("dxrt-cli", c.steps);
        Chip chip;
        probeDeepxDriver(chip);
        EXPECT_EQ(c.detected, chip.detected);
        EXPECT_EQ(c.fit, chip.correctlyInstalled);
        EXPECT_EQ(c.driverVersion, chip.driverVersion);
        EXPECT_EQ(0, chip.numberOfChips);
    }
}

TEST_F(DriverProbeTest, hailoIsFitWithASupportedVersionOnly)
{
    const struct
    {
        int devices;
        const char* steps;
        int type;
        bool fit;
        const char* driverVersion;
    } cases[] = {
        {0, "print Device Architecture: HAILO8\nprint HailoRT-CLI version 4.18.0", 0, false, ""},
        {1,
         "print Device Architecture: HAILO15\nprint Device Architecture: HAILO8\n"
         "print HailoRT-CLI version 4.18.0",
         1, true, "4.18.0"},
        {2, "print Device Architecture: HAILO8L\nprint HailoRT-CLI version 4.16.0", 2, false,
         "4.16.0"},
        {1, "print HailoRT-CLI version 4.18.0\nprint HailoRT-CLI version 4.19.0", 0, false, ""},
        {1, "exit 1", 0, false, ""}};
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.steps);
        std::filesystem::remove_all(m_folder.path("devices"));
        for (int i = 0; i < c.devices; ++i)
            m_folder.write("devices/hailo" + std::to_string(i), "");
        m_folder.writeProgram("hailortcli", c.steps);
        Chip chip;
        probeHailoDriver(chip, m_folder.path("devices"));
        EXPECT_EQ(c.devices, chip.numberOfChips);
        EXPECT_EQ(c.devices > 0, chip.detected);
        EXPECT_EQ(c.type, chip.hailoType);
        EXPECT_EQ(c.fit, chip.correctlyInstalled);
        EXPECT_EQ(c.driverVersion, chip.driverVersion);
    }
}

TEST_F(DriverProbeTest, theLogHasTheBeginningOfWhatAToolSaid)
{
    const test::CapturedLog log;
    m_folder.write("devices/hailo0", "");
    m_folder.writeProgram(
        "hailortcli",
        "print " + std::string(4000, 'a') + "\nprint " + std::string(200, 'b') + "\nexit 1");
    Chip chip;
    probeHailoDriver(chip, m_folder.path("devices"));
    const std::string text = log.text();
    EXPECT_NE(std::string::npos, text.find(std::string(4000, 'a')));
    EXPECT_NE(std::string::npos, text.find("bbb"));
    EXPECT_EQ(std::string::npos, text.find(std::string(96, 'b')));
}

TEST_F(DriverProbeTest, nvidiaTellsTheUserWhatToMend)
{
    const std::string smi = "end-without-arguments\nprint 2";
    const std::string version12 = R"({"cuda": {"version": "12.4.0"}})";
    const struct
    {
        const char* name;
        std::string smi;
        const char* cudaFolder; // below a folder that is or is not on PATH
        std::string file; // in it
        bool onPath;
        bool detected;
        const char* driverVersion;
        const char* boardStart; // empty and a version: fit
    } cases[] = {
        {"no driver", "exit 9", nullptr, "", true, false, "", "Something is wrong"},
        {"no toolkit", smi, nullptr, "", true, true, "", "Something is wrong"},
        {"not on PATH", smi, "v12.4", "", false, true, "", "The CUDA Toolkit path is not"},
        {"old toolkit", smi, "v10.2", "", true, true, "", ""},
        {"no version", smi, "toolkit", "", true, true, "", ""},
        {"no count", "end-without-arguments\nexit 1", "v11.8", "", true, true, "cuda_11",
         "Something is wrong"},
        {"all well", smi, "v12.4", "", true, true, "cuda_12", ""},
        {"a file tells it", smi, "cuda", version12, true, true, "cuda_12", ""},
        {"a number in it", smi, "cuda", R"({"cuda": {"version": 12}})", true, true, "", ""},
        {"an old one in it", smi, "cuda", R"({"cuda": {"version": "10.2"}})", true, true, "", ""},
        {"the path tells another", smi, "v11.8", version12, true, true, "cuda_11", ""},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        SetUp();
        m_folder.writeProgram("nvidia-smi", c.smi);
        if (c.cudaFolder)
        {
            m_folder.write(std::string("CUDA/") + c.cudaFolder + "/version.json", c.file);
            const auto cuda = [&](const char* folder)
            { return path_join(m_folder.path(), folder, c.cudaFolder); };
            test_support::setVariable("CUDA_PATH", cuda("CUDA"));
            if (c.onPath) // in another case, and with something behind it
            {
                test_support::setVariable(
                    "PATH",
                    m_toolsPath + test_support::kPathListSeparator +
                        path_join(cuda("cuda"), "bin"));
            }
        }
        const bool isFit = *c.driverVersion && !*c.boardStart;
        if (isFit)
            m_board.postMessage(board_key::kNvidiaGpuSdk, "of before", MessageType::warning);
        Chip chip;
        probeNvidiaTools(chip, m_board);
        EXPECT_EQ(c.detected, chip.detected);
        EXPECT_EQ(isFit, chip.correctlyInstalled);
        EXPECT_EQ(c.driverVersion, chip.driverVersion);
        EXPECT_EQ(isFit ? 2 : 0, chip.numberOfChips);
        EXPECT_TRUE(boardText().starts_with(c.boardStart)) << boardText();
        EXPECT_EQ(*c.boardStart == '\0', boardText().empty());
        m_board.removeMessage(board_key::kNvidiaGpuSdk);
    }
}

TEST(SupportedVersionTest, isFoundByItsNumbers)
{
    EXPECT_STREQ("2.9.5", findSupportedVersion(kDeepxSupportedVersions, "2.9.5.0"));
    EXPECT_STREQ("4.20.0", findSupportedVersion(kHailoSupportedVersions, "4.20"));
    for (const char* const version : {"", "2.9", "4.16.0", "x", "99999999999"})
        EXPECT_EQ(nullptr, findSupportedVersion(kHailoSupportedVersions, version)) << version;
}

TEST(CudaVersionTest, isThatOfTheLastFolderThatLooksLikeOne)
{
    const std::pair<const char*, const char*> cases[] = {
        {"C:\\CUDA\\v13.0\\bin", "13.0"},
        {"C:\\CUDA", ""},
        {"/var/lib/cuda/v9.4", "9.4"},
        {"/opt/v1/cuda/v0.4/", "0.4"},
        {"/opt/cuda/v12.4/x64/v", "12.4"},
        {"/var/vault/cuda", ""},
        {"", ""},
    };
    for (const auto& [path, version] : cases)
        EXPECT_EQ(version, cudaVersionInPath(path)) << path;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
