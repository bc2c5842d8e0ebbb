#include "common/message_stream.h"

#include <utility>

namespace tavo::devkit
{

MessageStream::MessageStream(SocketHandle socket) :
    m_socket(socket)
{
    set_non_blocking(m_socket);
}

MessageStream::MessageStream(MessageStream&& other) noexcept :
    m_socket(std::exchange(other.m_socket, kInvalidSocket)),
    m_reader(std::move(other.m_reader))
{}

MessageStream::~MessageStream()
{
    if (m_socket != kInvalidSocket)
        vms_server_plugins::analytics::orlix::socket_close(m_socket);
}

bool MessageStream::receive()
{
    if (m_reader.isRefused())
        return false;
    const std::span<char> room = m_reader.room();
    std::size_t count = 0;
    const Received received = receive_arrived(m_socket, room, count);
    if (received == Received::bytes)
        m_reader.written(count);
    return received != Received::end;
}

std::optional<Message> MessageStream::next()
{
    if (const auto body = m_reader.next())
        return decodeMessage(*body);
    return std::nullopt;
}

bool MessageStream::sendBytes(const std::vector<char>& bytes)
{
    return vms_server_plugins::analytics::orlix::socket_send_message(
        m_socket, bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

} // namespace tavo::devkit
