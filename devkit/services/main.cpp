// tavo_services: the stand-in cloud and file storage.

#include <csignal>
#include <cstdio>
#include <exception>
#include <thread>

#include <CLI/CLI.hpp>

#include "server.h"

namespace
{

// Serves until a signal. The answer is the exit code.
int run(int argc, char** argv)
{
    tavo::devkit::ServicesOptions options;
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

    tavo::devkit::Services services(options);
    const int port = services.bind();
    if (port < 0)
    {
        std::fprintf(stderr, "tavo_services: port %d cannot be had\n", options.port);
        return 1;
    }
    std::printf("serving on port %d\n", port);
    std::fflush(stdout);
    std::thread server([&]() { services.serve(); });
    int signal = 0;
    sigwait(&ends, &signal);
    services.stop();
    server.join();
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
