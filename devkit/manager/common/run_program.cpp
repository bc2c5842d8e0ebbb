#include "common/run_program.h"

#include <cstdlib>
#include <exception>
#include <vector>

#include "common/program.h"
#include "utils/log.h"
#include "utils/sockets.h"

namespace tavo::devkit
{

namespace orlix = vms_server_plugins::analytics::orlix;

int runProgram(
    int argumentCount, char** arguments, const std::string& logName,
    const std::function<int(const Options&)>& run)
{
    const auto options =
        parseOptions(std::vector<std::string>(arguments + 1, arguments + argumentCount));
    if (!options)
        return EXIT_FAILURE;
    ignore_broken_pipes();
    orlix::sockets_start();
    openLog(*options, logName);
    int exitCode = EXIT_FAILURE;
    try
    {
        exitCode = run(*options);
    }
    catch (const std::exception& error)
    {
        orlix::log_error("Error! %s\n", error.what());
    }
    orlix::log_close();
    orlix::sockets_stop();
    return exitCode;
}

} // namespace tavo::devkit
