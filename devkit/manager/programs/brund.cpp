// brund: the inference engine. Started by brunmod, which hands it the frames.
//
// usage: brund -i <module socket> -o <plugin socket> [-l <0|1>] [-v <0|1|2>] -t <token>
// environment: TAVO_ENGINE=motion|hog puts a built-in detector in the place of all models.

#include <cstdlib>
#include <exception>
#include <string>
#include <utility>
#include <vector>

#include "common/message_stream.h"
#include "common/options.h"
#include "common/program.h"
#include "engine/engine_loop.h"
#include "engine/frame_analyser.h"
#include "engine/model_catalogue.h"
#include "engine/result_sender.h"
#include "utils/log.h"
#include "utils/sockets.h"

namespace tavo::devkit
{

namespace orlix = vms_server_plugins::analytics::orlix;

namespace
{

int run(const Options& options)
{
    const char* const engine = std::getenv("TAVO_ENGINE");
    ModelCatalogue models(options.etcFolder() / "settings.json", engine ? engine : "");
    FrameAnalyser analyser(models);
    ResultSender results(options.pluginSocket);

    const SocketHandle socket = orlix::socket_connect(options.moduleSocket);
    if (socket == kInvalidSocket)
    {
        orlix::log_error("Error! The module is not there: %s\n", options.moduleSocket.c_str());
        return EXIT_FAILURE;
    }
    MessageStream module(socket);
    if (!module.send(EngineReady{options.token}))
        return EXIT_FAILURE;
    EngineLoop(std::move(module), analyser, results).run();
    return EXIT_SUCCESS;
}

} // namespace
} // namespace tavo::devkit

int main(int argumentCount, char** arguments)
{
    using namespace tavo::devkit;

    const auto options =
        parseOptions(std::vector<std::string>(arguments + 1, arguments + argumentCount));
    if (!options)
        return EXIT_FAILURE;
    ignore_broken_pipes();
    orlix::sockets_start();
    openLog(*options, "brund_0");
    int exitCode = EXIT_FAILURE;
    try
    {
        exitCode = run(*options);
    }
    catch (const std::exception& error) // what cannot be loaded; the module shows it
    {
        orlix::log_error("Error! %s\n", error.what());
    }
    orlix::log_close();
    orlix::sockets_stop();
    return exitCode;
}
