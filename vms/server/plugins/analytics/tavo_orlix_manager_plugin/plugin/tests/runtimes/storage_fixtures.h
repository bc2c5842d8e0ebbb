#pragma once

#include <functional>

#include <gtest/gtest.h>

#include "base/ini.h"
#include "http_server.h"
#include "runtimes/machine_info.h"
#include "runtimes/manager_installation.h"
#include "runtimes/runtimes_manager.h"
#include "temporary_folder.h"
#include "utils/command.h"
#include "utils/platform_names.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// A storage that serves one archive.
class StorageFixture : public testing::Test
{
protected:
    // At each path that matches; what its first group says is noted.
    void serveAt(const std::string& paths)
    {
        m_server.handlers.Get(
            paths,
            [this](const httplib::Request& request, httplib::Response& response)
            {
                m_meanwhile();
                ++m_requests;
                m_requested = request.matches[1];
                response.status = m_status;
                response.set_content(m_archive, "application/gzip");
            });
        m_server.start();
        m_storage = m_server.url("");
    }

    void TearDown() override
    {
        ini().OrlixManagerStorageURL = "";
        ini().RuntimesStorageURL = "";
        ini().cacheRuntimeArchives = false;
    }

    // The archive as the real tar makes it, of entries of a folder.
    void pack(const std::string& folder, const std::string& entries)
    {
        const std::string file = m_folder.path("archive.tgz");
        ASSERT_EQ(
            0,
            runCommand("tar czf " + file + " -C " + m_folder.path(folder) + " " + entries)
                .exitCode);
        m_archive = m_folder.read("archive.tgz");
    }

    // All that is on the board.
    [[nodiscard]] std::string told() const
    {
        std::string all;
        for (const auto& [key, entry] : m_board.snapshot())
            all += key + ": " + entry.text;
        return all;
    }

    TemporaryFolder m_folder;
    std::string m_archive = "no archive";
    int m_status = 200;
    std::function<void()> m_meanwhile = [] {}; // while a client waits for its answer
    std::atomic<int> m_requests{0};
    std::string m_requested;
    LoopbackHttpServer m_server;
    std::string m_storage;
    MessageBoard m_board;
};

// A storage with the application.
class ManagerInstallationTest : public StorageFixture
{
protected:
    void SetUp() override
    {
        m_folder.write("server/kept.txt", "");
        serveAt(
            std::string("/(orlix_manager)-") + architectureText(readNativeArchitecture()) + "-" +
            kArchiveTag + ".tgz");
        ini().OrlixManagerStorageURL = m_storage.c_str();
    }

    // Some of the files that belong in an archive, below a folder.
    void writeManager(const std::string& folder, bool hasEngine = true) const
    {
        m_folder.write(folder + "/orlix_manager/bin/" + kManagerExecutable, "");
        if (hasEngine)
            m_folder.write(folder + "/orlix_manager/bin/" + kEngineExecutable, "");
    }

    const ScopedTempPath m_temporaryFolder{m_folder.path()};
    const std::string m_failed =
        "ORLIX_MANAGER_INSTALL_FAILED: Failed to install the Orlix Manager. ";
};

inline constexpr char kCpu[] = "Generic CPU";
inline constexpr char kDeepx[] = "DEEPX";

// A storage with packages, and a machine with an accelerator.
class RuntimesManagerTest : public StorageFixture
{
protected:
    void SetUp() override
    {
        m_folder.write("bin/other.txt", "");
        m_folder.write(std::string("package/") + kRuntimeLibrary, "library");
        pack("package", ".");
        serveAt(R"(/(CPU|DEEPX)/.*/library.*\.tar\.gz)");
        ini().RuntimesStorageURL = m_storage.c_str();
        // The tools of one accelerator, before those that the machine may have itself.
        m_folder.writeProgram("tools/dxrt-cli", "print DXRT v3.2.0");
        for (const char* const tool : {"nvidia-smi", "hailortcli"})
            m_folder.writeProgram(std::string("tools/") + tool, "exit 1");
        const test_support::ScopedVariable path(
            "PATH", test_support::pathWith(m_folder.path("tools")));
        MessageBoard detection;
        m_manager.initialise(detection);
    }

    const std::string m_downloadFailed =
        "RUNTIME_EXTRACTION_FAILED: Failed to download the runtime package. ";
    const std::string m_unpackingFailed =
        "RUNTIME_EXTRACTION_FAILED: Failed to extract the runtime package. Please ensure you have "
        "a stable Internet connection and enough free space on your disk. ";
    RuntimesManager m_manager{m_folder.path("bin")};
};

} // namespace tavo::vms_server_plugins::analytics::orlix
