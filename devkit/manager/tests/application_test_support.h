#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "temporary_folder.h"
#include "test_picture.h"
#include "utils/pipes.h"
#include "utils/process.h"
#include "utils/shm.h"
#include "utils/sockets.h"

namespace tavo::devkit
{

namespace orlix = vms_server_plugins::analytics::orlix;

// Asks again and again until the answer is yes, for half a minute at most.
[[nodiscard]] bool comesTrue(const std::function<bool()>& condition);

// The real programs, installed and running in a folder of their own. Killed with this object.
class InstalledApplication
{
public:
    // `settings` is the content of etc/settings.json.
    explicit InstalledApplication(const std::string& settings);

    void start();
    [[nodiscard]] int waitForEnd(); // the exit code
    void kill() { orlix::process_kill(m_process); }

    // The ids of this installation's running programs of that name.
    [[nodiscard]] std::vector<std::uint32_t> pidsOf(const std::string& program) const;

    [[nodiscard]] std::string errorText();
    [[nodiscard]] const orlix::TemporaryFolder& folder() const { return m_folder; }
    [[nodiscard]] std::string moduleSocket() const { return m_folder.path("module.sock"); }
    [[nodiscard]] std::string pluginSocket() const { return m_folder.path("plugin.sock"); }

private:
    orlix::TemporaryFolder m_folder;
    orlix::PipeEnd m_errorPipe;
    orlix::ProcessRecord m_process;
};

struct ReceivedResult
{
    std::uint64_t inputIndex = 0;
    std::uint64_t timestampUs = 0;
    int width = 0;
    std::map<std::string, std::vector<Box>> boxes;
    std::map<std::string, std::uint64_t> counts;
    std::size_t idCount = 0; // of 16 bytes, over all classes
};

// Speaks the protocol as the plugin does.
class PluginSide
{
public:
    explicit PluginSide(const InstalledApplication& application);
    ~PluginSide();
    PluginSide(const PluginSide&) = delete;
    PluginSide& operator=(const PluginSide&) = delete;

    // One exchange; true if the frame was handed over.
    bool sendFrame(std::uint64_t inputIndex, std::uint64_t timestampUs, const TestPicture& picture);

    // As sendFrame, again while the application is not ready.
    [[nodiscard]] bool sendFrameOnceReady(
        std::uint64_t inputIndex, std::uint64_t timestampUs, const TestPicture& picture);

    void sendCommand(int command);

    // The next result, waited for a few seconds.
    [[nodiscard]] std::optional<ReceivedResult> nextResult();

    [[nodiscard]] const std::map<std::string, orlix::ShmView>& segments() const
    {
        return m_segments;
    }

private:
    orlix::ShmView* attach(const std::string& name);

    const std::string m_moduleSocket;
    const std::string m_pluginSocket;
    const orlix::SocketHandle m_listening;
    orlix::ReceiveBuffer m_results;
    std::map<std::string, orlix::ShmView> m_segments;
};

} // namespace tavo::devkit
