#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "utils/pipes.h"

// Child processes that are tied to this one. A child is started inside a job, which holds it and
// everything that it starts, from its first instruction; on Windows but for what asks the system to
// break away. All of them end when the job is closed, and with this process, however it ends.
//
// A failed call says so by its value, and has logged why unless that says it all: a process whose
// end was told is no failure of process_is_running. Nothing throws but for want of memory. A record
// belongs to one thread at a time. The host's way with SIGCHLD, where there is such a thing, does
// not matter.

namespace tavo::vms_server_plugins::analytics::orlix
{

class ProcessJob; // the platform's

struct ProcessJobCloser
{
    void operator()(ProcessJob* job) const;
};

inline constexpr std::uint32_t kProcessNotStarted = 1;

// Valid from a successful start until process_wait has closed its job. A record that ends or is
// overwritten closes its job.
struct ProcessRecord
{
    std::uint32_t pid = kProcessNotStarted; // process id
    std::unique_ptr<ProcessJob, ProcessJobCloser> job; // null on failure
};

// What a process ended with: never negative, also where an exception ended it. Negative are the
// failures of process_wait.
using ExitCode = std::int64_t;

// The exit code of a process that still runs.
inline constexpr ExitCode kProcessStillActive = 259;

// The exit code of a process that process_kill has ended. One that another signal ended has 128 and
// the signal's number, where there is such a thing.
inline constexpr int kProcessKilled = 9;

inline constexpr ExitCode kProcessWaitFailed = -1;
inline constexpr ExitCode kProcessWaitTimeout = -2;

// Starts `arguments`, of which the first is the program; it is searched for where it holds no
// separator. The child has this process's environment and current directory, and its standard
// output only with `console`. With `errorPipe`, where a platform gives it to the child, its last
// words, which are the last 64 KiB at most of what it writes to its standard error, can be read
// from that pipe once its end was seen; it may write as much as it likes, and nobody need read. On
// failure the record's pid is kProcessNotStarted and `errorPipe` is blank.
[[nodiscard]] ProcessRecord process_start(
    const std::vector<std::string>& arguments, bool console, PipeEnd* errorPipe = nullptr);

// The two halves of process_start, for what is to be tied to the job before the program runs: a
// record of the first has a job, and no process yet; the second starts it and gives false on
// failure. A failure of either leaves no job.
[[nodiscard]] ProcessRecord process_prepare(
    const std::vector<std::string>& arguments, bool console, PipeEnd* errorPipe = nullptr);
[[nodiscard]] bool process_run(ProcessRecord& record);

[[nodiscard]] bool process_started(const ProcessRecord& record);

// False once the process has ended. Its end is told once: `exitCode` is set by the first call that
// finds it, and after that unchanged.
[[nodiscard]] bool process_is_running(const ProcessRecord& record, ExitCode& exitCode);

// Waits for the end. Gives the exit code and closes the job; kProcessWaitTimeout after `seconds`;
// kProcessWaitFailed if the end was told before.
[[nodiscard]] ExitCode process_wait(ProcessRecord& record, int seconds);

// Ends the process and all that it has started. Gives kProcessKilled without waiting, or -1 if
// there is no process any more.
int process_kill(const ProcessRecord& record);

// Has a file deleted when the job has ended, for what must not outlive it even if this process is
// killed. `file` is open, and `path` its absolute path; another file that has that path by then
// stays. Holds from the return on. Not every platform can; logs when it cannot be.
void process_delete_at_end(const ProcessRecord& record, const std::string& path, std::FILE* file);

// Whether the platform can. Elsewhere what was left is to be deleted by the next run.
extern const bool kFilesEndWithJobs;

using ProcessSignalHandler = void (*)(int signal);

// For programs, never inside a host: installs `handler` for interruption, termination and abort.
void process_set_signal_handler(ProcessSignalHandler handler);

} // namespace tavo::vms_server_plugins::analytics::orlix
