#include "utils/command.h"

#include "utils/log.h"
#include "utils/pipes.h"
#include "utils/windows/kept_program.h"
#include "utils/windows/overlapped_read.h"

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

HANDLE handleOf(const PipeEnd& end)
{
    return reinterpret_cast<HANDLE>(end.handle);
}

// A handle for the same, to be given to a program. Only for as long as it is being given, since any
// program that somebody else starts meanwhile may inherit it too.
UniqueHandle inheritable(HANDLE handle)
{
    HANDLE copy = nullptr;
    DuplicateHandle(
        GetCurrentProcess(), handle, GetCurrentProcess(), &copy, 0, TRUE, DUPLICATE_SAME_ACCESS);
    return UniqueHandle(copy);
}

KeptProgram startWithOutput(
    const std::string& commandLine, const PipeEnd& output, StartFailure& failure)
{
    const UniqueHandle stream = inheritable(handleOf(output));
    STARTUPINFOW startup = {};
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = stream.get();
    startup.hStdError = stream.get();
    HANDLE streams[] = {stream.get()};
    return KeptProgram::start(commandLine, startup, streams, failure);
}

// Until the program ends, or nobody can write any more.
std::string readUntilEnd(const KeptProgram& program, const PipeEnd& pipe)
{
    std::string text;
    OverlappedRead read(handleOf(pipe), 4096);
    const HANDLE either[] = {read.event(), program.process()};
    for (;;)
    {
        read.start();
        const DWORD waited = WaitForMultipleObjects(2, either, FALSE, INFINITE);
        if (read.take(/*mayWait*/ waited == WAIT_OBJECT_0) != OverlappedRead::Result::data)
            return text;
        text += read.data();
    }
}

} // namespace

// Through a job, as the manager application: what a command leaves running ends with it, and both
// with the host.
CommandResult runCommand(const std::string& commandLine)
{
    PipeEnd readEnd;
    PipeEnd writeEnd;
    if (!pipe_create(readEnd.handle, writeEnd.handle))
    {
        log_info("Error creating pipe: %d", static_cast<int>(GetLastError()));
        return {};
    }
    StartFailure failure;
    const KeptProgram program = startWithOutput(commandLine, writeEnd, failure);
    writeEnd = {};
    if (failure.stage != StartFailure::none)
    {
        log_info("Error creating process: %d", static_cast<int>(failure.systemError));
        return {};
    }
    CommandResult result;
    result.output = readUntilEnd(program, readEnd);
    static_cast<void>(program.waitForEnd(INFINITE));
    result.exitCode = program.exitCode().value_or(-1);
    result.output += pipe_read_text(readEnd).value_or("");
    return result;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
