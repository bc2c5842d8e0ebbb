#include "runtimes/runtimes_manager.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "remote/file_helpers.h"
#include "runtimes/chip_catalogue.h"
#include "utils/files.h"
#include "utils/log.h"
#include "utils/log_rarely.h"
#include "utils/paths.h"
#include "utils/platform_names.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

constexpr char kInstalledRuntimeFile[] = "installed_runtime.txt";
constexpr char kOpenMpLibrary[] = "libgomp.so";

bool canBeOpened(const std::string& path)
{
    return FileStream(file_open_read(path.c_str())) != nullptr;
}

// No longer than a name can be.
std::string firstLine(std::FILE* file)
{
    constexpr std::size_t kMaxSize = 255;
    std::string line;
    for (int c = std::fgetc(file); c != EOF && c != '\n' && line.size() < kMaxSize;
         c = std::fgetc(file))
        line += static_cast<char>(c);
    return line;
}

} // namespace

RuntimesManager::RuntimesManager(std::string binDirectory, std::stop_token stop) :
    m_binDirectory(std::move(binDirectory)),
    m_stop(std::move(stop)),
    m_machineInfo(readMachineInfo())
{}

void RuntimesManager::initialise(MessageBoard& messageBoard)
{
    if (m_binDirectory.empty())
    {
        log_info(
            "ERROR: The bin directory path is empty. Please make sure the bin directory of the Orlix Manager is supplied.\n");
        return;
    }
    log_info("Initializing Runtimes Manager\n");
    setStatus(RuntimeStatus::notSelected);
    m_machineInfo = readMachineInfo();

    if (!machineIsFit(messageBoard))
        return;
    detectChips(messageBoard);
    indexRuntimes();
    printMachine();
}

bool RuntimesManager::machineIsFit(MessageBoard& messageBoard) const
{
    const CpuArchitecture architecture = m_machineInfo.getCpuArchitecture();
    if (m_machineInfo.getOsName() == "Unknown" || architecture == CpuArchitecture::Unknown)
    {
        log_info(
            "Error: The OS name or CPU architecture are not extracted correctly from the system.\n");
        return false;
    }
    if (architecture == CpuArchitecture::X86_64 && !supportsAvx2())
    {
        messageBoard.postMessage(
            board_key::kMissingAvx2,
            "AVX2 is not supported on this machine. As a result, no runtime is compatible. Please ensure that your hardware supports AVX2 if you wish to use AI runtimes.",
            MessageType::warning);
        return false;
    }
    if (!hasSystemLibrary(kOpenMpLibrary))
    {
        messageBoard.postMessage(
            board_key::kMissingLibgomp,
            "libgomp is not installed on this machine. Please install it and restart the Tavo server to be able to use AI runtimes.",
            MessageType::warning);
        return false;
    }
    return true;
}

void RuntimesManager::detectChips(MessageBoard& messageBoard)
{
    m_runtimeToChip.clear();
    m_chips.clear();
    for (const ChipFamily& family : chipFamilies())
        m_chips.push_back(detectChip(family, m_machineInfo, messageBoard));
}

void RuntimesManager::indexRuntimes()
{
    for (const Chip& chip : m_chips)
    {
        for (const std::string& name : chip.listRuntimes(/*mimeType*/ {}))
            m_runtimeToChip[name] = &chip;
    }
}

void RuntimesManager::printMachine() const
{
    log_info("Runtimes Manager initialized.\n");
    log_info("Machine Info:\n");
    // Printed from a description that nothing fills, as operators know it: the fields are empty.
    const MachineInfo unfilled;
    log_info(
        "OS Name: %s, OS Version: %s, CPU Architecture: %s\n", unfilled.getOsName().c_str(),
        unfilled.getOsVersion().c_str(), architectureText(unfilled.getCpuArchitecture()));
    std::map<int, const Chip*> chips; // by their places
    for (std::size_t i = 0; i < m_chips.size(); ++i)
        chips[chipFamilies()[i].printPlace] = &m_chips[i];
    for (const auto& [place, chip] : chips)
        chip->printChipInfo();
}

