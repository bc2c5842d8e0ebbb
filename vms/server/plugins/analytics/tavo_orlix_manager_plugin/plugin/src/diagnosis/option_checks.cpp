// The ini file in force, and each key with where its value comes from.

#include "base/ini.h"
#include "diagnosis/checks.h"
#include "diagnosis/redaction.h"
#include "diagnosis/ways_out.h"
#include "remote/text_helpers.h"
#include "utils/paths.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

// The host's own reader of such files may keep none.
template <class Config>
void checkKeys(Findings& out, const Config& config)
{
    if constexpr (requires { config.options(); })
    {
        for (const auto& [name, value, isFromFile] : config.options())
            out.add(
                "Option",
                Redaction().apply(name + "=" + oneLine(value)) +
                    (isFromFile ? ", set" : ", by default"));
    }
}

} // namespace

void checkOptions(Findings& out)
{
    const std::string path = utf8FromPath(ini().iniFilePath());
    out.add("Ini file", path + (lookAtPlace(path).exists ? "" : ", which is not there"));
    for (const Ini::Problem& problem : ini().problems)
        out.add(
            "Ini file", Redaction().apply(oneLine(problem.text)),
            {{true, Verdict::attention, "a mistake", way_out::kMendIni}});
    checkKeys(out, ini());
}

} // namespace tavo::vms_server_plugins::analytics::orlix
