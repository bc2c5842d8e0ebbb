// orlix_doctor: what the library would find and do on this machine, without a host.

#include <cstdio>
#include <exception>
#include <string>
#include <string_view>

#include "base/ini.h"
#include "diagnosis/bundle.h"
#include "diagnosis/checks.h"
#include "utils/machine.h"
#include "utils/sockets.h"

namespace
{

using namespace tavo::vms_server_plugins::analytics::orlix;

constexpr int kFailed = 3; // 0 to 2 tell of the machine

constexpr char kUsage[] =
    R"(usage: orlix_doctor [--json] [--bundle FILE.tar.gz] [--working-directory FOLDER]
Tells what the Orlix Manager plugin would find and do on this machine. To be run as the user that the
host runs as, with the environment of its service. Needs neither host nor application.

  --json                      for programs
  --bundle FILE.tar.gz        packs that, the logs and the settings into an archive for support, without
                              tokens, keys, passwords and names; says what is in it
  --working-directory FOLDER  where the plugin works: WorkingDirectory of the ini file, else
                              tavo_orlix_manager in the home folder

exit code: 0 all is good, 1 something wants attention, 2 something is bad, 3 the call makes no sense
or the archive could not be made
)";

std::string defaultWorkingDirectory()
{
    if (*ini().WorkingDirectory)
        return ini().WorkingDirectory;
    std::string home = machine_environment("HOME");
    if (home.empty())
        home = machine_environment("USERPROFILE");
    return home + "/tavo_orlix_manager";
}

int pack(const std::string& path, const Surroundings& surroundings, const Findings& findings)
{
    const Bundle bundle = makeBundle(path, surroundings, findings.text());
    if (!bundle.failure.empty())
    {
        std::fprintf(stderr, "error: no archive was made: %s\n", bundle.failure.c_str());
        return kFailed;
    }
    std::fprintf(stderr, "In %s:\n", path.c_str());
    for (const std::string& file : bundle.files)
        std::fprintf(stderr, "    %s\n", file.c_str());
    std::fprintf(stderr, "Taken out:%s\n", bundle.takenOut.empty() ? " nothing" : "");
    for (const auto& [kind, count] : bundle.takenOut)
        std::fprintf(stderr, "    %s: %d times\n", kind.c_str(), count);
    return findings.exitCode();
}

int run(int count, char** arguments)
{
    bool asJson = false;
    std::string bundle;
    std::string workingDirectory;
    for (int i = 1; i < count; ++i)
    {
        const std::string_view name = arguments[i];
        const bool hasValue = i + 1 < count;
        if (name == "--help")
            return std::fputs(kUsage, stdout) < 0 ? kFailed : 0;
        if (name == "--json")
            asJson = true;
        else if (name == "--bundle" && hasValue)
            bundle = arguments[++i];
        else if (name == "--working-directory" && hasValue)
            workingDirectory = arguments[++i];
        else
            return std::fputs(kUsage, stderr), kFailed;
    }
    const Surroundings surroundings =
        readSurroundings(workingDirectory.empty() ? defaultWorkingDirectory() : workingDirectory);
    const Findings findings = checkAll(surroundings);
    std::fputs((asJson ? findings.json() + "\n" : findings.text()).c_str(), stdout);
    std::fflush(stdout); // before what is told on standard error
    return bundle.empty() ? findings.exitCode() : pack(bundle, surroundings, findings);
}

} // namespace

int main(int count, char** arguments)
{
    try
    {
        sockets_start();
        return run(count, arguments);
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "error: %s\n", error.what());
        return kFailed;
    }
}
