#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <stop_token>
#include <thread>

#include <tavo/sdk/i_utility_provider.h>
#include <tavo/sdk/ptr.h>

#include "records/record_store.h"
#include "records/rest_api.h"

namespace tavo::devkit
{

// Serves the library's REST requests one after another on a thread of its own, as a server would.
class RestService
{
public:
    using CompletionHandler = sdk::IUtilityProvider4::IHttpRequestCompletionHandler;

    // The store is not owned and outlives this object.
    explicit RestService(RecordStore& store);

    // Serves what is waiting, then ends. Nobody may submit any more.
    ~RestService();

    // Returns at once. Any thread.
    void submit(RestRequest request, sdk::Ptr<CompletionHandler> handler);

    // From now on every answer comes so late. Any thread.
    void setDelay(std::chrono::milliseconds delay) { m_delayMs = delay.count(); }

    // Changes records while no request does. Any thread but the service's own.
    void betweenRequests(const std::function<void()>& change);

private:
    struct Job
    {
        RestRequest request;
        sdk::Ptr<CompletionHandler> handler;
    };

    [[nodiscard]] std::string answer(const RestRequest& request);
    void run(std::stop_token stop);

private:
    RecordStore& m_store;
    std::mutex m_requestMutex; // held while one is answered
    std::atomic<int64_t> m_delayMs = 0;
    std::mutex m_mutex;
    std::condition_variable_any m_changed;
    std::deque<Job> m_jobs;
    std::jthread m_thread; // last: it uses all of the above
};

} // namespace tavo::devkit
