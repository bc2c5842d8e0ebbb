// The hand-over of one frame:
// 1. connect, and announce the message's size;
// 2. receive the reply: which segment to let go of, which to write to;
// 3. attach the segment unless it is attached, and write the message into it;
// 4. confirm, and close.
// Nothing is retried: the next frame tries again.

#include "inference/input_reply.h"
#include "inference/orlix_manager_interface.h"
#include "utils/log.h"
#include "utils/log_rarely.h"
#include "utils/sockets.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

class ModuleConnection
{
public:
    explicit ModuleConnection(const std::string& path) :
        m_socket(socket_connect(path))
    {}
    ~ModuleConnection() { close(); }
    ModuleConnection(const ModuleConnection&) = delete;
    ModuleConnection& operator=(const ModuleConnection&) = delete;

    [[nodiscard]] bool isOpen() const { return m_socket != kInvalidSocket; }

    // Not answered: a message that does not get through shows in the missing reply, or costs the
    // application one frame.
    void send(const SmallMessage& message) const
    {
        socket_send_message(m_socket, message.data(), message.size());
    }

    // Nothing but this reply is ever received on a connection.
    void receiveReply(ReceiveBuffer& buffer) const
    {
        socket_receive_message(m_socket, buffer, MessagePlace::sole);
    }

    void close()
    {
        if (isOpen())
            socket_close(std::exchange(m_socket, kInvalidSocket));
    }

private:
    SocketHandle m_socket;
};

void closeSegment(AttachedSegments& segments, InputReply& reply)
{
    const auto name = reply.closedSegment();
    if (!name || segments.close(*name))
        return;
    // Reading the name as a number puts the reply in error, so that it names no segment any more:
    // as operators and applications know it.
    log_warning(
        "", "Warning: Closing unknown SHM: %zu\n",
        static_cast<std::size_t>(reply.closedSegmentAsNumber()));
}

// Null when there is nothing to write to.
std::shared_ptr<AttachedSegment> segmentOf(InputReply& reply, AttachedSegments& segments)
{
    closeSegment(segments, reply);
    const auto name = reply.segment();
    if (!name)
    {
        log_debug("Orlix Manager not ready for input.\n");
        return nullptr;
    }
    auto segment = segments.find(*name);
    if (!segment)
        log_warning("", "Warning! Could not attach SHM %s\n", name->data());
    return segment;
}

} // namespace

bool OrlixManagerInterface::sendInput(
    const MessageBuffer& message, std::uint64_t deviceNumber, const std::function<void()>& written)
{
    log_debug(
        "Sending input message to Orlix Manager Index: %zu Size: %zu\n",
        static_cast<std::size_t>(deviceNumber), message.size());
    ModuleConnection connection(m_moduleSocketPath);
    if (!connection.isOpen())
    {
        log_warning(
            "", "Warning! Could not connect with Orlix Manager %s.\n", m_moduleSocketPath.c_str());
        return false;
    }
    connection.send(SmallMessage::announcement(deviceNumber, message.size()));

    log_debug("Waiting for response.\n");
    ReceiveBuffer buffer;
    connection.receiveReply(buffer);
    if (!buffer.data())
    {
        log_warning(
            "", "Warning! Could not communicate with Orlix Manager %s.\n",
            m_moduleSocketPath.c_str());
        return false;
    }
    log_debug("Received response header.\n");
    InputReply reply(buffer.message());
    if (reply.error() != mpack_ok)
    {
        log_warning(
            "", "Warning: Invalid response message received. %s. Ignoring.\n",
            mpack_error_to_string(reply.error()));
        return false;
    }
    const auto segment = segmentOf(reply, m_segments);
    if (!segment)
        return false;

    log_debug("Writing to attached SHM\n");
    if (!segment->write(message, m_copyChoice))
        return false;
    written();
    log_debug("Sending success message to Orlix Manager\n");
    connection.send(m_completionMessage);
    log_debug("Closing connection...\n");
    connection.close();
    log_debug("Finished sending input message to Orlix Manager\n");
    return true;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
