#include "module/engine_process.h"

#include <random>
#include <utility>
#include <vector>

#include "inference/protocol.h"
#include "utils/log.h"
#include "utils/platform_names.h"

namespace tavo::devkit
{

namespace orlix = vms_server_plugins::analytics::orlix;

namespace
{

constexpr int kStopSeconds = 2;
constexpr int kKillSeconds = 1;

std::string newToken()
{
    std::random_device random;
    return std::to_string(random()) + "-" + std::to_string(random());
}

std::vector<std::string> engineArguments(const Options& options, const std::string& token)
{
    return {
        (options.program.parent_path() / orlix::kEngineExecutable).string(),
        protocol::kModuleSocketArgument,
        options.moduleSocket,
        protocol::kPluginSocketArgument,
        options.pluginSocket,
        protocol::kLogToFileArgument,
        options.logToFile ? "1" : "0",
        protocol::kVerbosityArgument,
        std::to_string(options.verbosity),
        kTokenArgument,
        token};
}

} // namespace

EngineProcess::EngineProcess(const Options& options) :
    m_token(newToken()),
    m_process(
        orlix::process_start(engineArguments(options, m_token), /*console*/ true, &m_errorPipe))
{
    m_hasEnded = !orlix::process_started(m_process);
}

EngineProcess::~EngineProcess()
{
    if (!isAlive())
        return;
    if (m_stream && m_stream->send(CommandMessage{protocol::Command::stop}))
    {
        const orlix::ExitCode exitCode = orlix::process_wait(m_process, kStopSeconds);
        if (exitCode != orlix::kProcessWaitTimeout)
        {
            orlix::log_info(
                "The engine has stopped with exit code %lld\n", static_cast<long long>(exitCode));
            return;
        }
    }
    orlix::log_info("Warning! The engine did not stop by itself.\n");
    orlix::process_kill(m_process);
    (void)orlix::process_wait(m_process, kKillSeconds); // what is left of it ends with its job
}

bool EngineProcess::isAlive()
{
    if (!m_hasEnded)
        m_hasEnded = !orlix::process_is_running(m_process, m_exitCode);
    return !m_hasEnded;
}

void EngineProcess::link(MessageStream connection, const std::string& token)
{
    if (m_stream || token != m_token)
    {
        orlix::log_info("Warning! Somebody else says that it is the engine. Ignoring.\n");
        return;
    }
    m_stream.emplace(std::move(connection));
    orlix::log_info("The engine is ready.\n");
}

std::string EngineProcess::howItEnded()
{
    if (!orlix::process_started(m_process))
        return "it could not be started";
    if (!m_hasEnded)
        m_exitCode = orlix::process_wait(m_process, kKillSeconds);
    return "exit code " + std::to_string(m_exitCode) + "\n" +
        orlix::pipe_read_text(m_errorPipe).value_or("");
}

} // namespace tavo::devkit
