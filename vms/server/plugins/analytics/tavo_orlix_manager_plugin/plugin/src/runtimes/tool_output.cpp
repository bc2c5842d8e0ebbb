#include "runtimes/tool_output.h"

#include <regex>
#include <vector>

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

// Regular expressions recurse over their text; what a tool has to say stands at its beginning.
constexpr std::size_t kMaxToolOutput = 4096;

// The first group of every match.
std::vector<std::string> firstGroups(const std::string& output, const std::regex& expression)
{
    std::vector<std::string> groups;
    const std::string text = beginningOf(output);
    for (std::sregex_iterator match(text.begin(), text.end(), expression), end; match != end;
         ++match)
        groups.push_back((*match)[1]);
    return groups;
}

} // namespace

std::string beginningOf(std::string_view output)
{
    return std::string(output.substr(0, kMaxToolOutput));
}

std::string deepxVersionIn(const std::string& output)
{
    static const std::regex kVersion(R"(DXRT v([0-9]+)\.([0-9]+)\.([0-9]+))");
    const std::string text = beginningOf(output);
    std::smatch match;
    if (!std::regex_search(text, match, kVersion))
        return {};
    return match.str(1) + "." + match.str(2) + "." + match.str(3);
}

std::string hailoVersionIn(const std::string& output)
{
    static const std::regex kVersion(R"(HailoRT-CLI version (\d+\.\d+\.\d+))");
    const std::vector<std::string> versions = firstGroups(output, kVersion);
    return versions.size() == 1 ? versions.front() : std::string();
}

int hailoTypeIn(const std::string& output)
{
    static const std::regex kArchitecture(R"(Device Architecture: (\w+))");
    for (const std::string& name : firstGroups(output, kArchitecture))
    {
        if (name == "HAILO8")
            return 1;
        if (name == "HAILO8L")
            return 2;
    }
    return 0;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
