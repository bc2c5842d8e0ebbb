#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "engine/result_times.h"

namespace tavo::devkit
{

// Sends results to the plugin, each on a connection of its own, from a thread of its own, so that
// a plugin that is slow, or not there, does not hold up the inference. When it cannot follow, the
// oldest results are dropped.
class ResultSender
{
public:
    struct Outgoing
    {
        std::vector<char> message;
        std::uint64_t inputIndex = 0; // of its frame, as the timestamp
        std::uint64_t timestampUs = 0;
    };

    // The times of all results go into the file `timesFile`, unless that is null.
    ResultSender(std::string pluginSocket, const char* timesFile);

    // Drops what has not been sent; waits for the one that is on its way, a second or two at most.
    ~ResultSender();
    ResultSender(const ResultSender&) = delete;
    ResultSender& operator=(const ResultSender&) = delete;

    // Takes an encoded result. Never waits. Any thread.
    void send(Outgoing result);

private:
    void run();

    static constexpr std::size_t kMaxWaiting = 64;

    const std::string m_pluginSocket;
    ResultTimes m_times; // the thread's alone
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Outgoing> m_waiting; // guarded by m_mutex, as is m_stopping
    bool m_stopping = false;
    std::thread m_thread; // last: it uses all the others
};

} // namespace tavo::devkit
