#include "utils/command.h"

#include <algorithm>

#include "utils/deadline.h"
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

// Without it a command would read from its console, for ever where that has no window.
UniqueHandle emptyInput()
{
    SECURITY_ATTRIBUTES isInheritable = {sizeof isInheritable, nullptr, TRUE};
    return UniqueHandle(CreateFileW(
        L"NUL", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, &isInheritable, OPEN_EXISTING, 0,
        nullptr));
}

StartFailure runWithOutput(
    KeptProgram& program, const std::string& commandLine, const PipeEnd& output)
{
    const UniqueHandle input = emptyInput();
    const UniqueHandle stream = inheritable(handleOf(output));
    STARTUPINFOW startup = {};
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = input.get();
    startup.hStdOutput = stream.get();
    startup.hStdError = stream.get();
    HANDLE streams[] = {input.get(), stream.get()};
    return program.run(commandLine, startup, streams);
}

constexpr std::size_t kMaxOutput = 16 * 1024 * 1024;

void appendOutput(std::string& output, std::string_view text)
{
    output.append(text.substr(0, kMaxOutput - output.size()));
}

// Until the program ends, or nobody can write any more, or it is to be ended. What comes from
// others than the program is not waited for once that has ended.
void readUntilEnd(
    std::string& output, const KeptProgram& program, PipeEnd& pipe, const Deadline& deadline,
    const UniqueHandle& stopped)
{
    OverlappedRead read(handleOf(pipe));
    if (!read)
        return; // the program may end well all the same
    const HANDLE any[] = {read.event(), program.process(), stopped.get()};
    for (bool isOver = false; !isOver;)
    {
        read.start();
        const DWORD waited =
            WaitForMultipleObjects(3, any, FALSE, static_cast<DWORD>(deadline.remainingMs()));
        const bool hasCome = waited == WAIT_OBJECT_0;
        const bool isData = read.take(/*mayWait*/ hasCome) == OverlappedRead::Result::data;
        if (isData)
            appendOutput(output, read.data());
        isOver = !hasCome || !isData || deadline.hasPassed();
    }
    if (program.waitForEnd(0) == WAIT_OBJECT_0)
        appendOutput(output, pipe_read_text(pipe).value_or(""));
}

} // namespace

// Through a job, as the manager application: what a command leaves running ends with it, and both
// with the host.
CommandResult runCommand(
    const std::string& commandLine, std::chrono::seconds limit, const std::stop_token& stop)
{
    PipeEnd readEnd;
    PipeEnd writeEnd;
    if (!pipe_create(readEnd.handle, writeEnd.handle))
    {
        log_info("Error creating pipe: %d\n", static_cast<int>(GetLastError()));
        return {};
    }
    const Deadline deadline(limit);
    StartFailure failure;
    KeptProgram program = KeptProgram::prepare(failure);
    if (failure.stage == StartFailure::none)
        failure = runWithOutput(program, commandLine, writeEnd);
    writeEnd = {};
    if (failure.stage != StartFailure::none)
    {
        log_info("Error creating process: %d\n", failure.systemError);
        return {};
    }
    CommandResult result;
    const UniqueHandle stopped(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    const std::stop_callback setStopped(stop, [&stopped] { SetEvent(stopped.get()); });
    readUntilEnd(result.output, program, readEnd, deadline, stopped);
    const HANDLE endOrStop[] = {program.process(), stopped.get()};
    WaitForMultipleObjects(2, endOrStop, FALSE, static_cast<DWORD>(deadline.remainingMs()));
    if (program.waitForEnd(0) == WAIT_OBJECT_0)
    {
        result.exitCode = program.exitCode().value_or(-1);
    }
    else if (stop.stop_requested())
    {
        log_info("Command is ended for the shutdown: %s\n", commandLine.c_str());
    }
    else
    {
        log_info(
            "Error: Command did not end in %d seconds and is killed: %s\n",
            static_cast<int>(limit.count()), commandLine.c_str());
    }
    return result;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
