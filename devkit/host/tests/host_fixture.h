#pragma once

#include <fstream>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <testing/scoped_variable.h>

#include "common/json.h"
#include "media/video_source.h"
#include "temp_folder.h"
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
        std::ofstream(m_folder.file("tavo_orlix_manager_plugin.ini"))
            << "CloudAPI=http://127.0.0.1:1\nOrlixManagerStorageURL=http://127.0.0.1:1\n"
               "RuntimesStorageURL=http://127.0.0.1:1\n";
    }

    // Runs the host to its end with its own sockets and options file. Gives its exit code.
    int runHost(const std::string& plugin, const std::string& options)
    {
        const test_support::ScopedVariable sockets(
            test_support::kTemporaryFolderVariable, m_folder.file(""));
        const test_support::ScopedVariable ini("TAVO_INI_DIR", m_folder.file(""));
        const auto result = vms_server_plugins::analytics::orlix::runCommand(
            "\"" TAVO_HOST_FILE "\" --plugin \"" + plugin + "\" --work-dir \"" +
            m_folder.file("home") + "\" --video " + kGeneratedVideo + " --size 64x48 " + options);
        m_output = result.output;
        return result.exitCode;
    }

    // The documents of each kind that the library produced, in order.
    std::map<std::string, std::vector<std::string>> readMetadata() const
    {
        std::map<std::string, std::vector<std::string>> documents;
        std::ifstream file(m_folder.file("metadata.jsonl"));
        for (std::string line; std::getline(file, line);)
        {
            const JsonDocument document = parseJson(line);
            yyjson_val* const root = yyjson_doc_get_root(document.get());
            documents[stringMember(root, "kind")].push_back(toText(yyjson_obj_get(root, "value")));
        }
        return documents;
    }

    TempFolder m_folder;
    std::string m_output;
};

} // namespace tavo::devkit
