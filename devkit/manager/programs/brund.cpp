// brund: the inference engine. Started by brunmod, which hands it the frames.
//
// usage: brund -i <module socket> -o <plugin socket> [-l <0|1>] [-v <0|1|2>] -t <token>
// environment: TAVO_ENGINE=motion|hog puts a built-in detector in the place of all models;
// TAVO_RESULT_TIMES=FILE tells there when which result was sent.

#include <cstdlib>
#include <string>
#include <utility>

#include "common/message_stream.h"
#include "common/run_program.h"
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
    ResultSender results(options.pluginSocket, std::getenv("TAVO_RESULT_TIMES"));

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
    return tavo::devkit::runProgram(argumentCount, arguments, "brund_0", tavo::devkit::run);
}
