#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace tavo::devkit
{

// Sends results to the plugin, each on a connection of its own, from a thread of its own, so that
// a plugin that is slow, or not there, does not hold up the inference. When it cannot follow, the
// oldest results are dropped.
class ResultSender
{
public:
    explicit ResultSender(std::string pluginSocket);

    // Drops what has not been sent; waits for the one that is on its way, a second or two at most.
    ~ResultSender();
    ResultSender(const ResultSender&) = delete;
    ResultSender& operator=(const ResultSender&) = delete;

    // Takes an encoded result. Never waits. Any thread.
    void send(std::vector<char> message);

private:
    void run();

    static constexpr std::size_t kMaxWaiting = 64;

    const std::string m_pluginSocket;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<std::vector<char>> m_waiting; // guarded by m_mutex, as is m_stopping
    bool m_stopping = false;
    std::thread m_thread; // last: it uses all the others
};

} // namespace tavo::devkit
