#include "page/bounded_server.h"

#include <algorithm>
#include <array>
#include <string_view>

#include <poll.h>

#include "common/clock.h"

namespace tavo::devkit
{

namespace
{

constexpr size_t kConnections = 64; // an open page holds one
constexpr size_t kBodyAtMost = 1 << 20;
constexpr size_t kRequestAtMost = kBodyAtMost + (64 << 10); // with its head
constexpr int64_t kRequestUs = 10'000'000; // until all of it is there
constexpr int64_t kWriteUs = 5'000'000; // until the other side takes more
constexpr int64_t kPartingUs = 1'000'000;
constexpr int kTooLarge = 413;

constexpr std::string_view kFull = "HTTP/1.1 503 Service Unavailable\r\nConnection: close\r\n"
                                   "Content-Length: 28\r\n\r\nToo many pages are open now.";

// Of the request that this thread answers: a body that does not say its length was cut.
thread_local bool isCut = false;

bool waitFor(socket_t socket, short event, int64_t untilUs)
{
    while (true)
    {
        pollfd one{socket, event, 0};
        const int64_t leftMs = std::max<int64_t>(untilUs - steadyClockUs() + 999, 0) / 1000;
        const int count = poll(&one, 1, int(leftMs));
        if (count >= 0 || errno != EINTR)
            return count > 0;
    }
}

} // namespace

// What goes over one connection. One thread.
class Connection : public httplib::Stream
{
public:
    explicit Connection(socket_t socket) :
        m_socket(socket)
    {}

    ~Connection() override
    {
        // Who still writes would be cut off before the answer is read.
        shutdown(m_socket, SHUT_WR);
        const int64_t untilUs = steadyClockUs() + kPartingUs;
        while (steadyClockUs() < untilUs && waitFor(m_socket, POLLIN, untilUs) &&
               recv(m_socket, m_buffer.data(), m_buffer.size(), 0) > 0)
        {}
        httplib::detail::close_socket(m_socket);
    }

    void beginRequest()
    {
        m_requestUntilUs = steadyClockUs() + kRequestUs;
        m_left = kRequestAtMost;
        isCut = false;
        m_isLengthKnown = false; // before the head is there
    }

    // Called with the head of a request, before its body.
    void beginBody(const httplib::Request& request)
    {
        m_isLengthKnown = !request.has_header("Transfer-Encoding");
        m_bodyLeft = request.get_header_value<uint64_t>("Content-Length");
    }

    // What was left of a body would be taken for the next request.
    [[nodiscard]] bool isBodyTaken() const { return m_isLengthKnown && m_bodyLeft == 0; }

    // httplib::Stream:
    bool is_readable() const override { return true; }
    bool is_writable() const override { return true; }
    void get_remote_ip_and_port(std::string&, int&) const override {}
    void get_local_ip_and_port(std::string&, int&) const override {}
    socket_t socket() const override { return m_socket; }

    ssize_t read(char* bytes, size_t size) override
    {
        if (m_begin == m_end)
        {
            const size_t wanted = std::min(m_left, m_buffer.size());
            isCut = wanted == 0;
            if (isCut || !waitFor(m_socket, POLLIN, m_requestUntilUs))
                return -1;
            const ssize_t got = recv(m_socket, m_buffer.data(), wanted, 0);
            if (got <= 0)
                return got;
            m_left -= size_t(got);
            m_begin = 0;
            m_end = size_t(got);
        }
        size = std::min(size, m_end - m_begin);
        std::copy_n(&m_buffer[m_begin], size, bytes);
        m_begin += size;
        m_bodyLeft -= std::min<uint64_t>(m_bodyLeft, size);
        return ssize_t(size);
    }

    ssize_t write(const char* bytes, size_t size) override
    {
        if (!waitFor(m_socket, POLLOUT, steadyClockUs() + kWriteUs))
            return -1;
        return send(m_socket, bytes, size, MSG_NOSIGNAL | MSG_DONTWAIT);
    }

private:
    const socket_t m_socket;
    std::array<char, 4096> m_buffer;
    size_t m_begin = 0; // of what was read and not taken
    size_t m_end = 0;
    size_t m_left = 0; // that may still be read of this request
    uint64_t m_bodyLeft = 0;
    bool m_isLengthKnown = false;
    int64_t m_requestUntilUs = 0;
};

BoundedServer::BoundedServer()
{
    // One more, which turns away who comes too much.
    new_task_queue = [] { return new httplib::ThreadPool(kConnections + 1); };
    set_keep_alive_timeout(kRequestUs / 1'000'000);
    set_payload_max_length(kBodyAtMost);
    set_error_handler(
        [](const httplib::Request&, httplib::Response& response)
        {
            if (isCut)
                response.status = kTooLarge;
        });
}

void BoundedServer::widenLine()
{
    ::listen(svr_sock_, SOMAXCONN);
}

void BoundedServer::endConnections()
{
    const std::lock_guard lock(m_mutex);
    m_isEnding = true;
    while (endLongestIdle())
    {}
}

bool BoundedServer::process_and_close_socket(socket_t socket)
{
    Connection connection(socket);
    if (!enter(socket))
    {
        connection.write(kFull.data(), kFull.size());
        return false;
    }
    while (becomeIdle(socket) && answerRequest(connection))
    {}
    leave(socket);
    return true;
}

// Whether the connection is of use for another one.
bool BoundedServer::answerRequest(Connection& connection)
{
    connection.beginRequest();
    bool isLast = false;
    const auto onHead = [&](httplib::Request& request)
    {
        becomeBusy(connection.socket());
        request.headers.erase("Content-Encoding"); // nothing is unpacked: it would have any size
        request.ranges.resize(std::min<size_t>(request.ranges.size(), 1));
        connection.beginBody(request);
    };
    return process_request(connection, /*close_connection*/ false, isLast, onHead) && !isLast &&
        connection.isBodyTaken();
}

bool BoundedServer::enter(socket_t socket)
{
    const std::lock_guard lock(m_mutex);
    if (m_isEnding || (m_idleSinceUs.size() >= kConnections && !endLongestIdle()))
        return false;
    m_idleSinceUs[socket] = steadyClockUs();
    return true;
}

// False when the connection has to make room.
bool BoundedServer::becomeIdle(socket_t socket)
{
    const std::lock_guard lock(m_mutex);
    const auto entry = m_idleSinceUs.find(socket);
    if (entry == m_idleSinceUs.end() || m_isEnding)
        return false;
    entry->second = steadyClockUs();
    return true;
}

void BoundedServer::becomeBusy(socket_t socket)
{
    const std::lock_guard lock(m_mutex);
    if (const auto entry = m_idleSinceUs.find(socket); entry != m_idleSinceUs.end())
        entry->second = kBusy;
}

void BoundedServer::leave(socket_t socket)
{
    const std::lock_guard lock(m_mutex);
    m_idleSinceUs.erase(socket);
}

// Its thread sees the end and closes it. Called with m_mutex locked.
bool BoundedServer::endLongestIdle()
{
    const auto longest = std::min_element(
        m_idleSinceUs.begin(), m_idleSinceUs.end(),
        [](const auto& left, const auto& right) { return left.second < right.second; });
    if (longest == m_idleSinceUs.end() || longest->second == kBusy)
        return false;
    shutdown(longest->first, SHUT_RDWR);
    m_idleSinceUs.erase(longest);
    return true;
}

} // namespace tavo::devkit
