// The NVIDIA probe of driver_probes.h. Its texts name the registry on every system: they are those
// of Windows, whose list of PCI devices lies there.

#include <array>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>

#include <tavo/kit/debug.h>

#include "base/deployment.h"
#include "remote/text_helpers.h"
#include "runtimes/driver_probes.h"
#include "utils/command.h"
#include "utils/files.h"
#include "utils/json.h"
#include "utils/log.h"
#include "utils/machine.h"
#include "utils/paths.h"
#include "utils/platform_names.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

constexpr std::uint16_t kNvidiaVendor = 0x10DE;
constexpr std::size_t kMaxVariableSize = 1023;
constexpr std::size_t kMaxPathSize = 32766;

struct CudaToolkit
{
    std::string path;
    std::string version;
};

std::string sdkText()
{
    return std::string(
               "Something is wrong with the NVIDIA GPU SDK installation. Please install it by following the instructions at: ") +
        kNvidiaSupportLink;
}

std::string toLower(std::string text)
{
    for (char& c : text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

// The file holds {"cuda": {"version": "12.4.0"}}.
std::string versionInFile(const std::string& path)
{
    const FileStream file(file_open_read(path.c_str()));
    if (!file)
        return {};
    const JsonDocument document(yyjson_read_fp(file.get(), YYJSON_READ_NOFLAG, nullptr, nullptr));
    yyjson_val* const cuda = jsonMember(yyjson_doc_get_root(document.get()), "cuda");
    return std::string(jsonText(jsonMember(cuda, "version")));
}

// Where the path does not tell the version, the toolkit's own file does, and at last the one of the
// default place.
std::optional<CudaToolkit> findCudaToolkit()
{
    const std::string defaultFile = kCudaVersionFile;
    const auto defaultVersion = [&defaultFile]
    { return defaultFile.empty() ? std::string() : versionInFile(defaultFile); };

    const std::string path = machine_environment("CUDA_PATH");
    if (!path.empty() && path.size() <= kMaxVariableSize)
    {
        std::string version = cudaVersionInPath(path);
        if (version.empty())
            version = versionInFile(path_join(path, "version.json"));
        if (version.empty())
            version = defaultVersion();
        return CudaToolkit{path, version};
    }
    const std::string version = defaultVersion();
    if (version.empty())
        return std::nullopt;
    return CudaToolkit{defaultFile.substr(0, defaultFile.rfind(kPathSeparator)), version};
}

// A path that cannot be read is let pass.
bool toolkitIsInPath(const std::string& toolkitPath)
{
    const std::string path = machine_environment("PATH");
    if (path.empty() || path.size() > kMaxPathSize)
    {
        log_info("Failed to read the PATH environment variable.\n");
        return true;
    }
    if (toLower(path).find(toLower(toolkitPath)) == std::string::npos)
    {
        log_info(
            "CUDA Toolkit path '%s' is not in the PATH environment variable.\n",
            toolkitPath.c_str());
        return false;
    }
    log_info("CUDA Toolkit path found in PATH environment variable.\n");
    return true;
}

void reportMissingDriver(MessageBoard& board)
{
    log_info("nvidia-smi not found or not working properly.\n");
    log_info(
        "Please download and install the NVIDIA GPU drivers from the following URL: %s\n",
        kNvidiaDriverLink);
    board.postMessage(board_key::kNvidiaGpuSdk, sdkText(), MessageType::message);
}

void reportMissingToolkit(MessageBoard& board)
{
    log_info("CUDA_PATH environment variable not found. CUDA Toolkit may not be installed.\n");
    log_info("Please install the CUDA Toolkit compatible with your NVIDIA driver.\n");
    log_info(
        "You can download and install the CUDA Toolkit from the NVIDIA CUDA Toolkit archive.\n");
    log_info("Once the installation is complete, please restart the Tavo server.\n");
    board.postMessage(board_key::kNvidiaGpuSdk, sdkText(), MessageType::message);
}

void reportToolkitNotInPath(const std::string& toolkitPath, MessageBoard& board)
{
    board.postMessage(
        board_key::kNvidiaGpuSdk,
        "The CUDA Toolkit path is not in the PATH environment variable. Please add '" +
            toolkitPath + kPathSeparator +
            "bin' to the PATH environment variable and restart the Tavo server. For more information, follow the instructions at: " +
            kNvidiaSupportLink,
        MessageType::warning);
}

} // namespace

bool findNvidiaPciDevice()
{
    std::vector<PciDevice> devices;
    int systemError = 0;
    if (!machine_pci_devices(devices, systemError))
    {
        kit::printLine("Failed to open PCI registry key, status=" + std::to_string(systemError));
        return false;
    }
    for (const PciDevice& device : devices)
    {
        if (device.vendor == kNvidiaVendor)
        {
            print_out("Found NVIDIA device key: %s\n", device.key.c_str());
            return true;
        }
    }
    print_out("No NVIDIA PCI device (VEN_10DE) found in registry.\n");
    return false;
}

std::string cudaVersionInPath(std::string_view path)
{
    while (!path.empty())
    {
        const std::size_t separator = path.find_last_of("\\/");
        const std::string_view name = path.substr(separator + 1); // of the whole without one
        if (name.size() > 1 && name[0] == 'v' && name[1] >= '0' && name[1] <= '9')
            return std::string(name.substr(1));
        path = path.substr(0, separator == std::string_view::npos ? 0 : separator);
    }
    return {};
}

std::string cudaDriverTag(const std::string& version)
{
    constexpr std::string_view kPrefix = "cuda_";
    for (const std::string_view tag : {"cuda_13", "cuda_12", "cuda_11"})
    {
        if (version.starts_with(tag.substr(kPrefix.size())))
            return std::string(tag);
    }
    return {};
}

void probeNvidiaDriver(Chip& chip, MessageBoard& messageBoard)
{
    if (!findNvidiaPciDevice())
    {
        log_info("NVIDIA GPU not found.\n");
        return;
    }
    probeNvidiaTools(chip, messageBoard);
}

void probeNvidiaTools(Chip& chip, MessageBoard& messageBoard)
{
    if (runCommand("nvidia-smi").exitCode != 0)
        return reportMissingDriver(messageBoard);
    chip.detected = true;

    const auto toolkit = findCudaToolkit();
    if (!toolkit)
        return reportMissingToolkit(messageBoard);
    log_info("Found CUDA_PATH: %s\n", toolkit->path.c_str());
    if (!toolkitIsInPath(toolkit->path))
        return reportToolkitNotInPath(toolkit->path, messageBoard);

    const std::string tag = cudaDriverTag(toolkit->version);
    if (tag.empty())
    {
        log_info(
            "CUDA version '%s' not supported (only 11, 12, or 13 are supported).\n",
            oneLine(toolkit->version).c_str());
        return;
    }
    chip.driverVersion = tag;

    const CommandResult count = runCommand("nvidia-smi --query-gpu=count --format=csv,noheader");
    if (count.exitCode != 0)
    {
        log_info("The number of NVIDIA GPUs cannot be determined.\n");
        messageBoard.postMessage(board_key::kNvidiaGpuSdk, sdkText(), MessageType::warning);
        return;
    }
    chip.numberOfChips = textToInt(count.output, 0);
    messageBoard.removeMessage(board_key::kNvidiaGpuSdk);
    chip.correctlyInstalled = true;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
