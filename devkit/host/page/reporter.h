#pragma once

#include <map>
#include <mutex>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

#include "host.h"
#include "page/ladder.h"
#include "page/live_view.h"
#include "page/log_follower.h"

namespace tavo::devkit
{

// Tells the open pages once a second how the cameras and the ladder stand, and what the logs have
// grown by, on a thread of its own.
class Reporter
{
public:
    // Both are not owned and outlive this object.
    Reporter(Host& host, LiveView& live);

    // What a page is told that has just been opened: JSON objects with a "kind".
    [[nodiscard]] std::vector<std::string> greeting();

private:
    struct Seen
    {
        CameraTotals totals;
        int64_t frameUs = 0; // when there was something new, by the steady clock
        int64_t resultUs = 0;
    };

    void run(std::stop_token stop);
    void publishLogs();
    [[nodiscard]] std::string status();
    [[nodiscard]] std::vector<Rung> ladder(int64_t nowUs) const;

private:
    Host& m_host;
    LiveView& m_live;
    std::mutex m_mutex; // over the two below
    std::vector<LogFollower> m_logs;
    std::map<std::string, Seen> m_seen; // by device
    std::jthread m_thread; // last: it uses all of the above
};

} // namespace tavo::devkit
