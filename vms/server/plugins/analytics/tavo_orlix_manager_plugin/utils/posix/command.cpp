#include "utils/command.h"

#include <cerrno>
#include <fcntl.h>

#include "utils/log.h"
#include "utils/posix/keeper_file.h"
#include "utils/posix/kept_program.h"

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

std::string readToEnd(const UniqueDescriptor& pipe)
{
    std::string text;
    char block[4096];
    for (;;)
    {
        const ssize_t count = read(pipe.get(), block, sizeof block);
        if (count > 0)
            text.append(block, static_cast<std::size_t>(count));
        else if (count == 0 || errno != EINTR)
            return text;
    }
}

} // namespace

// Through a keeper, as the manager application: a command ends with the host, and its exit code is
// known also where the host ignores SIGCHLD or collects all children itself.
CommandResult runCommand(const std::string& commandLine)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
    {
        log_info("Error creating pipe: %d", errno);
        return {};
    }
    const UniqueDescriptor readEnd(ends[0]);
    UniqueDescriptor writeEnd = aboveStandard(UniqueDescriptor(ends[1]));
    const std::vector<std::string> words = splitCommandLine(commandLine);
    std::vector<const char*> arguments;
    arguments.reserve(words.size() + 1);
    for (const std::string& word : words)
        arguments.push_back(word.c_str());
    arguments.push_back(nullptr);
    StartFailure failure{StartFailure::noProgram, ENOENT};
    if (words.empty())
    {
        log_info("Error creating process: %d", failure.systemError);
        return {};
    }
    const ProgramStream both{ProgramStream::descriptor, writeEnd.get()};
    KeptProgram program = KeptProgram::start(arguments.data(), both, both, failure);
    writeEnd.reset();
    if (failure.stage != StartFailure::none)
    {
        log_info("Error creating process: %d", failure.systemError);
        return {};
    }
    CommandResult result;
    result.output = readToEnd(readEnd);
    static_cast<void>(program.waitForEnd(-1));
    result.exitCode = program.exitCode().value_or(-1);
    return result;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
