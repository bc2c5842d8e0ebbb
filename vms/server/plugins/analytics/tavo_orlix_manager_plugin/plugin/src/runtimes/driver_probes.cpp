#include "runtimes/driver_probes.h"

#include <algorithm>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "utils/command.h"
#include "utils/log.h"
#include "utils/machine.h"
#include "utils/platform_names.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

// Regular expressions recurse over their text; what a tool has to say stands at its beginning.
constexpr std::size_t kMaxToolOutput = 4096;

CommandResult runTool(const char* commandLine)
{
    CommandResult result = runCommand(commandLine);
    result.output.resize(std::min(result.output.size(), kMaxToolOutput));
    return result;
}

std::vector<int> versionPieces(const std::string& version)
{
    std::vector<int> pieces;
    std::istringstream stream(version);
    for (std::string piece; std::getline(stream, piece, '.');)
        pieces.push_back(std::stoi(piece));
    return pieces;
}

// The first group of every match.
std::vector<std::string> firstGroups(const std::string& text, const char* expression)
{
    std::vector<std::string> groups;
    const std::regex regex(expression);
    for (std::sregex_iterator match(text.begin(), text.end(), regex), end; match != end; ++match)
        groups.push_back((*match)[1]);
    return groups;
}

} // namespace

int compareVersions(const std::string& a, const std::string& b)
{
    std::vector<int> left = versionPieces(a);
    std::vector<int> right = versionPieces(b);
    const std::size_t count = std::max(left.size(), right.size());
    left.resize(count);
    right.resize(count);
    if (left == right)
        return 0;
    return left > right ? 1 : -1;
}

const char* findSupportedVersion(std::span<const char* const> supported, const std::string& version)
{
    try
    {
        const auto found = std::find_if(
            supported.begin(), supported.end(),
            [&](const char* entry) { return compareVersions(version, entry) == 0; });
        return found == supported.end() ? nullptr : *found;
    }
    catch (const std::logic_error&)
    {
        return nullptr;
    }
}

void probeDeepxDriver(Chip& chip)
{
    chip.detected = false;
    chip.correctlyInstalled = false;
    if (runCommand("dxrt-cli --status").exitCode != 0)
    {
        log_info("DEEPX driver not installed or there are no DEEPX chips detected.\n");
        return;
    }
    chip.detected = true;

    const CommandResult information = runTool("dxrt-cli -i");
    if (information.exitCode != 0)
    {
        log_info("DEEPX driver not detected.\n");
        return;
    }
    static const std::regex kVersion(R"(DXRT v([0-9]+)\.([0-9]+)\.([0-9]+))");
    std::smatch match;
    if (!std::regex_search(information.output, match, kVersion))
    {
        log_info("DEEPX driver version not detected.\n");
        return;
    }
    chip.driverVersion = match[1].str() + "." + match[2].str() + "." + match[3].str();

    const char* const supported = findSupportedVersion(kDeepxSupportedVersions, chip.driverVersion);
    if (!supported)
    {
        log_info("DEEPX driver version %s is not supported.\n", chip.driverVersion.c_str());
        return;
    }
    chip.driverVersion = std::string("dxrt-v") + supported;
    chip.correctlyInstalled = true;
}

void probeHailoDriver(HailoChip& chip)
{
    const std::vector<std::string> devices = listHailoDevices();
    chip.detected = !devices.empty();
    chip.numberOfChips = static_cast<int>(devices.size());
    if (!chip.detected)
        return;
    chip.hailoType = identifyHailoDevice();
    chip.driverVersion = readHailoDriverVersion();
    chip.correctlyInstalled =
        findSupportedVersion(kHailoSupportedVersions, chip.driverVersion) != nullptr;
}

std::vector<std::string> listHailoDevices()
{
    return list_files(kHailoDeviceFolder);
}

int identifyHailoDevice()
{
    const CommandResult result = runTool("hailortcli fw-control identify");
    if (result.exitCode != 0)
    {
        log_info("Notice: Failed to run: 'hailortcli fw-control identify'\n");
        log_info("stdout/stderr: %s\n", result.output.c_str());
        return 0;
    }
    for (const std::string& name : firstGroups(result.output, R"(Device Architecture: (\w+))"))
    {
        if (name == "HAILO8")
            return 1;
        if (name == "HAILO8L")
            return 2;
    }
    return 0;
}

std::string readHailoDriverVersion()
{
    const CommandResult result = runTool("hailortcli -v");
    if (result.exitCode != 0)
    {
        log_info("Notice: Failed to run: 'hailortcli -v'\n");
        log_info("stdout/stderr: %s\n", result.output.c_str());
        return {};
    }
    const std::vector<std::string> versions =
        firstGroups(result.output, R"(HailoRT-CLI version (\d+\.\d+\.\d+))");
    if (versions.size() != 1)
    {
        log_info("Notice: Failed to parse the driver version from the output of 'hailortcli -v'\n");
        return {};
    }
    return versions.front();
}

} // namespace tavo::vms_server_plugins::analytics::orlix
