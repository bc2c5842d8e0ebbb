#include "testing/platform.h"

#include <cstdlib>

#include <winsock2.h>

#include <windows.h>

#include <aclapi.h>
#include <sddl.h>

namespace tavo::test_support
{
namespace
{

constexpr std::uintptr_t kMostHandles = 4096; // their numbers are the lowest free ones, by fours

std::wstring wide(const std::string& text)
{
    const int size = static_cast<int>(text.size());
    std::wstring result(text.size(), L'\0');
    result.resize(static_cast<std::size_t>(
        MultiByteToWideChar(CP_UTF8, 0, text.data(), size, result.data(), size)));
    return result;
}

std::string narrow(const std::wstring& text)
{
    const int size = static_cast<int>(text.size());
    std::string result(text.size() * 3, '\0');
    result.resize(static_cast<std::size_t>(WideCharToMultiByte(
        CP_UTF8, 0, text.data(), size, result.data(), static_cast<int>(result.size()), nullptr,
        nullptr)));
    return result;
}

// A host has the system's sockets ready; here the test program stands in for it.
[[maybe_unused]] const int socketsAreReady = []
{
    WSADATA data = {};
    return WSAStartup(MAKEWORD(2, 2), &data);
}();

} // namespace

const char* const kTemporaryFolderVariable = "TMP";
const char kPathListSeparator = ';';
const bool kOpenFilesCanBeReplaced = false;

std::uint32_t ownProcessId()
{
    return GetCurrentProcessId();
}

bool isRunning(std::uint32_t process)
{
    const HANDLE handle = OpenProcess(SYNCHRONIZE, FALSE, process);
    const bool isRunning = handle && WaitForSingleObject(handle, 0) == WAIT_TIMEOUT;
    if (handle)
        CloseHandle(handle);
    return isRunning;
}

void endProcess(std::uint32_t process)
{
    const HANDLE handle = OpenProcess(PROCESS_TERMINATE, FALSE, process);
    if (!handle)
        return;
    TerminateProcess(handle, 1);
    CloseHandle(handle);
}

void setVariable(const std::string& name, const std::string& value)
{
    _wputenv_s(wide(name).c_str(), wide(value).c_str());
}

std::string variable(const std::string& name)
{
    const wchar_t* const value = _wgetenv(wide(name).c_str());
    return value ? narrow(value) : "";
}

bool isInherited(std::intptr_t handle)
{
    DWORD flags = 0;
    return !GetHandleInformation(reinterpret_cast<HANDLE>(handle), &flags) ||
        (flags & HANDLE_FLAG_INHERIT) != 0;
}

OpenToAll::OpenToAll() :
    m_before(0)
{}

OpenToAll::~OpenToAll() = default;

// One by one: the system's own count is always 0 under Wine.
std::size_t openHandles()
{
    std::size_t count = 0;
    for (std::uintptr_t handle = 4; handle < kMostHandles; handle += 4)
    {
        DWORD flags = 0;
        count += GetHandleInformation(reinterpret_cast<HANDLE>(handle), &flags) ? 1 : 0;
    }
    return count;
}

bool hasChildren()
{
    return false;
}

std::intptr_t socketAtPort(int port)
{
    for (SOCKET socket = 4; socket < kMostHandles; socket += 4)
    {
        sockaddr_in address{};
        int size = sizeof address;
        if (getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size) == 0 &&
            address.sin_family == AF_INET && ntohs(address.sin_port) == port)
        {
            return static_cast<std::intptr_t>(socket);
        }
    }
    return -1;
}

// Every rule of the file names the system, administrators or its owner.
bool isPrivate(const std::string& path)
{
    PSID owner = nullptr;
    PACL rules = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    if (GetNamedSecurityInfoW(
            wide(path).c_str(), SE_FILE_OBJECT,
            OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION, &owner, nullptr, &rules,
            nullptr, &descriptor) != ERROR_SUCCESS)
    {
        return false;
    }
    bool isPrivate = rules != nullptr;
    for (DWORD i = 0; isPrivate && i < rules->AceCount; ++i)
    {
        void* rule = nullptr;
        GetAce(rules, i, &rule);
        PSID user = &static_cast<ACCESS_ALLOWED_ACE*>(rule)->SidStart;
        isPrivate = EqualSid(user, owner) || IsWellKnownSid(user, WinLocalSystemSid) ||
            IsWellKnownSid(user, WinBuiltinAdministratorsSid) ||
            static_cast<ACCESS_ALLOWED_ACE*>(rule)->Mask == 0;
    }
    LocalFree(descriptor);
    return isPrivate;
}

std::uint64_t fileIdentity(const std::string& path)
{
    const HANDLE file = CreateFileW(
        wide(path).c_str(), FILE_READ_ATTRIBUTES,
        FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
        FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return 0;
    BY_HANDLE_FILE_INFORMATION information = {};
    GetFileInformationByHandle(file, &information);
    CloseHandle(file);
    return std::uint64_t{information.nFileIndexHigh} << 32 | information.nFileIndexLow;
}

bool sendBytes(std::uintptr_t socket, const std::string& bytes)
{
    const int size = static_cast<int>(bytes.size());
    return send(socket, bytes.data(), size, 0) == size;
}

} // namespace tavo::test_support
