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

ProcessRecord prepare(const char* const* arguments, bool console, PipeEnd* errorPipe)
{
    if (errorPipe)
        *errorPipe = {};
    if (!areUsable(arguments))
        return {};
    return process_prepare_checked(arguments, console, errorPipe);
}

// Ended by a null pointer.
std::vector<const char*> pointersTo(const std::vector<std::string>& arguments)
{
    std::vector<const char*> pointers;
    pointers.reserve(arguments.size() + 1);
    for (const std::string& argument : arguments)
        pointers.push_back(argument.c_str());
    pointers.push_back(nullptr);
    return pointers;
}

} // namespace

ProcessRecord process_start(const char* const* arguments, bool console, PipeEnd* errorPipe)
{
    ProcessRecord record = prepare(arguments, console, errorPipe);
    if (record.job && !process_run(record) && errorPipe)
        *errorPipe = {};
    return record;
}

ProcessRecord process_start(
    const std::vector<std::string>& arguments, bool console, PipeEnd* errorPipe)
{
    return process_start(pointersTo(arguments).data(), console, errorPipe);
}

ProcessRecord process_prepare(
    const std::vector<std::string>& arguments, bool console, PipeEnd* errorPipe)
{
    return prepare(pointersTo(arguments).data(), console, errorPipe);
}

bool process_started(const ProcessRecord& record)
{
    return record.pid != kProcessNotStarted;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
