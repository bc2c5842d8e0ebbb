#include "core/device_agents.h"

#include <algorithm>

#include "device_agent/device_agent.h"
#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

std::size_t DeviceAgents::reserve(const std::string& deviceId)
{
    const MutexLock lock(m_mutex);
    std::size_t index = 0;
    while (m_deviceAgents.contains(index) || m_reservedIndices.contains(index))
        ++index;
    m_reservedIndices.emplace(index, deviceId);
    return index;
}

void DeviceAgents::add(std::size_t index, DeviceAgent* agent)
{
    const MutexLock lock(m_mutex);
    m_deviceAgents.emplace(index, agent);
    m_reservedIndices.erase(index);
}

void DeviceAgents::remove(std::size_t index)
{
    const MutexLock lock(m_mutex);
    m_deviceAgents.erase(index);
    m_reservedIndices.erase(index);
}

bool DeviceAgents::has(const std::string& deviceId) const
{
    const MutexLock lock(m_mutex);
    return std::ranges::any_of(
               m_deviceAgents,
               [&](const auto& entry) { return entry.second->deviceId() == deviceId; }) ||
        std::ranges::any_of(
               m_reservedIndices, [&](const auto& entry) { return entry.second == deviceId; });
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
    const MutexLock lock(m_mutex);
    const auto entry = m_deviceAgents.find(index);
    // The destructor of one that is in the registry has yet to pass remove().
    return entry != m_deviceAgents.end() && entry->second->tryAddRef()
        ? sdk::Ptr<DeviceAgent>(entry->second)
        : nullptr;
}

bool DeviceAgents::deliverResult(std::uint32_t inputIndex, mpack_node_t root)
{
    const MutexLock lock(m_mutex);
    const auto entry = m_deviceAgents.find(inputIndex);
    if (entry == m_deviceAgents.end())
    {
        log_info("Device agent not found\n");
        return false;
    }
    if (!entry->second)
    {
        log_info("Something went terribly wrong casting device agent\n");
        return false;
    }
    entry->second->handleResultMessage(root);
    return true;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
