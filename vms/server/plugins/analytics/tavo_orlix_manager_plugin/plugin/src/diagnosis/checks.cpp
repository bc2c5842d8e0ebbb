#include "diagnosis/checks.h"

#include <filesystem>

#include "remote/file_helpers.h"
#include "utils/paths.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

Findings checkSurroundings(const Surroundings& surroundings)
{
    Findings out;
    checkMachine(out, readMachineInfo(), supportsAvx2(), hasSystemLibrary("libgomp.so"));
    checkFolders(out, surroundings);
    checkInstallation(out, surroundings);
    return out;
}

Findings checkAll(const Surroundings& surroundings)
{
    Findings out = checkSurroundings(surroundings);
    checkAccelerators(out);
    checkModels(out, surroundings);
    checkOptions(out);
    checkServers(out);
    checkLastCrash(out, surroundings);
    if (checkSockets(out, surroundings))
        checkLeft(out, surroundings);
    return out;
}

Surroundings readSurroundings(std::string workingDirectory)
{
    std::error_code error;
    const auto temporary = std::filesystem::temp_directory_path(error);
    Surroundings surroundings{
        std::move(workingDirectory), error ? std::string() : utf8FromPath(temporary), {}};
    for (const char* name : kLogFiles)
        surroundings.logs += textOfFile(path_join(surroundings.workingDirectory, name));
    return surroundings;
}

std::string textOfFile(const std::string& path)
{
    std::size_t size{};
    const auto content = fileExists(path) ? readFile(path, &size) : nullptr;
    return {content.get(), content ? size : 0};
}

} // namespace tavo::vms_server_plugins::analytics::orlix