std::vector<std::string> RuntimesManager::getCompatibleRuntimes(const std::string& mimeType)
{
    std::vector<std::string> names;
    for (const auto& [name, chip] : m_runtimeToChip)
    {
        if (mimeType.empty())
        {
            names.push_back(name);
            continue;
        }
        const std::vector<std::string> fitting = chip->listRuntimes(mimeType);
        names.insert(names.end(), fitting.begin(), fitting.end());
    }
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    if (names.empty())
    {
        log_info("ERROR: Couldn't find any compatible runtime.\n");
        setStatus(RuntimeStatus::noneCompatible);
    }
    return names;
}

bool RuntimesManager::isRuntimeInstalled() const
{
    const std::string inSubfolder = path_join(m_binDirectory, kGenericCpuRuntime, kRuntimeLibrary);
    if (!canBeOpened(fileInBin(kRuntimeLibrary)) && !canBeOpened(inSubfolder))
        return false;
    if (canBeOpened(fileInBin(kInstalledRuntimeFile)))
        return true;
    log_info(
        "Warning: Runtime library exists but installed_runtime.txt is missing. The runtime is not properly installed.\n");
    return false;
}

bool RuntimesManager::uninstall()
{
    const bool libraryRemoved = removeFile(fileInBin(kRuntimeLibrary));
    const bool nameRemoved = removeFile(fileInBin(kInstalledRuntimeFile));
    if (libraryRemoved && nameRemoved)
    {
        log_info("Succesfully removed runtime library.\n");
        setStatus(RuntimeStatus::notSelected);
        return true;
    }
    log_info("Warning! Failed to remove library files.\n");
    return false;
}

void RuntimesManager::forgetInstalledRuntime(MessageBoard& messageBoard)
{
    std::string name;
    {
        const MutexLock lock(m_namesMutex);
        name.swap(m_installedRuntimeName);
    }
    messageBoard.removeMessage(board_key::kRuntimeDocumentation + name);
    messageBoard.removeMessage(board_key::kRuntimeExtractionFailed);
}

void RuntimesManager::saveInstalledRuntimeName(const std::string& runtimeName)
{
    {
        const MutexLock lock(m_namesMutex);
        m_installedRuntimeName = runtimeName;
    }
    if (!replaceFile(fileInBin(kInstalledRuntimeFile), runtimeName))
        log_info("ERROR: Failed to save the installed runtime's name.\n");
    m_runtimeChanged.store(true);
}

std::string RuntimesManager::getInstalledRuntimeName() const
{
    {
        const MutexLock lock(m_namesMutex);
        if (!m_installedRuntimeName.empty())
            return m_installedRuntimeName;
    }
    const FileStream file(file_open_read(fileInBin(kInstalledRuntimeFile).c_str()));
    if (!file)
        log_warning("", "Warning: There is no installed runtime on this machine.\n");
    std::string name = file ? firstLine(file.get()) : std::string();
    const MutexLock lock(m_namesMutex);
    if (m_installedRuntimeName.empty()) // by now it may have been saved
        m_installedRuntimeName = std::move(name);
    return m_installedRuntimeName;
}

std::string RuntimesManager::getMimeType(const std::string& runtimeName) const
{
    if (runtimeName.empty())
    {
        log_warning("", "Warning: There is no installed runtime on this machine.");
        return {};
    }
    const auto chip = m_runtimeToChip.find(runtimeName);
    if (chip == m_runtimeToChip.end())
    {
        log_info("ERROR: Invalid runtime name.\n");
        return {};
    }
    return chip->second->getFirstMimeType(runtimeName);
}

std::vector<std::string> RuntimesManager::availableRuntimes() const
{
    const MutexLock lock(m_namesMutex);
    return m_availableRuntimes;
}

void RuntimesManager::setAvailableRuntimes(std::vector<std::string> names)
{
    const MutexLock lock(m_namesMutex);
    m_availableRuntimes = std::move(names);
}

void RuntimesManager::chooseRuntime(std::string name)
{
    {
        const MutexLock lock(m_namesMutex);
        m_chosenRuntime = std::move(name);
    }
    setStatus(RuntimeStatus::chosen);
}

std::string RuntimesManager::chosenRuntime() const
{
    const MutexLock lock(m_namesMutex);
    return m_chosenRuntime;
}

std::string RuntimesManager::fileInBin(const std::string& name) const
{
    return path_join(m_binDirectory, name);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
