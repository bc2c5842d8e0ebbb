#pragma once

#include <atomic>
#include <map>
#include <stop_token>
#include <string>
#include <vector>

#include "base/message_board.h"
#include "base/outcome.h"
#include "runtimes/chip.h"
#include "runtimes/machine_info.h"
#include "runtimes/runtime_status.h"
#include "utils/mutex.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// The inference runtime of this machine: which could be used, which is installed, and how it comes
// and goes. A runtime is a shared library with its companions, unpacked into the bin folder of the
// manager application. Failures are told by the status, the log and the board; nothing throws.
//
// Threads: initialise runs on the thread that constructs the engine; all other operations on the
// runtime loop's, except that a user's choice (chooseRuntime, setStatus) comes from a host thread
// and that the state, the names and mime types may be read from any.
class RuntimesManager
{
public:
    // `stop` ends a download and an unpacking.
    explicit RuntimesManager(std::string binDirectory, std::stop_token stop = {});
    RuntimesManager(const RuntimesManager&) = delete;
    RuntimesManager& operator=(const RuntimesManager&) = delete;

    // Detects the accelerators of this machine. If it ends early, nothing is ever offered.
    void initialise(MessageBoard& messageBoard);

    // Names of the offered runtimes that run `mimeType`, all for an empty one, in ascending byte
    // order. None sets the status to noneCompatible.
    [[nodiscard]] std::vector<std::string> getCompatibleRuntimes(const std::string& mimeType);

    // Looks for the files only: the library is not loaded.
    [[nodiscard]] bool isRuntimeInstalled() const;

    // Downloads and unpacks a runtime, whole or not at all; the status tells the outcome. A package
    // that does not unpack is deleted. Blocks for as long as it takes. With `useSubfolder` it goes
    // into a folder of its own name below the bin folder.
    void install(const std::string& runtimeName, MessageBoard& messageBoard, bool useSubfolder);

    // Removes the library and the file with its name; success sets the status to notSelected. Other
    // files of the package stay until the next package overwrites them. False if one stays.
    bool uninstall();

    // After an uninstall: what is known of the runtime, and what the board says of it.
    void forgetInstalledRuntime(MessageBoard& messageBoard);

    // Whether the last install failed in a way that leaves the name of the installed runtime what
    // it is: the package did not unpack, or there is a library that is not the new one's.
    [[nodiscard]] bool installedNameStays() const { return m_installedNameStays; }

    void saveInstalledRuntimeName(const std::string& runtimeName);

    // Empty if there is none. Kept by an uninstall, until the next save.
    [[nodiscard]] std::string getInstalledRuntimeName() const;

    // The main mime type of an offered runtime; empty, with the reason logged, for any other name.
    [[nodiscard]] std::string getMimeType(const std::string& runtimeName) const;

    [[nodiscard]] RuntimeStatus status() const { return m_status.load(); }
    void setStatus(RuntimeStatus status) { m_status.store(status); }

    // True from the start, and after each saved runtime name, until the loop has applied it.
    [[nodiscard]] bool runtimeChanged() const { return m_runtimeChanged.load(); }
    void clearRuntimeChanged() { m_runtimeChanged.store(false); }

    // The list offered to the user.
    [[nodiscard]] std::vector<std::string> availableRuntimes() const;
    void setAvailableRuntimes(std::vector<std::string> names);

    // The runtime that the user picked; sets the status to chosen.
    void chooseRuntime(std::string name);
    [[nodiscard]] std::string chosenRuntime() const;

private:
    [[nodiscard]] bool machineIsFit(MessageBoard& messageBoard) const;
    void detectChips(MessageBoard& messageBoard);
    void indexRuntimes();
    void printMachine() const;

    [[nodiscard]] std::string fileInBin(const std::string& name) const;
    Outcome fetchPackage(
        const std::string& runtimeName, const std::string& packagePath, MessageBoard& board);
    Outcome makeSubfolder(const std::string& folder) const;
    Outcome unpackPackage(
        const std::string& runtimeName, const std::string& packagePath, const std::string& folder,
        bool useSubfolder, MessageBoard& board);
    [[nodiscard]] bool removeFile(const std::string& path) const;

    bool m_installedNameStays = false; // the loop thread's
    const std::string m_binDirectory;
    const std::stop_token m_stop;
    MachineInfo m_machineInfo;
    std::atomic<RuntimeStatus> m_status{RuntimeStatus::notSelected};
    std::atomic<bool> m_runtimeChanged{true};

    mutable Mutex m_namesMutex;
    std::vector<std::string> m_availableRuntimes GUARDED_BY(m_namesMutex);
    std::string m_chosenRuntime GUARDED_BY(m_namesMutex);
    mutable std::string m_installedRuntimeName
        GUARDED_BY(m_namesMutex); // empty until read or saved

    // Constant after initialise.
    std::vector<Chip> m_chips; // in the order of chipFamilies()
    std::map<std::string, const Chip*> m_runtimeToChip; // who offers it; not owned
};

} // namespace tavo::vms_server_plugins::analytics::orlix
