#include "base/ini.h"

#include "base/deployment.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

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
        &logVerbosityLevel, 1, "logVerbosityLevel",
        "0: No logging. 1: Basic logging. 2: Verbose logging.");
    regIntParam(
        &modelDownloadSeconds, 5, "modelDownloadSeconds",
        "This sets the timeout for the request when downloading a model. Increase this in environments with slow or unstable networking.");
    regIntParam(
        &HTTPRequestTimeout, 3, "HTTPRequestTimeout",
        "This sets the timeout for HTTP requests to the Orlix cloud API in seconds.");
    reload();
}

Ini& ini()
{
    static Ini instance;
    return instance;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
