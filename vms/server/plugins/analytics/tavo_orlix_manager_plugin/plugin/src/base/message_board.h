#pragma once

#include <string>
#include <string_view>
#include <unordered_map>

#include "utils/mutex.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

enum class MessageType : int
{
    message = 0,
    warning = 1,
};

// The board through which every part of the plugin talks to the user: texts under keys, shown as
// banners whenever a device's settings dialog is drawn. Posting under a key replaces what stood
// there, so a progress text follows itself and a condition that ends removes its own entry.
// Any thread may call. The mutex is a leaf: nothing but the log is called while it is held.
class MessageBoard
{
public:
    struct Entry
    {
        MessageType type = MessageType::message;
        std::string text;
    };
    using Entries = std::unordered_map<std::string, Entry>;

    void postMessage(const std::string& key, const std::string& text, MessageType type);

    // A key that is not there is no error.
    void removeMessage(const std::string& key);

    // Removes every entry of type warning, whoever posted it.
    void clearWarnings();

    // A copy, so that a dialog is built without the lock.
    [[nodiscard]] Entries snapshot() const;

private:
    mutable Mutex m_mutex;
    Entries m_entries GUARDED_BY(m_mutex);
};

// The keys. One that ends in an underscore takes a suffix, so that each subject has its own entry.
namespace board_key
{
inline constexpr char kResetDevice[] = "RESET_DEVICE";
inline constexpr char kClearCache[] = "CLEAR_CACHE";
inline constexpr char kClearCacheFailed[] = "CLEAR_CACHE_FAILED";
inline constexpr char kRetryDownloads[] = "RETRY_DOWNLOADS";
inline constexpr char kIniFile[] = "INI_FILE_"; // a number
inline constexpr char kPluginSocketTaken[] = "PLUGIN_SOCKET_TAKEN";
inline constexpr char kManagerCrash[] = "ORLIX_MANAGER_CRASH";
inline constexpr char kCouldNotStart[] = "COULD_NOT_START";
inline constexpr char kSettingsNotWritten[] = "SETTINGS_NOT_WRITTEN";
inline constexpr char kBrokenPreprocessors[] = "BROKEN_PREPROCESSORS";
inline constexpr char kBrokenPostprocessors[] = "BROKEN_POSTPROCESSORS";
inline constexpr char kNvidiaGpuSdk[] = "NVIDIA_GPU_SDK";
inline constexpr char kMissingAvx2[] = "MISSING_AVX2_ERROR";
inline constexpr char kMissingLibgomp[] = "MISSING_LIBGOMP_ERROR";
inline constexpr char kRuntimePackage[] = "RUNTIME_PACKAGE";
inline constexpr char kRuntimeExtraction[] = "RUNTIME_EXTRACTION";
inline constexpr char kRuntimeExtractionFailed[] = "RUNTIME_EXTRACTION_FAILED";
inline constexpr char kRuntimeDocumentation[] = "RUNTIME_DOCUMENTATION_"; // runtime name
inline constexpr char kManagerInstallFailed[] = "ORLIX_MANAGER_INSTALL_FAILED";
inline constexpr char kManagerDownload[] = "ORLIX_MANAGER";
inline constexpr char kModelDownloadProgress[] = "DOWNLOAD_PROGRESS_STRING";
inline constexpr char kModelDownloadFailed[] = "DOWNLOAD_MODEL_FAILED_"; // a path
inline constexpr char kNoCompatibleRuntime[] = "NO_COMPATIBLE_RUNTIME_"; // model id
inline constexpr char kFailedFetchPipelines[] = "FAILED_FETCH_PIPELINES_"; // device id
inline constexpr char kPipelinesAwaited[] = "PIPELINES_AWAITED_"; // device id
} // namespace board_key

} // namespace tavo::vms_server_plugins::analytics::orlix
