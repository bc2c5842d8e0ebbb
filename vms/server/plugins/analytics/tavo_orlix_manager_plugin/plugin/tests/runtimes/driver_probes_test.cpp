#include "runtimes/driver_probes.h"

#include <cstdlib>

#include <gtest/gtest.h>

#include "runtimes/chip_catalogue.h"
#include "temporary_folder.h"

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
        unsetenv("CUDA_PATH");
        setenv("PATH", (m_folder.path() + ":/usr/bin:/bin").c_str(), 1);
    }

    void TearDown() override { setenv("PATH", m_oldPath.c_str(), 1); }

    [[nodiscard]] std::string boardText() const
    {
        const auto entries = m_board.snapshot();
        const auto entry = entries.find(board_key::kNvidiaGpuSdk);
        return entry == entries.end() ? "" : entry->second.text;
    }

    const std::string m_oldPath = std::getenv("PATH");
    TemporaryFolder m_folder;
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
        const char* script;
        bool detected;
        bool fit;
        const char* driverVersion;
    } cases[] = {
        {"status fails", "exit 1", false, false, ""},
        {"information fails", "[ $1 = --status ]", true, false, ""},
        {"no version", "echo DXRT", true, false, ""},
        {"supported", "echo DXRT v3.2.0 and DXRT v1.0.0", true, true, "dxrt-v3.2.0"},
        {"unsupported", "echo DXRT v3.2.1", true, false, "3.2.1"},
        {"beyond numbers", "echo DXRT v99999999999.0.0", true, false, "99999999999.0.0"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        m_folder.writeScript("dxrt-cli", c.script);
        Chip chip;
        probeDeepxDriver(chip);
        EXPECT_EQ(c.detected, chip.detected);
        EXPECT_EQ(c.fit, chip.correctlyInstalled);
        EXPECT_EQ(c.driverVersion, chip.driverVersion);
        EXPECT_EQ(0, chip.numberOfChips);
    }
}

TEST_F(DriverProbeTest, hailoToolsTellTypeAndVersion)
{
    EXPECT_EQ(0, identifyHailoDevice());
    EXPECT_EQ("", readHailoDriverVersion());

    const struct
    {
        const char* output;
        int type;
    } types[] = {
        {"Device Architecture: HAILO8", 1},
        {"Device Architecture: HAILO8L", 2},
        {"Device Architecture: HAILO15\\nDevice Architecture: HAILO8L", 2},
        {"nothing", 0}};
    for (const auto& c : types)
    {
        m_folder.writeScript("hailortcli", std::string("printf '") + c.output + "\\n'");
        EXPECT_EQ(c.type, identifyHailoDevice()) << c.output;
    }

    m_folder.writeScript("hailortcli", "echo HailoRT-CLI version 4.18.0");
    EXPECT_EQ("4.18.0", readHailoDriverVersion());
    m_folder.writeScript(
        "hailortcli", "echo HailoRT-CLI version 4.18.0; echo HailoRT-CLI version 4.19.0");
    EXPECT_EQ("", readHailoDriverVersion());
}

TEST_F(DriverProbeTest, nvidiaTellsTheUserWhatToMend)
{
    const std::string smi = "[ $# = 0 ] || echo 2";
    const struct
    {
        const char* name;
        std::string smi;
        const char* cudaFolder; // below a folder that is or is not on PATH
        bool onPath;
        bool detected;
        bool fit;
        const char* driverVersion;
        const char* boardStart;
    } cases[] = {
        {"no driver", "exit 9", nullptr, true, false, false, "", "Something is wrong"},
        {"no toolkit", smi, nullptr, true, true, false, "", "Something is wrong"},
        {"not on PATH", smi, "v12.4", false, true, false, "", "The CUDA Toolkit path is not"},
        {"old toolkit", smi, "v10.2", true, true, false, "", ""},
        {"no version", smi, "toolkit", true, true, false, "", ""},
        {"no count", "[ $# = 0 ]", "v11.8", true, true, false, "cuda_11", "Something is wrong"},
        {"all well", smi, "v12.4", true, true, true, "cuda_12", ""},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        SetUp();
        m_folder.writeScript("nvidia-smi", c.smi);
        if (c.cudaFolder)
        {
            const std::string cuda = std::string("/opt/CUDA/") + c.cudaFolder;
            setenv("CUDA_PATH", cuda.c_str(), 1);
            if (c.onPath) // in another case, and with something behind it
                setenv(
                    "PATH",
                    (m_folder.path() + ":/usr/bin:/opt/cuda/" + c.cudaFolder + "/bin").c_str(), 1);
        }
        Chip chip;
        probeNvidiaTools(chip, m_board);
        EXPECT_EQ(c.detected, chip.detected);
        EXPECT_EQ(c.fit, chip.correctlyInstalled);
        EXPECT_EQ(c.driverVersion, chip.driverVersion);
        EXPECT_EQ(c.fit ? 2 : 0, chip.numberOfChips);
        EXPECT_TRUE(boardText().starts_with(c.boardStart)) << boardText();
        m_board.removeMessage(board_key::kNvidiaGpuSdk);
    }
}

TEST_F(DriverProbeTest, aToolkitsOwnFileTellsItsVersionWhereItsPathDoesNot)
{
    const struct
    {
        const char* folder;
        const char* file;
        const char* driverVersion;
    } cases[] = {
        {"cuda", R"({"cuda": {"version": "12.4.0"}})", "cuda_12"},
        {"cuda", R"({"cuda": {"version": 12}})", ""},
        {"cuda", R"({"cuda": {"version": "10.2"}})", ""},
        {"v11.8", R"({"cuda": {"version": "12.4.0"}})", "cuda_11"},
    };
    m_folder.writeScript("nvidia-smi", "[ $# = 0 ] || echo 2");
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.file);
        const std::string cuda = m_folder.path(c.folder);
        m_folder.write(std::string(c.folder) + "/version.json", c.file);
        setenv("CUDA_PATH", cuda.c_str(), 1);
        setenv("PATH", (m_folder.path() + ":/usr/bin:" + cuda + "/bin").c_str(), 1);
        Chip chip;
        probeNvidiaTools(chip, m_board);
        EXPECT_EQ(c.driverVersion, chip.driverVersion);
    }
    unsetenv("CUDA_PATH");
}

TEST(SupportedVersionTest, isFoundByItsNumbers)
{
    EXPECT_STREQ("2.9.5", findSupportedVersion(kDeepxSupportedVersions, "2.9.5.0"));
    EXPECT_STREQ("4.20.0", findSupportedVersion(kHailoSupportedVersions, "4.20"));
    EXPECT_STREQ("2.3.0", findSupportedVersion(kReservedSupportedVersions, "2.3"));
    EXPECT_STREQ("2.1.0", findSupportedVersion(kOtherReservedSupportedVersions, "2.1"));
    for (const char* const version : {"", "2.9", "4.16.0", "x", "99999999999"})
        EXPECT_EQ(nullptr, findSupportedVersion(kHailoSupportedVersions, version)) << version;
}

TEST(CudaVersionTest, standsInAWindowsToolkitsPathToo)
{
    EXPECT_EQ("13.0", cudaVersionInPath("C:\\CUDA\\v13.0\\bin", '\\'));
    EXPECT_EQ("", cudaVersionInPath("C:\\CUDA", '\\'));
}

} // namespace tavo::vms_server_plugins::analytics::orlix
