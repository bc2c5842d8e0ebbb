#pragma once

#include <optional>

#include "common/frame_reader.h"
#include "common/local_io.h"
#include "common/messages.h"

namespace tavo::devkit
{

// One connection and the messages on it, without waiting for the other side. Closes its socket.
// One thread.
class MessageStream
{
public:
    // Takes the socket over and makes it non-blocking.
    explicit MessageStream(SocketHandle socket);
    ~MessageStream();
    MessageStream(MessageStream&& other) noexcept;
    MessageStream& operator=(MessageStream&&) = delete;

    [[nodiscard]] SocketHandle socket() const { return m_socket; }

    // Takes in some of what has arrived, for next() to be called until there is nothing. False once
    // nothing can come any more: the peer has closed, or sent a frame beyond any bound.
    [[nodiscard]] bool receive();

    // The next message that has arrived whole.
    [[nodiscard]] std::optional<Message> next();

    // False if the message did not go out whole. Peers read what they asked for, so one whose
    // buffer is full is as good as dead.
    template <typename M>
    [[nodiscard]] bool send(const M& message)
    {
        return sendBytes(encode(message));
    }

private:
    bool sendBytes(const std::vector<char>& bytes);

    SocketHandle m_socket;
    FrameReader m_reader{kMaxMessageBytes};
};

} // namespace tavo::devkit
