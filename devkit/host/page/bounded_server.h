#pragma once

#include <cstdint>
#include <map>
#include <mutex>

#include <httplib.h>

namespace tavo::devkit
{

// A server of HTTP that strangers may talk to. So many connections are open at most, and for one
// more the one that has been idle longest makes room; a request must be there whole within its time
// and its size; of many ranges the first is answered.
class BoundedServer : public httplib::Server
{
public:
    BoundedServer();

    // To be called once it is bound. Those who come at once wait in line: the line that there is
    // by default has five places, and who finds none is never told.
    void widenLine();

    // Ends what is idle, and what is answered after its answer. To be called before stop(), which
    // waits for all of them.
    void endConnections();

private:
    bool process_and_close_socket(socket_t socket) override;
    bool answerRequest(class Connection& connection);

    [[nodiscard]] bool enter(socket_t socket);
    [[nodiscard]] bool becomeIdle(socket_t socket);
    void becomeBusy(socket_t socket);
    void leave(socket_t socket);
    bool endLongestIdle();

private:
    static constexpr int64_t kBusy = INT64_MAX;

    std::mutex m_mutex;
    std::map<socket_t, int64_t> m_idleSinceUs; // of all that are open, by the steady clock
    bool m_isEnding = false;
};

} // namespace tavo::devkit
