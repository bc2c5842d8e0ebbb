#include "utils/windows/process_user.h"

#include <sddl.h>

#include "utils/windows/unique_handle.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

ProcessUser::ProcessUser(HANDLE process)
{
    HANDLE handle = nullptr;
    if (!OpenProcessToken(process, TOKEN_QUERY, &handle))
        return;
    const UniqueHandle token(handle);
    DWORD size = 0;
    m_isKnown = GetTokenInformation(token.get(), TokenUser, m_user, sizeof m_user, &size) != FALSE;
}

PSID ProcessUser::id() const
{
    return reinterpret_cast<const TOKEN_USER*>(m_user)->User.Sid;
}

bool ProcessUser::operator==(const ProcessUser& other) const
{
    return EqualSid(id(), other.id()) != FALSE;
}

bool ProcessUser::isSystem() const
{
    return IsWellKnownSid(id(), WinLocalSystemSid) != FALSE;
}

std::wstring ProcessUser::text() const
{
    wchar_t* text = nullptr;
    if (!m_isKnown || !ConvertSidToStringSidW(id(), &text))
        return {};
    std::wstring result = text;
    LocalFree(text);
    return result;
}

bool isTrustedProcess(DWORD processId)
{
    const UniqueHandle process(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
    if (!process)
        return true;
    const ProcessUser user(process.get());
    if (!user)
        return true;
    static const ProcessUser own(GetCurrentProcess());
    return !own || user == own || user.isSystem();
}

} // namespace tavo::vms_server_plugins::analytics::orlix
