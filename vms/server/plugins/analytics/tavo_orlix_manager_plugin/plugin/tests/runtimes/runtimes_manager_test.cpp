#include "storage_fixtures.h"

#include <algorithm>
#include <filesystem>

#include <gmock/gmock.h>

#include "incompressible.h"
#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

TEST_F(RuntimesManagerTest, offersTheProcessorAndTheAccelerator)
{
    std::vector<std::string> onnx = {kCpu};
    if (readMachineInfo().getCpuArchitecture() == CpuArchitecture::X86_64)
        onnx.emplace_back("Intel"); // the same processor once more
    std::vector<std::string> all = onnx;
    all.insert(all.begin(), kDeepx);
    EXPECT_EQ(all, m_manager.getCompatibleRuntimes(""));
    EXPECT_EQ(onnx, m_manager.getCompatibleRuntimes("application/x-onnx"));
    EXPECT_EQ(
        std::vector<std::string>{kDeepx}, m_manager.getCompatibleRuntimes("application/x-dxnn"));
    EXPECT_EQ("application/x-onnx", m_manager.getMimeType(kCpu));
    EXPECT_EQ("application/x-dxnn", m_manager.getMimeType(kDeepx));
    EXPECT_EQ("", m_manager.getMimeType("NVIDIA"));
    EXPECT_EQ("", m_manager.getMimeType(""));
    EXPECT_EQ(RuntimeStatus::notSelected, m_manager.status());
    EXPECT_TRUE(m_manager.getCompatibleRuntimes("application/x-none").empty());
    EXPECT_EQ(RuntimeStatus::noneCompatible, m_manager.status());
}

TEST_F(RuntimesManagerTest, installsAndUninstalls)
{
    EXPECT_FALSE(m_manager.isRuntimeInstalled());
    m_meanwhile = [this] { EXPECT_EQ(RuntimeStatus::installing, m_manager.status()); };
    m_manager.install(kCpu, m_board, /*useSubfolder*/ false);
    EXPECT_EQ(RuntimeStatus::installed, m_manager.status());
    EXPECT_EQ("CPU", m_requested);
    EXPECT_FALSE(m_manager.isRuntimeInstalled()) << "the name is part of being installed";
    m_manager.clearRuntimeChanged();
    m_manager.saveInstalledRuntimeName(kCpu);
    EXPECT_TRUE(m_manager.runtimeChanged());
    EXPECT_TRUE(m_manager.isRuntimeInstalled());
    EXPECT_EQ(kCpu, m_folder.read("bin/installed_runtime.txt"));
    EXPECT_FALSE(m_folder.has("bin/Generic CPU.tar.gz"));
    EXPECT_EQ("", told());

    RuntimesManager afterRestart(m_folder.path("bin"));
    EXPECT_TRUE(afterRestart.isRuntimeInstalled());
    EXPECT_EQ(kCpu, afterRestart.getInstalledRuntimeName());
    EXPECT_EQ("", afterRestart.getMimeType(kCpu)) << "nothing is offered before the detection";

    m_manager.uninstall();
    EXPECT_EQ(RuntimeStatus::notSelected, m_manager.status());
    EXPECT_FALSE(m_manager.isRuntimeInstalled());
    EXPECT_EQ(kCpu, m_manager.getInstalledRuntimeName());
    EXPECT_FALSE(m_folder.has("bin/installed_runtime.txt"));
    EXPECT_TRUE(m_folder.has("bin/other.txt"));
    EXPECT_EQ(1, m_requests);

    for (const std::string& half :
         {"bin/" + std::string(kRuntimeLibrary), std::string("bin/installed_runtime.txt")})
    {
        m_folder.write(half + "/in the way", "");
        EXPECT_FALSE(m_manager.uninstall()) << half;
        std::filesystem::remove_all(m_folder.path(half));
    }
    m_folder.write("bin/installed_runtime.txt", std::string(300, 'x'));
    EXPECT_EQ(
        std::string(255, 'x'), RuntimesManager(m_folder.path("bin")).getInstalledRuntimeName());
}

TEST_F(RuntimesManagerTest, thatNoneIsInstalledIsNotWrittenEachTimeItIsAsked)
{
    log_init(m_folder.path("log"), m_folder.path("main.log"), "", false, /*file*/ true, 1);
    EXPECT_EQ("", m_manager.getInstalledRuntimeName());
    EXPECT_EQ("", m_manager.getInstalledRuntimeName());
    log_close();
    const std::string log = m_folder.read("log");
    EXPECT_TRUE(log.ends_with(": Warning: There is no installed runtime on this machine.\n"));
    EXPECT_EQ(1, std::ranges::count(log, '\n'));
}

TEST_F(RuntimesManagerTest, keepsPackagesWhereTheIniFileSaysSo)
{
    ini().cacheRuntimeArchives = true;
    for (int i = 0; i < 2; ++i)
    {
        m_manager.install(kDeepx, m_board, false);
        EXPECT_EQ(RuntimeStatus::installed, m_manager.status());
        m_manager.uninstall();
    }
    EXPECT_TRUE(m_folder.has("bin/DEEPX.tar.gz"));
    EXPECT_EQ(1, m_requests);
    EXPECT_EQ("DEEPX", m_requested);
    EXPECT_EQ(1u, m_board.snapshot().count("RUNTIME_DOCUMENTATION_DEEPX"));
}

