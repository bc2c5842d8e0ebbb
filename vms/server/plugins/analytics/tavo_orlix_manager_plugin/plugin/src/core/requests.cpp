#include "core/requests.h"

#include <utility>

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

constexpr char kResetText[] =
    "Device reset in progress. Please wait a few moments and hit 'Refresh'.";
constexpr char kClearCacheText[] =
    "Plugin is clearing the cache. Please wait a few moments and hit 'Refresh'.";
constexpr char kRetryDownloadsText[] =
    "Plugin will retry model downloads. Please wait a few moments and hit 'Refresh'.";

} // namespace

Requests::Requests(MessageBoard& messageBoard) :
    m_messageBoard(messageBoard)
{}

// The text comes first: the loop takes it away as soon as the request is there.
template <class Set>
void Requests::request(const char* key, const char* text, Set set)
{
    m_messageBoard.postMessage(key, text, MessageType::message);
    {
        const MutexLock lock(m_mutex);
        set();
    }
    m_messageBoard.clearWarnings();
}

void Requests::requestReset(const std::string& deviceId)
{
    request(
        board_key::kResetDevice, kResetText,
        [&]() REQUIRES(m_mutex) { m_resetDeviceId = deviceId; });
}

void Requests::requestClearCache()
{
    request(
        board_key::kClearCache, kClearCacheText,
        [this]() REQUIRES(m_mutex) { m_clearCacheRequested = true; });
}

void Requests::requestRetryDownloads()
{
    request(
        board_key::kRetryDownloads, kRetryDownloadsText,
        [this]() REQUIRES(m_mutex) { m_retryDownloadsRequested = true; });
}

void Requests::requestConfiguration()
{
    const MutexLock lock(m_mutex);
    m_configurationRequested = true;
}

std::optional<std::string> Requests::takeReset()
{
    std::optional<std::string> deviceId;
    {
        const MutexLock lock(m_mutex);
        deviceId = std::exchange(m_resetDeviceId, std::nullopt);
    }
    if (deviceId)
        m_messageBoard.removeMessage(board_key::kResetDevice);
    return deviceId;
}

bool Requests::takeClearCache()
{
    {
        const MutexLock lock(m_mutex);
        if (!std::exchange(m_clearCacheRequested, false))
            return false;
    }
    m_messageBoard.removeMessage(board_key::kClearCache);
    return true;
}

bool Requests::seeRetryDownloads()
{
    {
        const MutexLock lock(m_mutex);
        if (!m_retryDownloadsRequested)
            return false;
    }
    m_messageBoard.removeMessage(board_key::kRetryDownloads);
    return true;
}

void Requests::takeRetryDownloads()
{
    {
        const MutexLock lock(m_mutex);
        m_retryDownloadsRequested = false;
    }
    m_messageBoard.removeMessage(board_key::kRetryDownloads);
}

bool Requests::configurationIsRequested() const
{
    const MutexLock lock(m_mutex);
    return m_configurationRequested;
}

void Requests::takeConfiguration()
{
    const MutexLock lock(m_mutex);
    m_configurationRequested = false;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
