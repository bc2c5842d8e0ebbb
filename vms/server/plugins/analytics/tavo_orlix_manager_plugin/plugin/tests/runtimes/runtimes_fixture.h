#pragma once

#include <gtest/gtest.h>

#include "base/ini.h"
#include "http_server.h"
#include "runtimes/runtimes_manager.h"
#include "temporary_folder.h"
#include "utils/command.h"
#include "utils/platform_names.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

inline constexpr char kCpu[] = "Generic CPU";
inline constexpr char kDeepx[] = "DEEPX";

// A storage with packages, and a machine with an accelerator.
class RuntimesManagerTest : public testing::Test
{
protected:
    void SetUp() override
    {
        m_folder.write("bin/other.txt", "");
        m_folder.write(std::string("package/") + kRuntimeLibrary, "library");
        makePackage(".");
        m_server.handlers.Get(
            R"(/rt/(CPU|DEEPX)/.*/library.*\.tar\.gz)",
            [this](const httplib::Request& request, httplib::Response& response)
            {
                ++m_requests;
                m_requested = request.matches[1];
                response.status = m_status;
                response.set_content(m_package, "application/gzip");
            });
        m_server.start();
        m_storage = m_server.url("/rt");
        ini().RuntimesStorageURL = m_storage.c_str();
        ini().cacheRuntimeArchives = false;
        // The tools of one accelerator, before those that the machine may have itself.
        m_folder.writeProgram("tools/dxrt-cli", "print DXRT v3.2.0");
        for (const char* const tool : {"nvidia-smi", "hailortcli"})
            m_folder.writeProgram(std::string("tools/") + tool, "exit 1");
        const test_support::ScopedVariable path(
            "PATH", test_support::pathWith(m_folder.path("tools")));
        MessageBoard detection;
        m_manager.initialise(detection);
    }

    void TearDown() override
    {
        ini().RuntimesStorageURL = "";
        ini().cacheRuntimeArchives = false;
    }

    // The package that is served, of what lies in "package".
    void makePackage(const std::string& entries)
    {
        ASSERT_EQ(
            0,
            runCommand(
                "tar czf " + m_folder.path("p.tar.gz") + " -C " + m_folder.path("package") + " " +
                entries)
                .exitCode);
        m_package = m_folder.read("p.tar.gz");
    }

    [[nodiscard]] std::string told() const
    {
        return m_board.snapshot()["RUNTIME_EXTRACTION_FAILED"].text;
    }

    TemporaryFolder m_folder;
    std::string m_package;
    int m_status = 200;
    std::string m_requested; // family
    std::atomic<int> m_requests{0};
    LoopbackHttpServer m_server;
    std::string m_storage;
    MessageBoard m_board;
    RuntimesManager m_manager{m_folder.path("bin")};
};

} // namespace tavo::vms_server_plugins::analytics::orlix
