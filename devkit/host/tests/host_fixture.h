#pragma once

#include <string>

#include <gtest/gtest.h>

#include "media/video_source.h"
#include "temporary_folder.h"
#include "utils/command.h"

namespace tavo::devkit
{

// The program itself with the built library. No application is there to be had, so that all frames
// are ignored and no result comes back.
class HostTest : public testing::Test
{
protected:
    HostTest()
    {
        // Nobody listens there, so that nothing is fetched from anywhere.
        m_folder.write(
            "tavo_orlix_manager_plugin.ini",
            "CloudAPI=http://127.0.0.1:1\nOrlixManagerStorageURL=http://127.0.0.1:1\n"
            "RuntimesStorageURL=http://127.0.0.1:1\n");
    }

    // Runs the host to its end with its own sockets and options file. Gives its exit code.
    int runHost(const std::string& options, const std::string& plugin = TAVO_PLUGIN_FILE)
    {
        using namespace vms_server_plugins::analytics::orlix;
        const ScopedTempPath sockets(m_folder.path());
        const test_support::ScopedVariable ini("TAVO_INI_DIR", m_folder.path());
        const auto result = runCommand(
            "\"" TAVO_HOST_FILE "\" --plugin \"" + plugin + "\" --work-dir \"" +
            m_folder.path("home") + "\" --video " + kGeneratedVideo + " --size 64x48 " + options);
        m_output = result.output;
        return result.exitCode;
    }

    [[nodiscard]] bool hasPrinted(const std::string& text) const
    {
        return m_output.find(text) != std::string::npos;
    }

    const vms_server_plugins::analytics::orlix::TemporaryFolder m_folder;
    std::string m_output;
};

} // namespace tavo::devkit
