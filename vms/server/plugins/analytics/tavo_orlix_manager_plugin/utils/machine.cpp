#include "utils/machine.h"

#include <algorithm>
#include <filesystem>

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#endif

#include "utils/folders.h"
#include "utils/paths.h"

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

constexpr std::uint32_t kFeatureLeaf = 7;
constexpr std::uint32_t kAvx2Bit = 1u << 5; // of EBX

// A value as a shell would read it: bare, or in quotes, where a backslash takes the next character.
std::string unquoted(std::string_view value)
{
    const bool isQuoted = !value.empty() && (value.front() == '"' || value.front() == '\'');
    const char end = isQuoted ? value.front() : '\0';
    std::string text;
    for (std::size_t i = isQuoted ? 1 : 0; i < value.size() && value[i] != end; ++i)
    {
        if (value[i] == '\\' && i + 1 < value.size())
            ++i;
        text += value[i];
    }
    return text;
}

} // namespace

std::array<std::uint32_t, 4> machine_cpuid(std::uint32_t leaf, std::uint32_t subLeaf)
{
    std::array<std::uint32_t, 4> registers = {};
#if defined(__x86_64__) || defined(__i386__)
    __get_cpuid_count(leaf, subLeaf, &registers[0], &registers[1], &registers[2], &registers[3]);
#else
    static_cast<void>(leaf);
    static_cast<void>(subLeaf);
#endif
    return registers;
}

bool machine_has_avx2()
{
    return (machine_cpuid(kFeatureLeaf, 0)[1] & kAvx2Bit) != 0;
}

ProcessorKind parse_processor_kind(std::string_view machine)
{
    if (machine == "x86_64")
        return ProcessorKind::x86_64;
    if (machine == "aarch64")
        return ProcessorKind::arm64;
    const bool isX86 = machine.size() == 4 && machine.front() == 'i' && machine.ends_with("86");
    return isX86 ? ProcessorKind::x86 : ProcessorKind::other;
}

std::vector<std::string> list_files(const std::string& folder)
{
    std::vector<std::string> names;
    std::error_code error;
    for (std::string& name : folder_entries(folder, error))
    {
        // A link to a folder is none itself: the devices of a class are such links.
        std::error_code ignored;
        const auto status =
            std::filesystem::symlink_status(pathFromUtf8(folder + "/" + name), ignored);
        if (status.type() != std::filesystem::file_type::directory)
            names.push_back(std::move(name));
    }
    return names;
}

OsRelease parse_os_release(std::string_view text)
{
    constexpr std::string_view kName = "NAME=";
    constexpr std::string_view kVersion = "VERSION_ID=";
    OsRelease release;
    while (!text.empty())
    {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        if (line.starts_with(kName))
        {
            const std::string name = unquoted(line.substr(kName.size()));
            const std::string word = name.substr(0, name.find(' '));
            if (!word.empty())
                release.name = word;
        }
        else if (line.starts_with(kVersion))
        {
            const std::string version = unquoted(line.substr(kVersion.size()));
            if (!version.empty())
                release.version = version;
        }
    }
    return release;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
