#pragma once

#include <optional>
#include <string>

#include "common/message_stream.h"
#include "common/options.h"
#include "utils/pipes.h"
#include "utils/process.h"

namespace tavo::devkit
{

// The engine's process and the link to it. The process is started first; it connects to the module
// socket once its models are loaded, and that connection becomes the link. It ends with this
// process, however that ends. One thread.
class EngineProcess
{
public:
    // Starts the engine beside this program; see isAlive() for the outcome.
    explicit EngineProcess(const Options& options);

    // Stops the engine: asks it, waits two seconds, then kills it.
    ~EngineProcess();
    EngineProcess(const EngineProcess&) = delete;
    EngineProcess& operator=(const EngineProcess&) = delete;

    // False once the process has ended, or was never there. Its crash text is then to be had.
    [[nodiscard]] bool isAlive();

    // Makes the connection the link, if the token on it is the one that the engine was started
    // with; else the connection is closed.
    void link(MessageStream connection, const std::string& token);

    // Null until the engine is ready.
    [[nodiscard]] MessageStream* stream() { return m_stream ? &*m_stream : nullptr; }

    // How the process ended, with what it wrote to its standard error.
    [[nodiscard]] std::string howItEnded();

private:
    const std::string m_token;
    vms_server_plugins::analytics::orlix::PipeEnd m_errorPipe;
    vms_server_plugins::analytics::orlix::ProcessRecord m_process;
    std::optional<MessageStream> m_stream;
    vms_server_plugins::analytics::orlix::ExitCode m_exitCode = 0;
    bool m_hasEnded = false;
};

} // namespace tavo::devkit
