#include <algorithm>
#include <cstring>
#include <string>

#include "fuzz_target.h"
#include "temporary_folder.h"
#include "utils/socket_calls.h"
#include "utils/sockets.h"

using namespace tavo::vms_server_plugins::analytics::orlix;

namespace
{

// Large messages that are taken would cost more time than they are worth: they are made small.
void shrinkSize(std::string& stream)
{
    constexpr std::uint32_t kLarge = 1 << 16;
    std::uint32_t announced = 0;
    if (stream.size() < sizeof announced)
        return;
    std::memcpy(&announced, stream.data(), sizeof announced);
    if (announced > kLarge && announced <= kMaxMessageSize)
        announced %= kLarge;
    std::memcpy(stream.data(), &announced, sizeof announced);
}

} // namespace

// What peers write to a socket: connections one after the other, which share a buffer. Each is a
// byte for its length and whether more messages are expected on it, and then its bytes.
void tavo::fuzz::run(std::string_view text)
{
    constexpr int kMaxConnections = 8;
    static const TemporaryFolder folder;
    static const SocketHandle listening = socket_listen(folder.path("s"));
    FUZZ_CHECK(listening != kInvalidSocket);

    std::string_view rest = text.substr(0, 8'000);
    ReceiveBuffer buffer;
    for (int i = 0; i < kMaxConnections && !rest.empty(); ++i)
    {
        const auto head = static_cast<unsigned char>(rest.front());
        const bool isLast = head >= 0xF0;
        std::string stream(rest.substr(1, isLast ? rest.size() : head / 2));
        rest.remove_prefix(1 + stream.size());
        shrinkSize(stream);

        const SocketHandle peer = socket_connect(folder.path("s"));
        FUZZ_CHECK(peer != kInvalidSocket);
        if (!stream.empty())
            static_cast<void>(socket_send_some(peer, stream, {}, kSocketTimeoutMs));
        socket_close(peer);
        const SocketHandle accepted = socket_accept_message(
            listening, buffer, head % 2 == 0 ? MessagePlace::sole : MessagePlace::oneOfSeveral);
        FUZZ_CHECK(accepted != kInvalidSocket);
        socket_close(accepted);
        std::uint32_t announced = 0;
        if (stream.size() < sizeof announced)
            continue;
        std::memcpy(&announced, stream.data(), sizeof announced);
        FUZZ_CHECK(buffer.announcedSize() == announced && buffer.capacity() <= kMaxMessageSize);
        const std::span<const char> message = buffer.message();
        FUZZ_CHECK(message.size() == std::min(announced, buffer.capacity()));
        if (announced > kMaxMessageSize)
            continue;
        const auto body = std::string_view(stream).substr(sizeof announced, message.size());
        FUZZ_CHECK(std::equal(body.begin(), body.end(), message.begin()));
    }
}
