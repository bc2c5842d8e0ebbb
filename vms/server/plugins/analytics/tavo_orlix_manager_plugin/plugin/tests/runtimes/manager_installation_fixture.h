#pragma once

#include <gtest/gtest.h>

#include "base/ini.h"
#include "http_server.h"
#include "runtimes/machine_info.h"
#include "runtimes/manager_installation.h"
#include "temporary_folder.h"
#include "utils/command.h"
#include "utils/platform_names.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// A storage with the application.
class ManagerInstallationTest : public testing::Test
{
protected:
    void SetUp() override
    {
        m_folder.write("work/kept.txt", "");
        m_server.handlers.Get(
            std::string("/apps/orlix_manager-") + architectureText(readNativeArchitecture()) + "-" +
                kArchiveTag + ".tgz",
            [this](const httplib::Request&, httplib::Response& response)
            {
                ++m_requests;
                response.set_content(m_archive, "application/gzip");
            });
        m_server.start();
        m_storage = m_server.url("/apps");
        ini().OrlixManagerStorageURL = m_storage.c_str();
    }

    void TearDown() override { ini().OrlixManagerStorageURL = ""; }

    // An archive as the real tar makes it, of some of the files that belong in it.
    // What else a test wrote into its folder goes, unless it is to come too.
    void makeArchive(bool engine, const char* version, bool anew = true)
    {
        if (anew)
            std::filesystem::remove_all(m_folder.path("content"));
        m_folder.write(std::string("content/orlix_manager/bin/") + kManagerExecutable, "");
        if (engine)
            m_folder.write(std::string("content/orlix_manager/bin/") + kEngineExecutable, "");
        if (version)
            m_folder.write("content/orlix_manager/VERSION", version);
        const std::string file = m_folder.path("archive.tgz");
        ASSERT_EQ(
            0,
            runCommand("tar czf " + file + " -C " + m_folder.path("content") + " orlix_manager")
                .exitCode);
        m_archive = m_folder.read("archive.tgz");
    }

    [[nodiscard]] std::string told() const
    {
        return m_board.snapshot()["ORLIX_MANAGER_INSTALL_FAILED"].text;
    }

    TemporaryFolder m_folder;
    const ScopedTempPath m_temporaryFolder{m_folder.path()};
    std::string m_archive = "no archive";
    std::atomic<int> m_requests{0};
    LoopbackHttpServer m_server;
    MessageBoard m_board;
    std::string m_storage;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
