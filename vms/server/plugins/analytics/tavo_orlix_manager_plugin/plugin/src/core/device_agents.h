#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include <tavo/sdk/ptr.h>

#include "inference/plugin_socket_listener.h"
#include "utils/mutex.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

class DeviceAgent;

// The living agents by their index, which is the device number of each; none is owned. It travels
// with frames and results as "InputIndex", so it is not used anew while its agent lives. Any thread
// may call.
//
// Its lock guards the registry and nothing else, and is held for a look or a change.
class DeviceAgents final : public ResultReceiver
{
public:
    // An index for an agent that is yet to be made; nobody else gets it.
    [[nodiscard]] std::size_t reserve(const std::string& deviceId) EXCLUDES(m_mutex);

    // The agent that a reservation was for.
    void add(std::size_t index, DeviceAgent* agent) EXCLUDES(m_mutex);

    // An agent, or a reservation; an unknown index is ignored.
    void remove(std::size_t index) EXCLUDES(m_mutex);

    // Whether there is an agent of that device, or one is being made.
    [[nodiscard]] bool has(const std::string& deviceId) const EXCLUDES(m_mutex);

    // For who goes through them all, one after the other: null for one that is gone meanwhile, or
    // whose last reference is. Who drops the last reference then destroys the agent.
    [[nodiscard]] std::vector<std::size_t> indices() const EXCLUDES(m_mutex);
    [[nodiscard]] sdk::Ptr<DeviceAgent> at(std::size_t index) const EXCLUDES(m_mutex);

    // Destroys those that a result alone has kept alive. The loop's: it takes as long as the host
    // takes to be told.
    void endThoseLeft() EXCLUDES(m_mutex);

    // ResultReceiver: keeps the agent while it handles the result. An agent that the host lets go
    // of meanwhile waits for endThoseLeft.
    [[nodiscard]] bool deliverResult(std::uint32_t inputIndex, mpack_node_t root) override
        EXCLUDES(m_mutex);

private:
    struct Entry
    {
        DeviceAgent* agent;
        bool isLeft = false; // the last reference, which a result had, is the entry's
    };
    class Reference;

    [[nodiscard]] sdk::Ptr<DeviceAgent> find(
        std::size_t index, void (*tellNoAgent)(std::size_t)) const EXCLUDES(m_mutex);
    [[nodiscard]] sdk::Ptr<DeviceAgent> takeLeft() EXCLUDES(m_mutex);

    mutable Mutex m_mutex{LockLevel::registry};
    std::unordered_map<std::size_t, Entry> m_deviceAgents GUARDED_BY(m_mutex);
    // By index: of agents, and of those that are being made.
    std::unordered_map<std::size_t, std::string> m_deviceIds GUARDED_BY(m_mutex);
};

} // namespace tavo::vms_server_plugins::analytics::orlix
