#pragma once

#include <optional>
#include <string>

#include "base/message_board.h"
#include "utils/mutex.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// What host threads ask of the runtime loop. Any thread may ask; the loop's alone serves.
//
// A request is taken before it is served, so one that comes meanwhile is served anew. A retry and
// an agent's configuration are served with the device list: they stay until a good list is there.
// What a user asked for stands on the board until it is taken.
class Requests
{
public:
    // `messageBoard` outlives this object.
    explicit Requests(MessageBoard& messageBoard);

    // Each posts its text and clears the warnings. An empty id means all devices; of two resets the
    // last decides.
    void requestReset(const std::string& deviceId);
    void requestClearCache();
    void requestRetryDownloads();

    // An agent was made: the device list is to be applied once more, though it stays the same.
    void requestConfiguration();

    // For the loop:
    [[nodiscard]] std::optional<std::string> takeReset(); // of a device, or empty: of all
    [[nodiscard]] bool takeClearCache();

    // Takes the text away; the request itself stays until takeRetryDownloads.
    [[nodiscard]] bool seeRetryDownloads();
    void takeRetryDownloads();

    [[nodiscard]] bool configurationIsRequested() const;
    void takeConfiguration();

private:
    template <class Set>
    void request(const char* key, const char* text, Set set);

    MessageBoard& m_messageBoard;
    mutable Mutex m_mutex;
    std::optional<std::string> m_resetDeviceId GUARDED_BY(m_mutex);
    bool m_clearCacheRequested GUARDED_BY(m_mutex) = false;
    bool m_retryDownloadsRequested GUARDED_BY(m_mutex) = false;
    bool m_configurationRequested GUARDED_BY(m_mutex) = false;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
