#include "utils/windows/process_user.h"

#include <aclapi.h>
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
    const ProcessUser user(process.get());
    return user && isTrustedOwner(user.id());
}

bool isOfTrustedOwner(const std::wstring& path)
{
    PSID owner = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    const bool isKnown = GetNamedSecurityInfoW(
                             path.c_str(), SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION, &owner,
                             nullptr, nullptr, nullptr, &descriptor) == ERROR_SUCCESS;
    const bool isTrusted = isKnown && owner && isTrustedOwner(owner);
    LocalFree(descriptor);
    return isTrusted;
}

bool isTrustedOwner(PSID owner)
{
    static const ProcessUser own(GetCurrentProcess());
    return (own && EqualSid(owner, own.id())) || IsWellKnownSid(owner, WinLocalSystemSid) ||
        IsWellKnownSid(owner, WinBuiltinAdministratorsSid);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
