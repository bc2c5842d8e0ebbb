#include "utils/process.h"

#include "utils/log.h"
#include "utils/process_calls.h"

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

constexpr std::size_t kMaxArguments = 1024;

// Logs what is wrong.
bool areUsable(const char* const* arguments)
{
    std::size_t count = 0;
    bool hasText = false;
    for (; arguments[count]; ++count)
    {
        hasText = hasText || *arguments[count] != '\0';
        if (count + 1 == kMaxArguments)
        {
            log_info("Too many input arguments! Array needs to be terminated with a NULL "
                     "pointer.\n");
            return false;
        }
    }
    if (!hasText)
        log_info("Error! Argument string length is 0.\n");
    return hasText;
}

} // namespace

ProcessRecord process_start(const char* const* arguments, bool console, PipeEnd* errorPipe)
{
    if (errorPipe)
        *errorPipe = {};
    if (!areUsable(arguments))
        return {};
    return process_start_checked(arguments, console, errorPipe);
}

ProcessRecord process_start(
    const std::vector<std::string>& arguments, bool console, PipeEnd* errorPipe)
{
    std::vector<const char*> pointers;
    pointers.reserve(arguments.size() + 1);
    for (const std::string& argument : arguments)
        pointers.push_back(argument.c_str());
    pointers.push_back(nullptr);
    return process_start(pointers.data(), console, errorPipe);
}

bool process_started(const ProcessRecord& record)
{
    return record.pid != kProcessNotStarted;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
