#include "utils/files.h"

#include <cerrno>
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <system_error>
#include <windows.h>

#include <sddl.h>

#include "utils/windows/process_user.h"
#include "utils/windows/unique_handle.h"
#include "utils/windows/wide_text.h"

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

// Others may read, write, rename and delete it meanwhile, as they may elsewhere.
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

std::FILE* failed(DWORD error)
{
    const std::error_condition condition =
        std::system_category().default_error_condition(static_cast<int>(error));
    errno = condition.category() == std::generic_category() ? condition.value() : EIO;
    return nullptr;
}

// A null handle is a failure of the system.
std::FILE* streamOf(UniqueHandle handle, int flags, const char* mode)
{
    if (!handle)
        return failed(GetLastError());
    const int descriptor = _open_osfhandle(
        reinterpret_cast<std::intptr_t>(handle.get()), flags | _O_BINARY | _O_NOINHERIT);
    if (descriptor < 0)
        return nullptr;
    static_cast<void>(handle.release()); // the descriptor's
    std::FILE* const file = _fdopen(descriptor, mode);
    if (!file)
        _close(descriptor);
    return file;
}

UniqueHandle openFile(const char* path, DWORD access, DWORD disposition)
{
    return UniqueHandle(CreateFileW(
        wideText(path).c_str(), access, kShareAll, nullptr, disposition, FILE_ATTRIBUTE_NORMAL,
        nullptr));
}

// Access for this user and the system alone, with nothing inherited from the folder.
class PrivateAccess
{
public:
    PrivateAccess()
    {
        const std::wstring user = ProcessUser(GetCurrentProcess()).text();
        if (user.empty())
            return;
        const std::wstring rules = L"D:P(A;;FA;;;SY)(A;;FA;;;" + user + L")";
        ConvertStringSecurityDescriptorToSecurityDescriptorW(
            rules.c_str(), SDDL_REVISION_1, &m_descriptor, nullptr);
        m_attributes = {sizeof m_attributes, m_descriptor, FALSE};
    }
    ~PrivateAccess() { LocalFree(m_descriptor); }
    PrivateAccess(const PrivateAccess&) = delete;
    PrivateAccess& operator=(const PrivateAccess&) = delete;

    [[nodiscard]] explicit operator bool() const { return m_descriptor != nullptr; }
    [[nodiscard]] SECURITY_ATTRIBUTES* attributes() { return &m_attributes; }

private:
    PSECURITY_DESCRIPTOR m_descriptor = nullptr;
    SECURITY_ATTRIBUTES m_attributes = {};
};

} // namespace

std::FILE* file_open_read(const char* path)
{
    return streamOf(openFile(path, GENERIC_READ, OPEN_EXISTING), _O_RDONLY, "rb");
}

std::FILE* file_open_write(const char* path)
{
    return streamOf(openFile(path, GENERIC_WRITE, CREATE_ALWAYS), _O_WRONLY, "wb");
}

std::FILE* file_open_append(const char* path)
{
    return streamOf(openFile(path, GENERIC_WRITE, OPEN_ALWAYS), _O_WRONLY | _O_APPEND, "ab");
}

// A file keeps the access that it was made with, so one that is there is made anew.
std::FILE* file_open_private(const char* path)
{
    PrivateAccess access;
    if (!access)
        return failed(GetLastError());
    const std::wstring widePath = wideText(path);
    SetFileAttributesW(widePath.c_str(), FILE_ATTRIBUTE_NORMAL); // a read-only file would stay
    DeleteFileW(widePath.c_str()); // a failure shows in what follows
    return streamOf(
        UniqueHandle(CreateFileW(
            widePath.c_str(), GENERIC_WRITE, kShareAll, access.attributes(), CREATE_NEW,
            FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr)),
        _O_WRONLY, "wb");
}

// What is made in a folder has the access that the folder gives.
void file_allow_all(std::FILE*) {}

bool file_seek(std::FILE* file, std::uint64_t position)
{
    return _fseeki64(file, static_cast<long long>(position), SEEK_SET) == 0;
}

std::uint64_t file_size(std::FILE* file)
{
    struct _stat64 status = {};
    return _fstat64(_fileno(file), &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
