#include "core/device_agents.h"

#include <algorithm>
#include <utility>

#include "device_agent/device_agent.h"
#include "utils/log.h"
#include "utils/log_rarely.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

std::size_t DeviceAgents::reserve(const std::string& deviceId)
{
    const MutexLock lock(m_mutex);
    std::size_t index = 0;
    while (m_deviceIds.contains(index))
        ++index;
    m_deviceIds.emplace(index, deviceId);
    return index;
}

void DeviceAgents::add(std::size_t index, DeviceAgent* agent)
{
    const MutexLock lock(m_mutex);
    m_deviceAgents.emplace(index, Entry{agent});
}

void DeviceAgents::remove(std::size_t index)
{
    const MutexLock lock(m_mutex);
    m_deviceAgents.erase(index);
    m_deviceIds.erase(index);
}

bool DeviceAgents::has(const std::string& deviceId) const
{
    const MutexLock lock(m_mutex);
    return std::ranges::any_of(
        m_deviceIds, [&](const auto& entry) { return entry.second == deviceId; });
}

std::vector<std::size_t> DeviceAgents::indices() const
{
    const MutexLock lock(m_mutex);
    std::vector<std::size_t> indices;
    indices.reserve(m_deviceAgents.size());
    for (const auto& [index, agent] : m_deviceAgents)
        indices.push_back(index);
    return indices;
}

sdk::Ptr<DeviceAgent> DeviceAgents::at(std::size_t index) const
{
    return find(
        index,
        [](std::size_t number)
        { log_info("Something went terribly wrong casting a DeviceAgent %zu\n", number); });
}

sdk::Ptr<DeviceAgent> DeviceAgents::find(std::size_t index, void (*tellNoAgent)(std::size_t)) const
{
    const MutexLock lock(m_mutex);
    const auto entry = m_deviceAgents.find(index);
    if (entry == m_deviceAgents.end())
        return nullptr;
    DeviceAgent* const agent = entry->second.agent;
    if (!agent)
    {
        tellNoAgent(index);
        return nullptr;
    }
    // The destructor of one that is in the registry has yet to pass remove().
    return agent->tryAddRef() ? sdk::Ptr<DeviceAgent>(agent) : nullptr;
}

sdk::Ptr<DeviceAgent> DeviceAgents::takeLeft()
{
    const MutexLock lock(m_mutex);
    for (auto& [index, entry] : m_deviceAgents)
    {
        if (std::exchange(entry.isLeft, false))
            return sdk::Ptr<DeviceAgent>(entry.agent);
    }
    return nullptr;
}

void DeviceAgents::endThoseLeft()
{
    while (takeLeft())
    {}
}

// A result's reference to its agent.
class DeviceAgents::Reference
{
public:
    Reference(DeviceAgents& agents, std::size_t index) :
        m_agents(agents),
        m_index(index),
        m_agent(agents
                    .find(
                        index,
                        [](std::size_t)
                        { log_info("Something went terribly wrong casting device agent\n"); })
                    .releasePtr())
    {}
    ~Reference()
    {
        if (!m_agent || m_agent->releaseRefUnlessLast())
            return;
        const MutexLock lock(m_agents.m_mutex);
        const auto entry = m_agents.m_deviceAgents.find(m_index);
        if (entry != m_agents.m_deviceAgents.end()) // as long as the agent lives
            entry->second.isLeft = true;
    }
    Reference(const Reference&) = delete;
    Reference& operator=(const Reference&) = delete;

    [[nodiscard]] DeviceAgent* get() const { return m_agent; }

private:
    DeviceAgents& m_agents;
    const std::size_t m_index;
    DeviceAgent* const m_agent;
};

bool DeviceAgents::deliverResult(std::uint32_t inputIndex, mpack_node_t root)
{
    const Reference agent(*this, inputIndex);
    if (!agent.get())
    {
        log_rarely("", "Device agent not found\n");
        return false;
    }
    agent.get()->handleResultMessage(root);
    return true;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
