#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tavo::test_support
{

// A TCP socket on the loopback interface, for servers whose every byte a test decides. One thread
// at a time.
class LoopbackSocket
{
public:
    // Listens at a port that was free. Throws std::runtime_error.
    [[nodiscard]] static LoopbackSocket listening();

    ~LoopbackSocket();
    LoopbackSocket(LoopbackSocket&& other) noexcept;
    LoopbackSocket& operator=(LoopbackSocket&&) = delete;

    // Blank when nobody has connected in that time.
    [[nodiscard]] LoopbackSocket accept(int timeoutMs);
    [[nodiscard]] explicit operator bool() const { return m_socket != kNone; }

    [[nodiscard]] int port() const;
    [[nodiscard]] int peerPort() const;

    // False when nothing has come, nor the other end closed, in that time.
    [[nodiscard]] bool waitForInput(int timeoutMs) const;

    // Waits. Gives the bytes received; 0 once the other end has closed or is gone.
    [[nodiscard]] std::size_t receive(char* target, std::size_t size);

    // False once the other end is gone.
    [[nodiscard]] bool send(std::string_view bytes);

private:
    static constexpr std::intptr_t kNone = -1;

    explicit LoopbackSocket(std::intptr_t socket) :
        m_socket(socket)
    {}

    std::intptr_t m_socket;
};

} // namespace tavo::test_support
