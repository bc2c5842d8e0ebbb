#include "utils/file_lock.h"

#include <windows.h>

#include "utils/windows/wide_text.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// Open and shared with nobody is the lock. The system deletes the file with the handle.
FileLock::Outcome FileLock::take(const std::string& path)
{
    release();
    const std::wstring wide = wideText(path);
    const HANDLE file = CreateFileW(
        wide.c_str(), GENERIC_WRITE | DELETE, /*share*/ 0, nullptr, OPEN_ALWAYS,
        FILE_ATTRIBUTE_NORMAL | FILE_FLAG_DELETE_ON_CLOSE | FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
    if (file == INVALID_HANDLE_VALUE)
    {
        const DWORD error = GetLastError();
        const bool isThere = GetFileAttributesW(wide.c_str()) != INVALID_FILE_ATTRIBUTES;
        SetLastError(error);
        return error == ERROR_SHARING_VIOLATION || isThere ? Outcome::heldByAnother
                                                           : Outcome::failed;
    }
    m_file = reinterpret_cast<std::intptr_t>(file);
    m_path = path;
    return Outcome::taken;
}

void FileLock::release()
{
    if (m_file == kNone)
        return;
    CloseHandle(reinterpret_cast<HANDLE>(m_file));
    m_file = kNone;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
