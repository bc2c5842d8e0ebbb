#pragma once

#include <cstddef>

// The system's error codes and their texts. No state; any thread may call.

namespace tavo::vms_server_plugins::analytics::orlix
{

// The code of the calling thread's last failed system call; changes with the next one.
[[nodiscard]] int last_system_error();
[[nodiscard]] int last_socket_error();

// Writes the text of `code`, cut to `size` bytes and not terminated. Gives its length.
std::size_t system_error_text(int code, char* buffer, std::size_t size);

// The text of one code, for "%s" or "%.*s".
class SystemErrorText
{
public:
    explicit SystemErrorText(int code) :
        m_length(system_error_text(code, m_text, sizeof m_text - 1))
    {
        m_text[m_length] = '\0';
    }

    [[nodiscard]] int length() const { return static_cast<int>(m_length); }
    [[nodiscard]] const char* c_str() const { return m_text; }

private:
    char m_text[1024]; // before the length, which its filling gives
    std::size_t m_length;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
