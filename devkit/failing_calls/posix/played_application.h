#pragma once

#include <atomic>
#include <string>
#include <thread>

#include "utils/sockets.h"

namespace tavo::devkit
{

// The application's side of both sockets: takes each frame in a segment that is new and full of
// holes, has the one before let go of, and answers with a result that has a box and an event.
class PlayedApplication
{
public:
    // The folder is that of the sockets.
    explicit PlayedApplication(const std::string& folder);
    ~PlayedApplication();
    PlayedApplication(const PlayedApplication&) = delete;
    PlayedApplication& operator=(const PlayedApplication&) = delete;

private:
    using SocketHandle = vms_server_plugins::analytics::orlix::SocketHandle;

    void takeFrame(SocketHandle connection);
    void sendResult();

    const std::string m_pluginSocket;
    std::string m_segment;
    std::string m_former; // which the library still has attached, as far as is known
    int m_timesTold = 0; // to let go of it
    int m_segmentCount = 0;
    std::atomic<bool> m_stop{false};
    std::thread m_thread; // last: it uses all of the above
};

} // namespace tavo::devkit
