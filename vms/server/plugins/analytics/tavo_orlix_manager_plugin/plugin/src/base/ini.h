#pragma once

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
    int modelDownloadSeconds;
    int HTTPRequestTimeout; // in seconds
};

// The one instance. Only a test writes to it.
Ini& ini();

} // namespace tavo::vms_server_plugins::analytics::orlix
