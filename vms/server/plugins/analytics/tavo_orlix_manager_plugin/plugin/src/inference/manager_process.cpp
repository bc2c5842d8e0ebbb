// Start, stop and watch of the manager application. All of it runs on the runtime loop's thread.

#include <filesystem>
#include <memory>

#include <openssl/crypto.h>

#include "base/ini.h"
#include "base/manager_files.h"
#include "inference/orlix_manager_interface.h"
#include "models/orlix_crypto.h"
#include "remote/file_helpers.h"
#include "remote/host_rest_client.h"
#include "utils/files.h"
#include "utils/log.h"
#include "utils/log_rarely.h"
#include "utils/paths.h"
#include "utils/platform_names.h"
#include "utils/sockets.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

constexpr char kCannotStart[] =
    "Failed to start Orlix Manager application. The files could be corrupted or missing.";
// How long a restarted application must stay up for the crash before it to be forgotten; a loop of
// restarts never does.
constexpr std::uint64_t kCrashForgottenAfterMs = 10'000;
constexpr int kStopSeconds = 5; // for the application to end by itself
constexpr int kKillSeconds = 1; // for the system to end it

std::vector<std::string> managerArguments(
    const std::string& rootFolder, const std::string& moduleSocketPath,
    const std::string& pluginSocketPath)
{
    return {
        rootFolder + manager_files::kBinFolder + "/" + kManagerExecutable,
        protocol::kModuleSocketArgument,
        moduleSocketPath,
        protocol::kPluginSocketArgument,
        pluginSocketPath,
        protocol::kLogToFileArgument,
        ini().logToFile ? "1" : "0",
        protocol::kVerbosityArgument,
        std::to_string(ini().logVerbosityLevel)};
}

std::string nameOf(const AssignedModel& model)
{
    return model.name + " (" + model.id + ")";
}

// What a key's file holds, wiped however it is left.
struct KeyFile
{
    explicit KeyFile(const std::string& path) :
        bytes(readFile(path, &size))
    {}
    ~KeyFile() { OPENSSL_cleanse(bytes.get(), size); }
    KeyFile(const KeyFile&) = delete;
    KeyFile& operator=(const KeyFile&) = delete;

    std::size_t size = 0; // before what it is told by
    const std::unique_ptr<char[]> bytes; // null without a file
};

// False if there is no such log.
bool keepLog(const std::string& log, const std::string& copy)
{
    const auto path = pathFromUtf8(log);
    if (!std::filesystem::exists(path))
        return false;
    // Not by the option to overwrite, with which a library takes any two files of a system without
    // inodes for the same.
    std::filesystem::remove(pathFromUtf8(copy));
    std::filesystem::copy_file(path, pathFromUtf8(copy));
    return true;
}

// The next run overwrites its logs, so those of a crash are copied first.
void keepLogsOfCrash(const std::string& rootFolder)
{
    try
    {
        const std::string moduleLog = rootFolder + manager_files::kModuleLog;
        if (!keepLog(moduleLog, rootFolder + manager_files::kModuleCrashLog))
            log_info("Warning! Module log file does not exist: %s\n", moduleLog.c_str());
        const std::string engineLog = rootFolder + manager_files::kEngineLog;
        if (!keepLog(engineLog, rootFolder + manager_files::kEngineCrashLog))
            log_info("Warning! Engine log file does not exist: %s\n", engineLog.c_str());
    }
    catch (const std::exception& error)
    {
        log_info("Warning! Failed to create backup logfiles: %s\n", error.what());
    }
}

} // namespace

bool OrlixManagerInterface::mayStart() const
{
    return !m_hasCrashed || ini().restartOrlixManagerOnCrash;
}

void OrlixManagerInterface::start(
    const AssignedModels& assignedModels, const std::string& pluginSocketPath)
{
    if (m_stop.stop_requested())
        return;
    if (!mayStart())
    {
        log_info("Warning! Orlix Manager crash detected. Not restarting.\n");
        return;
    }
    ++m_startCount;
    m_lacksFiles = false;
    // Each second, as long as files are missing.
    log_warning("", "Starting Orlix Manager: Count: %zu\n", static_cast<std::size_t>(m_startCount));
    for (const auto& [id, model] : assignedModels)
    {
        if (!filesAreThere(model))
            return;
    }
    m_process = {}; // ends what is left of the run before
    // The job is there before the first copy is, so that none is left behind if this process ends.
    m_process = process_prepare(
        managerArguments(m_rootFolder, m_moduleSocketPath, pluginSocketPath), ini().logToConsole,
        &m_stderrPipe);
    if (!m_process.job)
    {
        startFailed(kCannotStart);
        return;
    }
    for (const auto& [id, model] : assignedModels)
    {
        if (model.encrypted && !decryptModel(model))
            return;
    }
    spawn();
}

bool OrlixManagerInterface::filesAreThere(const AssignedModel& model)
{
    m_lacksFiles = !fileExists(model.modelPath);
    if (m_lacksFiles)
    {
        log_warning(model.modelPath, "Error! Model file is missing: %s\n", model.modelPath.c_str());
        return startFailed(
            "Model file missing for " + nameOf(model) +
            ". This could be caused by failed downloads or invalid configuration.");
    }
    m_lacksFiles = model.encrypted && !fileExists(model.keyPath);
    return !m_lacksFiles || keyMissing(model);
}

bool OrlixManagerInterface::keyMissing(const AssignedModel& model)
{
    return startFailed(
        "Model key file missing for " + nameOf(model) +
        ". Logging into Orlix cloud or clicking the 'Manage Device' button, then restarting "
        "the mediaserver, might fix this error.");
}

