#include "utils/windows/kept_program.h"

#include <vector>

#include "utils/deadline.h"
#include "utils/process.h"
#include "utils/windows/wide_text.h"

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

constexpr int kEndMs = 2'000; // for what takes a few milliseconds

StartFailure failedAt(StartFailure::Stage stage)
{
    return {stage, static_cast<int>(GetLastError())};
}

// Names the handles that a program inherits. Without it, it would get all that are inheritable in
// this process, other people's too.
class InheritedHandles
{
public:
    explicit InheritedHandles(std::span<HANDLE> handles)
    {
        SIZE_T size = 0;
        InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
        m_memory.resize(size);
        m_isInitialized = InitializeProcThreadAttributeList(list(), 1, 0, &size) != FALSE;
        m_isFilled = m_isInitialized &&
            UpdateProcThreadAttribute(
                list(), 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, handles.data(), handles.size_bytes(),
                nullptr, nullptr) != FALSE;
    }
    ~InheritedHandles()
    {
        if (m_isInitialized)
            DeleteProcThreadAttributeList(list());
    }
    InheritedHandles(const InheritedHandles&) = delete;
    InheritedHandles& operator=(const InheritedHandles&) = delete;

    [[nodiscard]] explicit operator bool() const { return m_isFilled; }
    [[nodiscard]] LPPROC_THREAD_ATTRIBUTE_LIST list()
    {
        return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(m_memory.data());
    }

private:
    std::vector<char> m_memory;
    bool m_isInitialized = false;
    bool m_isFilled = false;
};

// Suspended, so that it and all that it starts are in the job from its first instruction. Not by
// CreateProcessA, which would read the line's paths in the system's code page.
bool createSuspended(
    std::wstring line, const STARTUPINFOW& startup, std::span<HANDLE> streams,
    PROCESS_INFORMATION& created)
{
    if (streams.empty())
    {
        STARTUPINFOW plain = startup;
        plain.cb = sizeof plain;
        return CreateProcessW(
                   nullptr, line.data(), nullptr, nullptr, FALSE, CREATE_SUSPENDED, nullptr,
                   nullptr, &plain, &created) != FALSE;
    }
    InheritedHandles inherited(streams);
    if (!inherited)
        return false;
    STARTUPINFOEXW extended = {startup, inherited.list()};
    extended.StartupInfo.cb = sizeof extended;
    return CreateProcessW(
               nullptr, line.data(), nullptr, nullptr, TRUE,
               CREATE_SUSPENDED | CREATE_NO_WINDOW | EXTENDED_STARTUPINFO_PRESENT, nullptr, nullptr,
               &extended.StartupInfo, &created) != FALSE;
}

} // namespace

KeptProgram KeptProgram::prepare(StartFailure& failure)
{
    KeptProgram program;
    failure = program.createJob();
    return program;
}

StartFailure KeptProgram::createJob()
{
    m_job = UniqueHandle(CreateJobObjectA(nullptr, nullptr));
    if (!m_job)
        return failedAt(StartFailure::noJob);
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits = {};
    limits.BasicLimitInformation.LimitFlags =
        JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE | JOB_OBJECT_LIMIT_BREAKAWAY_OK;
    limits.BasicLimitInformation.PriorityClass = NORMAL_PRIORITY_CLASS;
    if (!SetInformationJobObject(
            m_job.get(), JobObjectExtendedLimitInformation, &limits, sizeof limits))
    {
        return failedAt(StartFailure::noLimits);
    }
    return {};
}

StartFailure KeptProgram::run(
    const std::string& commandLine, const STARTUPINFOW& startup, std::span<HANDLE> streams)
{
    PROCESS_INFORMATION created = {};
    if (!createSuspended(wideText(commandLine), startup, streams, created))
        return failedAt(StartFailure::noProgram);
    const UniqueHandle thread(created.hThread);
    m_process = UniqueHandle(created.hProcess);
    if (!AssignProcessToJobObject(m_job.get(), m_process.get()))
    {
        const StartFailure failure = failedAt(StartFailure::noProgram);
        TerminateProcess(m_process.get(), 0);
        return failure;
    }
    m_pid = created.dwProcessId;
    ResumeThread(thread.get());
    return {};
}

KeptProgram::~KeptProgram()
{
    if (m_job)
        endTree();
}

DWORD KeptProgram::waitForEnd(DWORD timeoutMs) const
{
    return WaitForSingleObject(m_process.get(), timeoutMs);
}

std::optional<int> KeptProgram::exitCode() const
{
    DWORD code = 0;
    if (!GetExitCodeProcess(m_process.get(), &code))
        return std::nullopt;
    return static_cast<int>(code);
}

bool KeptProgram::kill() const
{
    return TerminateJobObject(m_job.get(), kProcessKilled) != FALSE;
}

// What the tree had open is closed when this returns, so that its files can be deleted.
void KeptProgram::endTree()
{
    TerminateJobObject(m_job.get(), kProcessKilled);
    const Deadline deadline(kEndMs);
    JOBOBJECT_BASIC_ACCOUNTING_INFORMATION state = {};
    while (QueryInformationJobObject(
               m_job.get(), JobObjectBasicAccountingInformation, &state, sizeof state, nullptr) &&
           state.ActiveProcesses > 0 && !deadline.hasPassed())
    {
        Sleep(1);
    }
}

} // namespace tavo::vms_server_plugins::analytics::orlix
