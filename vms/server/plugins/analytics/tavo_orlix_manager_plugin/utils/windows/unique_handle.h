#pragma once

#include <utility>
#include <windows.h>

namespace tavo::vms_server_plugins::analytics::orlix
{

// Owns a handle of the system. Both values that the system uses for none are none here.
class UniqueHandle
{
public:
    UniqueHandle() = default;
    explicit UniqueHandle(HANDLE handle) :
        m_handle(handle == INVALID_HANDLE_VALUE ? nullptr : handle)
    {}
    ~UniqueHandle() { reset(); }
    UniqueHandle(UniqueHandle&& other) noexcept :
        m_handle(other.release())
    {}
    UniqueHandle& operator=(UniqueHandle&& other) noexcept
    {
        reset(other.release());
        return *this;
    }

    [[nodiscard]] HANDLE get() const { return m_handle; }
    explicit operator bool() const { return m_handle != nullptr; }

    [[nodiscard]] HANDLE release() { return std::exchange(m_handle, nullptr); }

    // Leaves the system's error as it is.
    void reset(HANDLE handle = nullptr)
    {
        if (m_handle)
        {
            const DWORD error = GetLastError();
            CloseHandle(m_handle);
            SetLastError(error);
        }
        m_handle = handle == INVALID_HANDLE_VALUE ? nullptr : handle;
    }

private:
    HANDLE m_handle = nullptr;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
