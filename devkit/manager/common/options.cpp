#include "common/options.h"

#include <charconv>
#include <system_error>

#include "common/program.h"
#include "inference/protocol.h"
#include "utils/log.h"

namespace tavo::devkit
{

namespace orlix = vms_server_plugins::analytics::orlix;

namespace
{

bool readNumber(const std::string& text, int& number)
{
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

bool setOption(Options& options, const std::string& name, const std::string& value)
{
    if (name == orlix::protocol::kModuleSocketArgument)
    {
        options.moduleSocket = value;
        return true;
    }
    if (name == orlix::protocol::kPluginSocketArgument)
    {
        options.pluginSocket = value;
        return true;
    }
    if (name == orlix::protocol::kVerbosityArgument)
        return readNumber(value, options.verbosity);
    if (name == orlix::protocol::kLogToFileArgument)
    {
        int flag = 0;
        const bool isNumber = readNumber(value, flag);
        options.logToFile = flag != 0;
        return isNumber;
    }
    if (name == kTokenArgument)
    {
        options.token = value;
        return true;
    }
    return false;
}

} // namespace

std::filesystem::path Options::rootFolder() const
{
    return program.parent_path().parent_path();
}

std::optional<Options> parseOptions(const std::vector<std::string>& arguments)
{
    Options options;
    options.program = program_path();
    for (std::size_t i = 0; i < arguments.size(); i += 2)
    {
        if (i + 1 == arguments.size() || !setOption(options, arguments[i], arguments[i + 1]))
        {
            orlix::log_error("Error! Argument not understood: %s\n", arguments[i].c_str());
            return std::nullopt;
        }
    }
    if (options.moduleSocket.empty() || options.pluginSocket.empty())
    {
        orlix::log_error("Error! Needed: -i <module socket> -o <plugin socket>\n");
        return std::nullopt;
    }
    return options;
}

void openLog(const Options& options, const std::string& name)
{
    std::error_code ignored; // the log then tells that its files cannot be opened
    std::filesystem::create_directories(options.etcFolder(), ignored);
    const std::string base = (options.etcFolder() / name).string();
    orlix::log_init(
        base + "_start.log", base + ".log", name + ": ", /*console*/ false, options.logToFile,
        options.verbosity);
}

} // namespace tavo::devkit