TEST_F(RuntimesManagerTest, failuresAreToldAndTheNextInstallationTakesThemBack)
{
    m_archive = "no package";
    m_manager.install(kCpu, m_board, false);
    EXPECT_EQ(RuntimeStatus::installFailed, m_manager.status());
    EXPECT_THAT(
        told(), testing::StartsWith(m_unpackingFailed + "The archive is damaged or was cut: "));
    EXPECT_FALSE(m_folder.has("bin/Generic CPU.tar.gz"));

    m_folder.write("package/other.txt", "");
    pack("package", "other.txt");
    m_manager.install(kCpu, m_board, false);
    EXPECT_EQ(
        m_unpackingFailed + "The package does not contain " + std::string(kRuntimeLibrary) + ".",
        told());
    EXPECT_FALSE(m_folder.has("bin/Generic CPU.tar.gz"));

    m_status = 503;
    m_manager.install(kCpu, m_board, false);
    EXPECT_EQ(RuntimeStatus::installFailed, m_manager.status());
    EXPECT_THAT(told(), testing::StartsWith(m_downloadFailed + "The server of "));
    EXPECT_THAT(told(), testing::EndsWith(" answered with status 503."));

    m_status = 200;
    pack("package", ".");
    ini().cacheRuntimeArchives = true;
    m_folder.write("elsewhere.tar.gz", m_archive);
    for (const char* const none : {"NVIDIA", "../elsewhere"}) // of a dialog; offered by nobody
    {
        m_manager.setStatus(RuntimeStatus::waitingForChoice);
        m_manager.install(none, m_board, false);
        EXPECT_EQ(RuntimeStatus::installFailed, m_manager.status());
        EXPECT_FALSE(m_folder.has(std::string("bin/") + kRuntimeLibrary));
    }
    EXPECT_TRUE(m_folder.has("elsewhere.tar.gz"));
    EXPECT_EQ(3, m_requests);
    m_manager.install(kCpu, m_board, false);
    EXPECT_THAT(told(), testing::Not(testing::HasSubstr("FAILED")));
}

TEST_F(RuntimesManagerTest, ofACutPackageNothingStays)
{
    const std::string library = incompressible(300'000);
    m_folder.write(std::string("package/") + kRuntimeLibrary, library);
    m_folder.write("package/lib/new.so", "new");
    pack("package", std::string("lib ") + kRuntimeLibrary);
    const std::string whole = m_archive;
    const std::string libraryInBin = std::string("bin/") + kRuntimeLibrary;
    m_folder.write(libraryInBin, "old");
    m_folder.write("bin/lib/old.so", "old");
    m_folder.write("bin/runtime.unpacking/content/stale.txt", "of a process that died");
    ini().cacheRuntimeArchives = true;
    for (const std::string& package : {whole.substr(0, whole.size() / 2), std::string()})
    {
        m_archive = package;
        m_manager.install(kCpu, m_board, false);
        EXPECT_EQ(RuntimeStatus::installFailed, m_manager.status());
        EXPECT_TRUE(m_manager.installedNameStays());
        EXPECT_EQ("old", m_folder.read(libraryInBin));
        for (const char* const gone :
             {"bin/lib/new.so", "bin/Generic CPU.tar.gz", "bin/runtime.unpacking"})
            EXPECT_FALSE(m_folder.has(gone)) << gone;
    }
    m_status = 503; // a name beside the library of another package would make it count
    m_manager.install(kCpu, m_board, false);
    EXPECT_TRUE(m_manager.installedNameStays());
    std::filesystem::remove(m_folder.path(libraryInBin));
    m_manager.install(kCpu, m_board, false);
    EXPECT_FALSE(m_manager.installedNameStays());

    m_status = 200;
    m_archive = whole;
    m_manager.install(kCpu, m_board, false);
    EXPECT_EQ(RuntimeStatus::installed, m_manager.status());
    EXPECT_FALSE(m_manager.installedNameStays());
    EXPECT_EQ(library, m_folder.read(libraryInBin));
    EXPECT_EQ("new", m_folder.read("bin/lib/new.so"));
    for (const char* const kept : {"bin/lib/old.so", "bin/other.txt", "bin/Generic CPU.tar.gz"})
        EXPECT_TRUE(m_folder.has(kept)) << kept;
    EXPECT_FALSE(m_folder.has("bin/runtime.unpacking"));
    EXPECT_FALSE(m_folder.has("bin/stale.txt"));
}

TEST_F(RuntimesManagerTest, aSubfolderIsMadeAnew)
{
    m_folder.write("bin/Generic CPU/stale.txt", "");
    m_manager.install(kCpu, m_board, /*useSubfolder*/ true);
    EXPECT_EQ(RuntimeStatus::installed, m_manager.status());
    EXPECT_FALSE(m_folder.has("bin/Generic CPU/stale.txt"));
    m_manager.saveInstalledRuntimeName(kCpu);
    EXPECT_TRUE(m_manager.isRuntimeInstalled());
}

} // namespace tavo::vms_server_plugins::analytics::orlix
