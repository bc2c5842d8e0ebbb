#pragma once

#include <string>
#include <vector>

#include <tavo/kit/ini_config.h>

namespace tavo::vms_server_plugins::analytics::orlix
{

// The plugin's only local configuration: a small file of options for support and development. What
// a user sets in normal use comes from the host or the cloud. Read once, at the first use of ini();
// a changed file takes effect when the library is next loaded. Fields are read without a lock and
// bear the names that they have in the file.
class Ini : public kit::IniConfig
{
public:
    Ini();

    // What of the file could not be used, as the file's reader or the plugin sees it.
    struct Problem
    {
        std::string option; // empty: no option, but a line or the file
        std::string text; // with what is used instead
    };
    std::vector<Problem> problems;

    bool enableOutput;
    bool logToConsole;
    bool logToFile;
    bool sendFramesOverride;
    bool restartOrlixManagerOnCrash;
    bool cacheRuntimeArchives;
    bool enableAmbarellaIntegration;
    bool verifyCertificates; // of downloads; those of the cloud are always checked
    const char* CloudAPI;
    const char* DeviceAdminOverride;
    const char* RuntimesStorageURL; // empty: the built-in one
    const char* OrlixManagerStorageURL; // of a folder; empty: the built-in one
    const char* WorkingDirectory; // empty: a folder in the host's
    const char* caBundle; // a file in PEM; empty: the system's authorities
    int logVerbosityLevel; // 0 to 2
    int modelDownloadSeconds; // 1 or more
    int HTTPRequestTimeout; // in seconds, 1 or more

private:
    void mendNumber(const char* option, int& field, int lowest, int highest, int used);
    void mendWorkingDirectory();
};

// The one instance. Only a test writes to it.
Ini& ini();

} // namespace tavo::vms_server_plugins::analytics::orlix
