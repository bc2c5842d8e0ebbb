// tavo_services: the stand-in cloud and file storage.

#include <csignal>
#include <cstdio>
#include <exception>
#include <fstream>
#include <thread>

#include <CLI/CLI.hpp>

#include "new_server.h"
#include "server.h"

using namespace tavo::devkit;

namespace
{

// Serves until a signal. The answer is the exit code.
int run(int argc, char** argv)
{
    ServicesOptions options;
    CLI::App app{"The stand-in cloud and file storage of the Orlix Manager plugin."};
    app.add_option("--port", options.port, "port on the loopback interface; any by default");
    app.add_option("--catalogue", options.catalogue, "models and pipelines, a JSON file")
        ->required()
        ->check(CLI::ExistingFile);
    app.add_option("--files", options.files, "folder of the model files")
        ->required()
        ->check(CLI::ExistingDirectory);
    app.add_option("--archive", options.archive, "archive of the manager application");
    app.add_option("--runtimes", options.runtimes, "folder with a CHIP.tar.gz of each runtime");
    app.add_option("--token", options.token, "what Authorization must be")->required();
    app.add_option("--certificate", options.certificate, "serve HTTPS with this certificate");
    app.add_option("--certificate-key", options.certificateKey, "and its key");
    std::string server;
    int cameras = 1;
    std::vector<std::string> iniOptions;
    app.add_option(
           "--server", server,
           "write records and ini file of a server that the library has never met into this folder")
        ->check(CLI::ExistingDirectory);
    app.add_option("--cameras", cameras, "which that server has");
    app.add_option("--ini", iniOptions, "lines more of its ini file");
    CLI11_PARSE(app, argc, argv);

    // Blocked in all threads, so that only the wait below takes them. A shell's script that goes on
    // after Ctrl+C has its background programs ignore it, which a wait would not.
    sigset_t ends;
    sigemptyset(&ends);
    struct sigaction interrupt = {};
    sigaction(SIGINT, nullptr, &interrupt);
    if (interrupt.sa_handler != SIG_IGN)
        sigaddset(&ends, SIGINT);
    sigaddset(&ends, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &ends, nullptr);

    Services services(options);
    const int port = services.bind();
    if (port < 0)
    {
        std::fprintf(stderr, "tavo_services: port %d cannot be had\n", options.port);
        return 1;
    }
    if (!server.empty())
    {
        std::vector<std::string> names;
        for (int i = 1; i <= cameras; ++i)
            names.push_back("Camera " + std::to_string(i));
        std::ofstream(server + "/" + kRecordsFile) << newServerRecords(options.token, names);
        std::ofstream(server + "/" + kIniFile) << iniText(services.url(), iniOptions);
    }
    std::printf("serving on port %d\n", port);
    std::fflush(stdout);
    std::thread serving([&]() { services.serve(); });
    int signal = 0;
    sigwait(&ends, &signal);
    services.stop();
    serving.join();
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    try
    {
        return run(argc, argv);
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "tavo_services: %s\n", error.what());
        return 1;
    }
}
