#include "base/ini.h"

#include <limits>

#include "base/deployment.h"
#include "utils/paths.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

constexpr int kDefaultVerbosity = 1;
constexpr int kDefaultModelSeconds = 5;
constexpr int kDefaultRequestSeconds = 3;
constexpr int kNoLimit = std::numeric_limits<int>::max();

// The host's own reader of such files may keep none.
template <class Config, class Handler>
void forEachComplaint(const Config& config, Handler handle)
{
    if constexpr (requires { config.complaints(); })
    {
        for (const auto& complaint : config.complaints())
            handle(complaint.option, complaint.text);
    }
}

} // namespace

Ini::Ini() :
    IniConfig("tavo_orlix_manager_plugin.ini")
{
    regBoolParam(
        &enableOutput, false, "enableOutput",
        "If enabled, the TAVO SDK logging will be logged to console.");
    regBoolParam(
        &logToConsole, false, "logToConsole",
        "If enabled, the Orlix Plugin, ORLIX Manager and Inference Engine logs will be logged to console.");
    regBoolParam(
        &logToFile, true, "logToFile",
        "If enabled, the Orlix Plugin and ORLIX Manager logs will be logged to files.");
    regBoolParam(
        &sendFramesOverride, false, "sendFramesOverride",
        "If enabled, the Orlix Plugin will send frames to the Orlix Manager even when inactive.");
    regBoolParam(
        &restartOrlixManagerOnCrash, true, "restartOrlixManagerOnCrash",
        "If enabled, the Orlix Plugin automatically restart the Orlix Manager if it crashes.");
    regBoolParam(
        &cacheRuntimeArchives, false, "cacheRuntimeArchives",
        "If enabled, the Orlix Plugin will cache runtime archives. To force re-download, delete the relevant runtime archive.");
    regBoolParam(
        &enableAmbarellaIntegration, false, "enableAmbarellaIntegration",
        "If enabled, the Orlix Plugin will enable Ambarella integration, ie. offloading model inference to the Ambarella CV75 chip.");
    regBoolParam(
        &verifyCertificates, false, "verifyCertificates",
        "If enabled, the Orlix Plugin will check the certificates of the servers that it downloads from.");
    regStringParam(&CloudAPI, kDefaultCloudApi, "CloudAPI", "The URL of the ORLIX cloud.");
    regStringParam(
        &DeviceAdminOverride, "", "DeviceAdminOverride",
        "The base URL of the device admin. Affects popup browser window.");
    regStringParam(
        &RuntimesStorageURL, "", "RuntimesStorageURL",
        "URL of the storage containing the runtimes.");
    regStringParam(
        &OrlixManagerStorageURL, "", "OrlixManagerStorageURL",
        "URL of where to download the Orlix Manager. This link should only be to the directory; the filename will be programatically determined.");
    regStringParam(
        &WorkingDirectory, "", "WorkingDirectory",
        "Directory the plugin should use as its working directory. This includes logging files, Orlix Manager and model file downloads.");
    regStringParam(
        &caBundle, "", "caBundle",
        "File in PEM of the certificate authorities that are trusted in place of the system's.");
    regIntParam(
        &logVerbosityLevel, kDefaultVerbosity, "logVerbosityLevel",
        "0: No logging. 1: Basic logging. 2: Verbose logging.");
    regIntParam(
        &modelDownloadSeconds, kDefaultModelSeconds, "modelDownloadSeconds",
        "This sets the timeout for the request when downloading a model. Increase this in environments with slow or unstable networking.");
    regIntParam(
        &HTTPRequestTimeout, kDefaultRequestSeconds, "HTTPRequestTimeout",
        "This sets the timeout for HTTP requests to the Orlix cloud API in seconds.");
    reload();

    forEachComplaint(
        static_cast<const IniConfig&>(*this),
        [this](const std::string& option, const std::string& text) {
            problems.push_back({option, text});
        });
    mendNumber("logVerbosityLevel", logVerbosityLevel, 0, 2, kDefaultVerbosity);
    mendNumber("modelDownloadSeconds", modelDownloadSeconds, 1, kNoLimit, kDefaultModelSeconds);
    mendNumber("HTTPRequestTimeout", HTTPRequestTimeout, 1, kNoLimit, kDefaultRequestSeconds);
    mendWorkingDirectory();
}

void Ini::mendNumber(const char* option, int& field, int lowest, int highest, int used)
{
    if (field >= lowest && field <= highest)
        return;
    const std::string range = highest == kNoLimit
        ? std::to_string(lowest) + " or more"
        : std::to_string(lowest) + " to " + std::to_string(highest);
    problems.push_back(
        {option,
         std::string("option ") + option + " needs " + range + ", not " + std::to_string(field) +
             "; " + std::to_string(used) + " is used instead"});
    field = used;
}

// What it would be relative to is the host's to choose, and may be the root of the file system.
void Ini::mendWorkingDirectory()
{
    if (!*WorkingDirectory || pathFromUtf8(WorkingDirectory).is_absolute())
        return;
    problems.push_back(
        {"WorkingDirectory",
         std::string("option WorkingDirectory needs the whole path of a folder, not \"") +
             WorkingDirectory + "\"; tavo_orlix_manager in the host's folder is used instead"});
    WorkingDirectory = "";
}

Ini& ini()
{
    static Ini instance;
    return instance;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
