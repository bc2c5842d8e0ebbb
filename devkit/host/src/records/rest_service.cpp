#include "records/rest_service.h"

#include <tavo/sdk/helpers/string.h>

namespace tavo::devkit
{

RestService::RestService(RecordStore& store) :
    m_store(store),
    m_thread([this](std::stop_token stop) { run(std::move(stop)); })
{}

RestService::~RestService() = default;

void RestService::submit(RestRequest request, sdk::Ptr<CompletionHandler> handler)
{
    {
        const std::lock_guard lock(m_mutex);
        m_jobs.push_back({std::move(request), std::move(handler)});
    }
    m_changed.notify_one();
}

void RestService::betweenRequests(const std::function<void()>& change)
{
    const std::lock_guard lock(m_requestMutex);
    change();
}

std::string RestService::answer(const RestRequest& request)
{
    const std::lock_guard lock(m_requestMutex);
    return answerRequest(m_store, request);
}

void RestService::run(std::stop_token stop)
{
    std::unique_lock lock(m_mutex);
    while (m_changed.wait(lock, stop, [this] { return !m_jobs.empty(); }))
    {
        Job job = std::move(m_jobs.front());
        m_jobs.pop_front();
        // Late, but not for somebody who waits for the end.
        m_changed.wait_for(lock, stop, std::chrono::milliseconds(m_delayMs), [] { return false; });
        lock.unlock();
        // The handler owns the reference in the result.
        job.handler->execute(
            sdk::Result<const sdk::IString*>(new sdk::String(answer(job.request))));
        job.handler.reset(); // the library's object ends without our lock
        lock.lock();
    }
}

} // namespace tavo::devkit
