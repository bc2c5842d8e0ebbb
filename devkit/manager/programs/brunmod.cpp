// brunmod: the manager application. Takes frames on the module socket and runs the engine, brund.
//
// usage: brunmod -i <module socket> -o <plugin socket> [-l <0|1>] [-v <0|1|2>]
// environment: TAVO_REPLY_DELAY_MS makes it slow to answer an announcement.

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <string>

#include "common/run_program.h"
#include "module/engine_process.h"
#include "module/module_server.h"
#include "module/segment_pool.h"
#include "utils/log.h"
#include "utils/process.h"
#include "utils/sockets.h"

namespace tavo::devkit
{

namespace orlix = vms_server_plugins::analytics::orlix;

namespace
{

std::atomic<bool> stopRequested = false;

// The listening socket and its file.
class ModuleSocket
{
public:
    explicit ModuleSocket(std::string path) :
        m_path(std::move(path)),
        m_socket(orlix::socket_listen(m_path, &m_file))
    {}
    ~ModuleSocket()
    {
        if (m_socket == kInvalidSocket)
            return;
        orlix::socket_close(m_socket);
        orlix::socket_unlink(m_path, m_file);
    }
    ModuleSocket(const ModuleSocket&) = delete;
    ModuleSocket& operator=(const ModuleSocket&) = delete;

    [[nodiscard]] SocketHandle socket() const { return m_socket; }

private:
    const std::string m_path;
    orlix::SocketFile m_file;
    const SocketHandle m_socket;
};

std::chrono::milliseconds replyDelay()
{
    const char* const text = std::getenv("TAVO_REPLY_DELAY_MS");
    return std::chrono::milliseconds(text ? std::strtol(text, nullptr, 10) : 0);
}

int run(const Options& options)
{
    const ModuleSocket moduleSocket(options.moduleSocket);
    if (moduleSocket.socket() == kInvalidSocket)
    {
        orlix::log_error("Error! Cannot listen on %s\n", options.moduleSocket.c_str());
        return EXIT_FAILURE;
    }
    SegmentRecord record(options.etcFolder() / "brunmod_segments.txt");
    SegmentPool pool(record); // outlives the engine, which reads from its segments
    EngineProcess engine(options);
    ModuleServer server(moduleSocket.socket(), pool, engine, replyDelay());
    if (server.serve(stopRequested) == ModuleServer::End::engineEnded)
    {
        // The plugin's crash report shows this.
        orlix::log_error("Error! The engine has ended: %s\n", engine.howItEnded().c_str());
        return EXIT_FAILURE;
    }
    orlix::log_info("Stopping.\n");
    return EXIT_SUCCESS;
}

} // namespace
} // namespace tavo::devkit

int main(int argumentCount, char** arguments)
{
    using namespace tavo::devkit;

    orlix::process_set_signal_handler([](int) { stopRequested = true; });
    return runProgram(argumentCount, arguments, "brunmod", run);
}
