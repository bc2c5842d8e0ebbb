#pragma once

#include <cstdint>
#include <string>

#include "diagnosis/findings.h"
#include "runtimes/machine_info.h"
#include "utils/place.h"

// What the library would find and do on this machine, each subject a function of its own that adds
// to the findings. None needs a host or an application, changes anything that lasts, or connects to
// a socket of theirs. Nothing throws but for want of memory.

namespace tavo::vms_server_plugins::analytics::orlix
{

// Where the library works.
struct Surroundings
{
    std::string workingDirectory;
    std::string temporaryFolder; // empty: the system has none
    std::string logs; // what the library's log files say, the oldest first
};

[[nodiscard]] Surroundings readSurroundings(std::string workingDirectory);

inline constexpr const char* kLogFiles[] = {
    "orlix_plugin_start.log", "orlix_plugin.log.old", "orlix_plugin.log"};

// A file's text; empty, without a word, when there is none.
[[nodiscard]] std::string textOfFile(const std::string& path);

// At once, without a tool or a server.
void checkMachine(Findings& out, const MachineInfo& machine, bool hasAvx2, bool hasOpenMp);
void checkFolders(Findings& out, const Surroundings& surroundings);
void checkOptions(Findings& out);
void checkInstallation(Findings& out, const Surroundings& surroundings);

// A folder that has to have so many bytes free; one of the sockets.
void checkFolder(
    Findings& out, const std::string& subject, const std::string& path, const Place& place,
    std::uint64_t needed);
void checkSocket(Findings& out, const std::string& path, const Place& place);

// Takes the lock of the plugin socket for a moment if its file is there and nobody holds it. False
// if a host does.
[[nodiscard]] bool checkSockets(Findings& out, const Surroundings& surroundings);

// Runs the vendors' tools, each cut as in the library. The log is nobody else's meanwhile.
void checkAccelerators(Findings& out);

// Asks storage and cloud, with and without a look at their certificates, for HTTPRequestTimeout
// each.
void checkServers(Findings& out);

// Whether each model of the settings file can be used; encrypted ones are decrypted to nowhere.
void checkModels(Findings& out, const Surroundings& surroundings);

void checkLastCrash(Findings& out, const Surroundings& surroundings);

// What earlier runs have left, when no host runs.
void checkLeft(Findings& out, const Surroundings& surroundings);

// All of the above, the machine first and what happened last at the end.
[[nodiscard]] Findings checkAll(const Surroundings& surroundings);

// Those that answer at once, but for the options: some lines for the log's beginning.
[[nodiscard]] Findings checkSurroundings(const Surroundings& surroundings);

} // namespace tavo::vms_server_plugins::analytics::orlix
