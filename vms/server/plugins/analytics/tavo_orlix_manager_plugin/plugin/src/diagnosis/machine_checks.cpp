// What the machine is, and what of its accelerators the library would offer.

#include <chrono>
#include <filesystem>
#include <sstream>

#include "base/message_board.h"
#include "base/plugin_version.h"
#include "diagnosis/checks.h"
#include "diagnosis/ways_out.h"
#include "remote/text_helpers.h"
#include "runtimes/chip_catalogue.h"
#include "utils/folders.h"
#include "utils/log.h"
#include "utils/paths.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

// What is logged while it lives, in a folder that nobody else can have made.
class CapturedLog
{
public:
    CapturedLog()
    {
        std::error_code error;
        const bool isNew = std::filesystem::create_directory(pathFromUtf8(m_folder), error);
        log_init(m_path, m_path + ".rest", "", /*console*/ false, isNew, 1);
    }
    ~CapturedLog()
    {
        std::error_code error;
        log_close(); // also where the probe has thrown
        remove_tree(m_folder, error);
    }
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;

    // In one line, without their heads.
    [[nodiscard]] std::string lines() const
    {
        log_close();
        std::istringstream stream(textOfFile(m_path));
        std::string joined;
        for (std::string line; std::getline(stream, line);)
        {
            const std::size_t head = line.find(": ");
            if (head != std::string::npos)
                joined += "; " + oneLine(line.substr(head + 2));
        }
        return joined;
    }

private:
    const std::string m_folder = pathOfTemporary(
        "orlix_doctor_" +
        std::to_string(std::chrono::steady_clock::now().time_since_epoch().count()));
    const std::string m_path = path_join(m_folder, "log");
};

// Whether a runtime is offered.
bool checkFamily(Findings& out, const ChipFamily& family, const MachineInfo& machine)
{
    MessageBoard board;
    const CapturedLog log;
    const Chip chip = detectChip(family, machine, board);
    std::string saw = log.lines();
    for (const auto& [key, entry] : board.snapshot())
        saw += "; " + oneLine(entry.text);
    const bool isOffered = !chip.runtimes.empty();
    out.add(
        family.runtimeName,
        (isOffered           ? "offered"
             : chip.detected ? "found"
                             : "none here") +
            saw,
        {{chip.detected && !isOffered, Verdict::attention, "not offered", way_out::kDriver}});
    return isOffered;
}

} // namespace

void checkMachine(Findings& out, const MachineInfo& machine, bool hasAvx2, bool hasOpenMp)
{
    const CpuArchitecture architecture = machine.getCpuArchitecture();
    out.add("Library", kPluginVersion);
    out.add(
        "System", machine.getOsName() + " " + machine.getOsVersion(),
        {{machine.getOsName() == "Unknown", Verdict::bad, "which no runtime is offered for",
          way_out::kSystem}});
    out.add(
        "Processor", architectureText(architecture),
        {{architecture == CpuArchitecture::X86_64 && !hasAvx2, Verdict::bad,
          "lacks AVX2, without which no runtime works", way_out::kAvx2}});
    out.add(
        "OpenMP", "libgomp",
        {{!hasOpenMp, Verdict::bad, "is missing on this system", way_out::kOpenMp}});
}

void checkAccelerators(Findings& out)
{
    const MachineInfo machine = readMachineInfo();
    int offered = 0;
    for (const ChipFamily& family : chipFamilies())
        offered += checkFamily(out, family, machine) ? 1 : 0;
    out.add(
        "Runtimes", std::to_string(offered) + " offered",
        {{offered == 0, Verdict::bad, "so nothing can run", way_out::kNoRuntime}});
}

} // namespace tavo::vms_server_plugins::analytics::orlix
