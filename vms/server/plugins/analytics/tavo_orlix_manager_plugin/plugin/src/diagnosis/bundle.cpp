#include "diagnosis/bundle.h"

#include <filesystem>

#include "base/ini.h"
#include "base/manager_files.h"
#include "diagnosis/redaction.h"
#include "remote/file_helpers.h"
#include "utils/command.h"
#include "utils/folders.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

constexpr const char* kManagerFiles[] = {
    manager_files::kModuleLog, manager_files::kModuleCrashLog, manager_files::kEngineLog,
    manager_files::kEngineCrashLog, manager_files::kSettings};

std::string nameOf(const std::string& path)
{
    return utf8FromPath(pathFromUtf8(path).filename());
}

void fill(
    Bundle& bundle, const std::string& folder, const Surroundings& surroundings,
    const std::string& report)
{
    Redaction redaction;
    const auto add = [&](const std::string& name, const std::string& content)
    {
        const std::string path = path_join(folder, name);
        if (!writeAndClose(FileStream(file_open_private(path.c_str())), redaction.apply(content)))
            bundle.failure = "could not write " + path;
        bundle.files.push_back(name);
    };
    const auto addFile = [&](const std::string& path)
    {
        if (fileExists(path))
            add(nameOf(path), textOfFile(path));
    };
    add("doctor.txt", report);
    for (const char* name : kLogFiles)
        addFile(path_join(surroundings.workingDirectory, name));
    for (const char* file : kManagerFiles)
        addFile(surroundings.workingDirectory + manager_files::kRootFolder + file);
    addFile(utf8FromPath(ini().iniFilePath()));
    bundle.takenOut = redaction.counts();
}

} // namespace

Bundle makeBundle(
    const std::string& path, const Surroundings& surroundings, const std::string& report)
{
    Bundle bundle;
    const std::string folder = path + ".packing";
    std::error_code error;
    remove_tree(folder, error);
    if (std::filesystem::create_directory(pathFromUtf8(folder), error))
        fill(bundle, folder, surroundings, report);
    else
        bundle.failure = "could not make " + folder;
    if (bundle.failure.empty())
    {
        const CommandResult packed =
            runCommand("tar -czf \"" + path + "\" -C \"" + folder + "\" .", kUnpackLimit);
        if (packed.exitCode != 0)
        {
            bundle.failure = "tar failed: " + packed.output;
            std::filesystem::remove(pathFromUtf8(path), error); // it may be cut
        }
    }
    remove_tree(folder, error);
    return bundle;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