bool OrlixManagerInterface::decryptModel(const AssignedModel& model)
{
    log_debug("Model %s is encrypted, decrypting...\n", model.id.c_str());
    const KeyFile key(model.keyPath);
    if (!key.bytes)
        return keyMissing(model);
    log_debug(
        "Decrypting model file %s with key %s to %s\n", model.modelPath.c_str(),
        model.keyPath.c_str(), model.runtimePath.c_str());
    const Outcome outcome =
        writeDecryptedCopy({key.bytes.get(), key.size}, model.modelPath, model.runtimePath);
    return outcome ||
        startFailed(
               "Failed to decrypt model " + nameOf(model) +
               " for Orlix Manager. File could be corrupted. " + outcome.why());
}

Outcome OrlixManagerInterface::writeDecryptedCopy(
    std::string_view key, const std::string& modelPath, const std::string& copyPath)
{
    const FileStream copy(file_open_private(copyPath.c_str()));
    if (!copy)
    {
        Outcome outcome = Outcome::failedAt(copyPath);
        log_error("Error opening output file: %s\n", copyPath.c_str());
        return outcome;
    }
    m_decryptedCopies.insert(copyPath);
    process_delete_at_end(m_process, copyPath, copy.get());
    return decryptModelFile(key, modelPath, copyPath, copy.get(), m_stop);
}

bool OrlixManagerInterface::startFailed(const std::string& text)
{
    log_warning(text, "Error! %s\n", text.c_str());
    m_process = {};
    deleteDecryptedCopies();
    if (!m_stop.stop_requested()) // which fails a decryption
        m_messageBoard->postMessage(board_key::kCouldNotStart, text, MessageType::warning);
    m_state = ManagerState::Failed;
    return false;
}

void OrlixManagerInterface::spawn()
{
    m_segments.endRun();
    if (!process_run(m_process))
    {
        startFailed(kCannotStart);
        return;
    }
    m_startTimeMs = time_now_ms();
    m_state = ManagerState::Running;
    log_debug("Orlix Manager started\n");
    m_messageBoard->removeMessage(board_key::kCouldNotStart);
}

void OrlixManagerInterface::stop(const AssignedModels& assignedModels)
{
    if (m_state == ManagerState::Stopped || m_state == ManagerState::Failed)
        return;
    log_info("Stopping Orlix Manager.\n");
    m_startCount = 0;
    m_hasCrashed = false;
    sendStop();
    m_state = ManagerState::Stopping;
    log_info("Waiting for Orlix Manager to stop.\n");
    ExitCode exitCode = process_wait(m_process, kStopSeconds);
    if (exitCode < 0)
    {
        log_info(
            "Warning! Orlix Manager did not exit gracefully: %d. Sending kill signal.\n",
            static_cast<int>(exitCode));
        process_kill(m_process);
        exitCode = process_wait(m_process, kKillSeconds);
        socket_unlink_stale(m_moduleSocketPath); // which the application cannot do any more
    }
    log_debug("Orlix Manager stopped with exit code %d\n", static_cast<int>(exitCode));
    m_state = ManagerState::Stopped;
    m_segments.endRun();
    for (const auto& [id, model] : assignedModels)
    {
        if (!model.encrypted)
            continue;
        // It is the decrypted copy; the word is as operators know it.
        log_info("Deleting encrypted file: %s\n", model.runtimePath.c_str());
        deleteFile(model.runtimePath);
    }
    deleteDecryptedCopies(); // of models that are not assigned any more
}

void OrlixManagerInterface::deleteDecryptedCopies()
{
    for (const std::string& copy : m_decryptedCopies)
        deleteFile(copy);
    m_decryptedCopies.clear();
}

ManagerState OrlixManagerInterface::checkRunning(
    const UtilityProviderPtr& provider, std::uint64_t nowMs)
{
    log_debug("Checking Orlix Manager running status\n");
    if (m_state == ManagerState::Stopped || m_state == ManagerState::Failed)
        return m_state;
    ExitCode exitCode = 0;
    if (process_is_running(m_process, exitCode))
    {
        log_debug("Orlix Manager running: %zu\n", static_cast<std::size_t>(m_startCount));
        m_state = ManagerState::Running;
        // Only a second start can have had a crash before it.
        if (m_startCount >= 2 && nowMs > m_startTimeMs + kCrashForgottenAfterMs)
            forgetCrash(provider);
        return m_state;
    }
    log_debug("Orlix Manager not running\n");
    if (m_state == ManagerState::Running) // who was told to stop may go
        reportCrash(exitCode);
    m_state = ManagerState::Stopped;
    m_process = {}; // ends what it has left running
    deleteDecryptedCopies();
    return m_state;
}

void OrlixManagerInterface::forgetCrash(const UtilityProviderPtr& provider)
{
    m_startCount = 1;
    m_messageBoard->removeMessage(board_key::kManagerCrash);
    if (provider)
        patchRuntimeActive(provider, true);
}

void OrlixManagerInterface::reportCrash(ExitCode exitCode)
{
    m_hasCrashed = true;
    const std::string lastWords = pipe_read_text(m_stderrPipe).value_or(std::string());
    log_info(
        "Detected Orlix Manager crash Exit status: %d Error: \n%s\n", static_cast<int>(exitCode),
        lastWords.c_str());
    keepLogsOfCrash(m_rootFolder);
    m_messageBoard->postMessage(
        board_key::kManagerCrash,
        "Detected Orlix Manager crash. This could indicate a problem with your device. Contact "
        "support.\n" +
            lastWords,
        MessageType::warning);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
