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

    // Of two that are known.
    [[nodiscard]] bool operator==(const ProcessUser& other) const;

    // The account that the system's own services run in, of one that is known.
    [[nodiscard]] bool isSystem() const;

    // As the system writes it in access rules; empty of a blank one.
    [[nodiscard]] std::wstring text() const;

private:
    [[nodiscard]] PSID id() const;

    alignas(TOKEN_USER) char m_user[sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE];
    bool m_isKnown = false;
};

// False if it is known to be of another user than this process's, and not of the system.
[[nodiscard]] bool isTrustedProcess(DWORD processId);

} // namespace tavo::vms_server_plugins::analytics::orlix
