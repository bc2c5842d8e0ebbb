#pragma once

#include <string>

#include <windows.h>

namespace tavo::vms_server_plugins::analytics::orlix
{

// Whose a process is. Any thread.
class ProcessUser
{
public:
    // Blank where the system does not tell, which it need not of another user's.
    explicit ProcessUser(HANDLE process);
    ProcessUser(const ProcessUser&) = delete;
    ProcessUser& operator=(const ProcessUser&) = delete;

    [[nodiscard]] explicit operator bool() const { return m_isKnown; }

    // Of one that is known.
    [[nodiscard]] PSID id() const;

    // As the system writes it in access rules; empty of a blank one.
    [[nodiscard]] std::wstring text() const;

private:
    alignas(TOKEN_USER) char m_user[sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE];
    bool m_isKnown = false;
};

// Whether it is known to be of this process's user, or of the system.
[[nodiscard]] bool isTrustedProcess(DWORD processId);

// Whether the file or folder is this process's user's, the system's or its administrators'. Its
// owner decides who may put what where.
[[nodiscard]] bool isOfTrustedOwner(const std::wstring& path);
[[nodiscard]] bool isTrustedOwner(PSID owner);

} // namespace tavo::vms_server_plugins::analytics::orlix
