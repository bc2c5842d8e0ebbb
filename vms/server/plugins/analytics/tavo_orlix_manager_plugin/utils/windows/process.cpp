#include "utils/process.h"

#include <csignal>

#include "utils/log.h"
#include "utils/process_calls.h"
#include "utils/system_error.h"
#include "utils/windows/kept_program.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

class ProcessJob
{
public:
    ProcessJob(KeptProgram job, std::string commandLine, bool console, PipeEnd errors) :
        m_program(std::move(job)),
        m_commandLine(std::move(commandLine)),
        m_console(console),
        m_errors(std::move(errors))
    {}

    [[nodiscard]] const KeptProgram& program() const { return m_program; }

    [[nodiscard]] StartFailure run();

    bool endWasTold = false;

private:
    KeptProgram m_program;
    const std::string m_commandLine;
    const bool m_console;
    PipeEnd m_errors; // blank without a pipe; kept until the program has been told of it
};

namespace
{

// Not escaped: an argument has no double quote, and the last one does not end in a backslash.
std::string commandLineOf(const char* const* arguments)
{
    std::string line;
    for (; *arguments; ++arguments)
        line += std::string("\"") + *arguments + "\" ";
    line.pop_back();
    return line;
}

// Where the streams of a program go is told to it, but its ends of them are not inherited: it
// reaches a pipe only if it opens one itself.
STARTUPINFOW startupOf(bool console, HANDLE errors)
{
    STARTUPINFOW startup = {};
    if (console && !errors)
        return startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = console ? GetStdHandle(STD_OUTPUT_HANDLE) : INVALID_HANDLE_VALUE;
    startup.hStdError = errors;
    return startup;
}

void logStartFailure(const StartFailure& failure)
{
    const SystemErrorText error(static_cast<int>(failure.systemError));
    switch (failure.stage)
    {
        case StartFailure::none:
            break;
        case StartFailure::noJob:
            log_info(
                "Error: Could not create job object for process: %.*s\n", error.length(),
                error.c_str());
            break;
        case StartFailure::noLimits:
            log_info(
                "Error: Could not set information for job object: %.*s\n", error.length(),
                error.c_str());
            break;
        case StartFailure::noProgram:
            log_info("Error: Could not start process: %.*s\n", error.length(), error.c_str());
            break;
    }
}

bool isKnown(const ProcessRecord& record)
{
    return process_started(record) && record.job && !record.job->endWasTold;
}

// What the system would say of an id that nobody has.
SystemErrorText noSuchProcess()
{
    return SystemErrorText(ERROR_INVALID_PARAMETER);
}

// Gives the exit code of a process that has ended.
int tellEnd(ProcessJob& job)
{
    job.endWasTold = true;
    const std::optional<int> exitCode = job.program().exitCode();
    if (!exitCode)
    {
        const SystemErrorText error(last_system_error());
        log_info(
            "Error: Could not get exit code of process: %.*s\n", error.length(), error.c_str());
    }
    return exitCode.value_or(1);
}

} // namespace

StartFailure ProcessJob::run()
{
    const PipeEnd errors = std::move(m_errors);
    const bool hasPipe = errors.handle != kInvalidPipe;
    return m_program.run(
        m_commandLine,
        startupOf(m_console, hasPipe ? reinterpret_cast<HANDLE>(errors.handle) : nullptr),
        /*streams*/ {});
}

void ProcessJobCloser::operator()(ProcessJob* job) const
{
    delete job;
}

ProcessRecord process_prepare_checked(
    const char* const* arguments, bool console, PipeEnd* errorPipe)
{
    ProcessRecord record;
    StartFailure failure;
    KeptProgram job = KeptProgram::prepare(failure);
    if (failure.stage != StartFailure::none)
    {
        logStartFailure(failure);
        return record;
    }
    PipeEnd readEnd;
    PipeEnd writeEnd;
    if (errorPipe && pipe_create(readEnd.handle, writeEnd.handle))
        *errorPipe = std::move(readEnd);
    record.job.reset(
        new ProcessJob(std::move(job), commandLineOf(arguments), console, std::move(writeEnd)));
    return record;
}

bool process_run(ProcessRecord& record)
{
    const StartFailure failure =
        record.job ? record.job->run() : StartFailure{StartFailure::noJob, ERROR_INVALID_HANDLE};
    if (failure.stage != StartFailure::none)
    {
        logStartFailure(failure);
        record = {};
        return false;
    }
    record.pid = record.job->program().pid();
    return true;
}

bool process_is_running(const ProcessRecord& record, int& exitCode)
{
    if (!isKnown(record))
        return false;
    // Not by the exit code alone, which an ended process may have likewise.
    if (record.job->program().waitForEnd(0) == WAIT_TIMEOUT)
    {
        exitCode = kProcessStillActive;
        return true;
    }
    exitCode = tellEnd(*record.job);
    return false;
}

int process_wait(ProcessRecord& record, int seconds)
{
    if (!isKnown(record))
    {
        const SystemErrorText error = noSuchProcess();
        log_info("Warning: Could not get process handle: %.*s\n", error.length(), error.c_str());
        return kProcessWaitFailed;
    }
    switch (record.job->program().waitForEnd(static_cast<DWORD>(seconds) * 1000))
    {
        case WAIT_OBJECT_0:
            break;
        case WAIT_TIMEOUT:
            return kProcessWaitTimeout;
        default: {
            const SystemErrorText error(last_system_error());
            log_info(
                "Warning: Could not wait for process kill: %.*s\n", error.length(), error.c_str());
            return kProcessWaitFailed;
        }
    }
    const int exitCode = tellEnd(*record.job);
    record.job.reset();
    return exitCode;
}

int process_kill(const ProcessRecord& record)
{
    if (!isKnown(record) || record.job->program().waitForEnd(0) == WAIT_OBJECT_0)
    {
        const SystemErrorText error = noSuchProcess();
        log_info(
            "Warning: Could not get process handle to terminate: %.*s\n", error.length(),
            error.c_str());
        return -1;
    }
    log_info("Sending termination signal...\n");
    return record.job->program().kill() ? kProcessKilled : -1;
}

const bool kFilesEndWithJobs = false;

// A handle that deletes on close would do it, but keeps others from opening the file as most
// programs do, so that nobody could read it.
void process_delete_at_end(const ProcessRecord&, const std::string&, std::FILE*) {}

void process_set_signal_handler(ProcessSignalHandler handler)
{
    for (const int number : {SIGINT, SIGTERM, SIGABRT})
        std::signal(number, handler);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
