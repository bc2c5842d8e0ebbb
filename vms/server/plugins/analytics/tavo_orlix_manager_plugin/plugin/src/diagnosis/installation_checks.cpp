// The application, its runtime and its models as they lie on the disk, and what happened last.

#include <openssl/crypto.h>

#include "base/manager_files.h"
#include "base/message_board.h"
#include "diagnosis/checks.h"
#include "diagnosis/ways_out.h"
#include "models/model_manager.h"
#include "models/orlix_crypto.h"
#include "remote/file_helpers.h"
#include "remote/text_helpers.h"
#include "runtimes/manager_installation.h"
#include "runtimes/runtimes_manager.h"
#include "utils/files.h"
#include "utils/machine.h"
#include "utils/platform_names.h"
#include "utils/shm.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

constexpr std::size_t kLastWords = 1024;

std::string rootOf(const Surroundings& surroundings)
{
    return surroundings.workingDirectory + manager_files::kRootFolder;
}

bool decrypts(const ModelFiles& files)
{
    std::size_t size = 0;
    const auto key = readFile(files.keyPath, &size);
    const FileStream nowhere(file_open_append(kNullDevice));
    if (!key || !nowhere)
        return false;
    const Outcome outcome =
        decryptModelFile({key.get(), size}, files.modelPath, kNullDevice, nowhere.get());
    OPENSSL_cleanse(key.get(), size);
    return static_cast<bool>(outcome);
}

void checkModel(Findings& out, const std::string& name, const ModelFiles& files)
{
    const bool isThere = fileExists(files.modelPath);
    const bool hasKey = fileExists(files.keyPath);
    const std::string size = isThere ? std::to_string(fileSize(files.modelPath)) + " bytes" : "";
    const bool isOpen = isThere && (!files.encrypted || (hasKey && decrypts(files)));
    out.add(
        "Model", name + size + (isOpen && files.encrypted ? ", decrypts" : ""),
        {{files.modelPath.empty(), Verdict::attention, "not for this runtime", way_out::kReselect},
         {!isThere, Verdict::bad, "its file is missing", way_out::kRetry},
         {files.encrypted && !hasKey, Verdict::bad, "its key is missing", way_out::kClear},
         {!isOpen, Verdict::bad, "does not decrypt", way_out::kClear}});
}

} // namespace

void checkInstallation(Findings& out, const Surroundings& surroundings)
{
    const std::string root = rootOf(surroundings);
    const bool isInstalled =
        ManagerInstallation(surroundings.workingDirectory).checkInstallation() ==
        ManagerInstallState::installed;
    const RuntimesManager runtimes(root + manager_files::kBinFolder);
    const bool hasRuntime = runtimes.isRuntimeInstalled();
    out.add(
        "Application", root + " " + oneLine(textOfFile(root + "/VERSION")),
        {{!isInstalled, Verdict::attention, "not installed", way_out::kFetched}});
    out.add(
        "Runtime", hasRuntime ? runtimes.getInstalledRuntimeName() : "none",
        {{!hasRuntime, Verdict::attention, "not installed", way_out::kFetched}});
}

void checkModels(Findings& out, const Surroundings& surroundings)
{
    const std::string text = textOfFile(rootOf(surroundings) + manager_files::kSettings);
    const JsonDocument settings = text.empty() ? nullptr : parseJson(text);
    MessageBoard board;
    const ModelManager models(surroundings.workingDirectory, &board);
    std::size_t index{}, count{};
    yyjson_val* model = nullptr;
    yyjson_arr_foreach(
        settings ? yyjson_doc_get_root(settings.get()) : nullptr, index, count, model)
    {
        const auto member = [model](const char* key)
        { return std::string(jsonText(jsonMember(model, key))); };
        checkModel(
            out, oneLine(member("Name")) + " (" + oneLine(member("UUID")) + ") ",
            models.selectDownload(
                jsonMember(model, "Downloads"), member("MimeType"), member("UUID")));
    }
    out.add("Models", std::to_string(count) + " assigned");
}

void checkLastCrash(Findings& out, const Surroundings& surroundings)
{
    const std::size_t at = surroundings.logs.rfind("Detected Orlix Manager crash Exit status:");
    const bool hasCrashed = at != std::string::npos;
    out.add(
        "Last crash",
        hasCrashed ? oneLine(surroundings.logs.substr(at, kLastWords)) : "none in the logs",
        {{hasCrashed, Verdict::attention, "and more in its logs", way_out::kCrash}});
}

void checkLeft(Findings& out, const Surroundings& surroundings)
{
    const auto tell = [&out](const std::string& folder, const std::string& name)
    {
        const std::string path = path_join(folder, name);
        if (fileExists(path))
            out.add("Left over", path, {{true, Verdict::attention, "of a run", way_out::kLeft}});
    };
    tell(surroundings.temporaryFolder, "orlix_manager.tgz");
    for (const std::string& name : list_files(rootOf(surroundings) + "/cache/encrypted"))
        tell(surroundings.temporaryFolder, name);
    for (const std::string& name : list_files(kSharedMemoryFolder))
    {
        if (name.starts_with(kRandomShmPrefix))
            tell(kSharedMemoryFolder, name);
    }
}

} // namespace tavo::vms_server_plugins::analytics::orlix
