#include "runtimes/driver_probes.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "runtimes/tool_output.h"
#include "utils/command.h"
#include "utils/log.h"
#include "utils/machine.h"
#include "utils/platform_names.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

std::vector<int> versionPieces(const std::string& version)
{
    std::vector<int> pieces;
    std::istringstream stream(version);
    for (std::string piece; std::getline(stream, piece, '.');)
        pieces.push_back(std::stoi(piece));
    return pieces;
}

// A value of Chip::hailoType.
int identifyHailoDevice()
{
    const CommandResult result = runCommand("hailortcli fw-control identify");
    if (result.exitCode != 0)
    {
        log_info("Notice: Failed to run: 'hailortcli fw-control identify'\n");
        log_info("stdout/stderr: %s\n", beginningOf(result.output).c_str());
        return 0;
    }
    return hailoTypeIn(result.output);
}

// Empty, with the reason logged, if it cannot be told.
std::string readHailoDriverVersion()
{
    const CommandResult result = runCommand("hailortcli -v");
    if (result.exitCode != 0)
    {
        log_info("Notice: Failed to run: 'hailortcli -v'\n");
        log_info("stdout/stderr: %s\n", beginningOf(result.output).c_str());
        return {};
    }
    std::string version = hailoVersionIn(result.output);
    if (version.empty())
        log_info("Notice: Failed to parse the driver version from the output of 'hailortcli -v'\n");
    return version;
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
    if (runCommand("dxrt-cli --status").exitCode != 0)
    {
        log_info("DEEPX driver not installed or there are no DEEPX chips detected.\n");
        return;
    }
    chip.detected = true;

    const CommandResult information = runCommand("dxrt-cli -i");
    if (information.exitCode != 0)
    {
        log_info("DEEPX driver not detected.\n");
        return;
    }
    const std::string version = deepxVersionIn(information.output);
    if (version.empty())
    {
        log_info("DEEPX driver version not detected.\n");
        return;
    }
    chip.driverVersion = version;

    const char* const supported = findSupportedVersion(kDeepxSupportedVersions, chip.driverVersion);
    if (!supported)
    {
        log_info("DEEPX driver version %s is not supported.\n", chip.driverVersion.c_str());
        return;
    }
    chip.driverVersion = std::string("dxrt-v") + supported;
    chip.correctlyInstalled = true;
}

void probeHailoDriver(Chip& chip, const std::string& deviceFolder)
{
    chip.numberOfChips = static_cast<int>(list_files(deviceFolder).size());
    chip.detected = chip.numberOfChips > 0;
    if (!chip.detected)
        return;
    chip.hailoType = identifyHailoDevice();
    chip.driverVersion = readHailoDriverVersion();
    chip.correctlyInstalled =
        findSupportedVersion(kHailoSupportedVersions, chip.driverVersion) != nullptr;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
