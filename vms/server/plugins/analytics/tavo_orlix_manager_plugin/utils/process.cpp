#include "utils/process.h"

#include <algorithm>

#include "utils/log.h"
#include "utils/process_calls.h"
#include "utils/system_error.h"

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

constexpr std::size_t kMaxArguments = 1024;

// Logs what is wrong.
bool areUsable(const std::vector<std::string>& arguments)
{
    if (arguments.size() >= kMaxArguments)
    {
        log_info("Too many input arguments! Array needs to be terminated with a NULL pointer.\n");
        return false;
    }
    const bool hasText = std::ranges::any_of(
        arguments, [](const std::string& argument) { return !argument.empty(); });
    if (!hasText)
        log_info("Error! Argument string length is 0.\n");
    return hasText;
}

// A process whose end was told cannot be looked at any more.
bool isKnown(const ProcessRecord& record)
{
    return process_started(record) && record.job && !record.job->endWasTold;
}

// Gives the exit code of a process that has ended.
ExitCode tellEnd(ProcessJob& job)
{
    job.endWasTold = true;
    const std::optional<int> exitCode = job.exitCode();
    if (!exitCode)
    {
        const SystemErrorText error(last_system_error());
        log_info(
            "Error: Could not get exit code of process: %.*s\n", error.length(), error.c_str());
    }
    return static_cast<std::uint32_t>(exitCode.value_or(1));
}

} // namespace

void ProcessJobCloser::operator()(ProcessJob* job) const
{
    delete job;
}

ProcessRecord process_start(
    const std::vector<std::string>& arguments, bool console, PipeEnd* errorPipe)
{
    ProcessRecord record = process_prepare(arguments, console, errorPipe);
    if (record.job && !process_run(record) && errorPipe)
        *errorPipe = {};
    return record;
}

ProcessRecord process_prepare(
    const std::vector<std::string>& arguments, bool console, PipeEnd* errorPipe)
{
    if (errorPipe)
        *errorPipe = {};
    if (!areUsable(arguments))
        return {};
    ProcessRecord record;
    StartFailure failure;
    record.job = process_make_job(arguments, console, errorPipe, failure);
    if (!record.job)
    {
        const SystemErrorText error(failure.systemError);
        log_info(
            failure.stage == StartFailure::noJob
                ? "Error: Could not create job object for process: %.*s\n"
                : "Error: Could not set information for job object: %.*s\n",
            error.length(), error.c_str());
    }
    return record;
}

bool process_run(ProcessRecord& record)
{
    int systemError = kNoSuchProcess;
    const std::uint32_t pid = record.job ? record.job->run(systemError) : 0;
    if (pid == 0)
    {
        const SystemErrorText error(systemError);
        log_info("Error: Could not start process: %.*s\n", error.length(), error.c_str());
        record = {};
        return false;
    }
    record.pid = pid;
    return true;
}

bool process_started(const ProcessRecord& record)
{
    return record.pid != kProcessNotStarted;
}

bool process_is_running(const ProcessRecord& record, ExitCode& exitCode)
{
    if (!isKnown(record))
        return false;
    // Not by the exit code alone, which an ended process may have likewise.
    if (record.job->waitForEnd(0) == ProcessJob::Wait::timedOut)
    {
        exitCode = kProcessStillActive;
        return true;
    }
    exitCode = tellEnd(*record.job);
    return false;
}

ExitCode process_wait(ProcessRecord& record, int seconds)
{
    if (!isKnown(record))
    {
        const SystemErrorText error(kNoSuchProcess);
        log_info("Warning: Could not get process handle: %.*s\n", error.length(), error.c_str());
        return kProcessWaitFailed;
    }
    switch (record.job->waitForEnd(seconds * 1000))
    {
        case ProcessJob::Wait::ended:
            break;
        case ProcessJob::Wait::timedOut:
            return kProcessWaitTimeout;
        case ProcessJob::Wait::failed: {
            const SystemErrorText error(last_system_error());
            log_info(
                "Warning: Could not wait for process kill: %.*s\n", error.length(), error.c_str());
            return kProcessWaitFailed;
        }
    }
    const ExitCode exitCode = tellEnd(*record.job);
    record.job.reset();
    return exitCode;
}

int process_kill(const ProcessRecord& record)
{
    if (!isKnown(record) || record.job->waitForEnd(0) == ProcessJob::Wait::ended)
    {
        const SystemErrorText error(kNoSuchProcess);
        log_info(
            "Warning: Could not get process handle to terminate: %.*s\n", error.length(),
            error.c_str());
        return -1;
    }
    log_info("Sending termination signal...\n");
    return record.job->kill() ? kProcessKilled : -1;
}

void process_delete_at_end(const ProcessRecord& record, const std::string& path, std::FILE* file)
{
    if (kFilesEndWithJobs && (!record.job || !record.job->deleteAtEnd(path, file)))
        log_info("Warning: File cannot be tied to process: %s\n", path.c_str());
}

} // namespace tavo::vms_server_plugins::analytics::orlix
