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
std::vector<std::string> firstGroups(const std::string& output, const char* expression)
{
    std::vector<std::string> groups;
    const std::string text = output.substr(0, kMaxToolOutput);
    const std::regex regex(expression);
    for (std::sregex_iterator match(text.begin(), text.end(), regex), end; match != end; ++match)
        groups.push_back((*match)[1]);
    return groups;
}

} // namespace

std::string deepxVersionIn(const std::string& output)
{
    const std::vector<std::string> versions =
        firstGroups(output, R"(DXRT v([0-9]+\.[0-9]+\.[0-9]+))");
    return versions.empty() ? std::string() : versions.front();
}

std::string hailoVersionIn(const std::string& output)
{
    const std::vector<std::string> versions =
        firstGroups(output, R"(HailoRT-CLI version (\d+\.\d+\.\d+))");
    return versions.size() == 1 ? versions.front() : std::string();
}

int hailoTypeIn(const std::string& output)
{
    for (const std::string& name : firstGroups(output, R"(Device Architecture: (\w+))"))
    {
        if (name == "HAILO8")
            return 1;
        if (name == "HAILO8L")
            return 2;
    }
    return 0;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
