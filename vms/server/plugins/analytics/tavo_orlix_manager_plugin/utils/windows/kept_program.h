#pragma once

#include <optional>
#include <span>
#include <string>

#include "utils/process_calls.h"
#include "utils/windows/unique_handle.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// A program in a job, which ends the program and all that it has started at the end of this object,
// or of this process, when the system closes the job's handle. One thread at a time.
class KeptProgram
{
public:
    // The job alone. Only a result without a failure may be used.
    [[nodiscard]] static KeptProgram prepare(StartFailure& failure);

    // Starts the program, once. The line is UTF-8. With `streams` it gets these, and nothing else
    // of this process's handles, and shows no window of a console; without, it finds none of what
    // `startup` names.
    [[nodiscard]] StartFailure run(
        const std::string& commandLine, const STARTUPINFOW& startup, std::span<HANDLE> streams);

    KeptProgram() = default;
    ~KeptProgram();
    KeptProgram(KeptProgram&& other) noexcept = default;
    KeptProgram& operator=(KeptProgram&&) = delete;

    [[nodiscard]] DWORD pid() const { return m_pid; }
    [[nodiscard]] HANDLE process() const { return m_process.get(); }

    // Gives what WaitForSingleObject gives; INFINITE waits forever.
    [[nodiscard]] DWORD waitForEnd(DWORD timeoutMs) const;

    // Of a program that has ended; nothing, with the system's error set, when it cannot be had.
    [[nodiscard]] std::optional<int> exitCode() const;

    // Ends the program and all that it has started, without waiting. False if it cannot.
    [[nodiscard]] bool kill() const;

private:
    [[nodiscard]] StartFailure createJob();
    void endTree();

    UniqueHandle m_job;
    UniqueHandle m_process; // kept, since a process's id is given to another one after its end
    DWORD m_pid = 0;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
