#include "device_list.h"

#include <algorithm>

#include <tavo/sdk/helpers/uuid.h>

#include "records/records.h"

namespace tavo::devkit
{

DeviceList::DeviceList(Plan plan) :
    m_plan(std::move(plan))
{}

DeviceList::~DeviceList()
{
    stop();
    while (!m_devices.empty())
        m_devices.pop_back();
}

void DeviceList::obtain(const std::string& deviceId)
{
    const std::lock_guard lock(m_changeMutex);
    obtainLocked(deviceId);
}

void DeviceList::obtainLocked(const std::string& deviceId)
{
    Device::Surroundings surroundings = m_plan.surroundings;
    if (m_nextIndex == m_plan.annotatedCamera)
        surroundings.annotator = m_plan.annotator;
    const auto device = std::make_shared<Device>(
        MetadataSink::Origin{m_nextIndex, deviceId}, sourceOf(deviceId),
        m_plan.userValues(deviceId), surroundings);
    ++m_nextIndex;
    {
        const std::lock_guard lock(m_listMutex);
        m_devices.push_back(device);
    }
    if (m_isRunning)
        device->start();
}

void DeviceList::start()
{
    const std::lock_guard lock(m_changeMutex);
    m_isRunning = true;
    for (const auto& device : all())
        device->start();
}

void DeviceList::stop()
{
    const std::lock_guard lock(m_changeMutex);
    m_isRunning = false;
    for (const auto& device : all())
        device->stop();
}

std::string DeviceList::add(const std::string& name, const std::string& source)
{
    const std::lock_guard lock(m_changeMutex);
    RecordStore& store = m_plan.surroundings.store;
    std::string id = toText(sdk::randomUuid());
    store.put(
        RecordKind::device, id, newDeviceRecord(id, name, source, readIdentity(store).serverId));
    hidePassword(store, id);
    try
    {
        obtainLocked(id);
    }
    catch (const std::exception&)
    {
        store.remove(RecordKind::device, id);
        store.remove(RecordKind::address, id);
        throw;
    }
    return id;
}

bool DeviceList::remove(const std::string& deviceId)
{
    const std::lock_guard lock(m_changeMutex);
    const std::shared_ptr<Device> device = find(deviceId);
    if (!device)
        return false;
    {
        const std::lock_guard listLock(m_listMutex);
        std::erase(m_devices, device);
    }
    device->end();
    m_plan.surroundings.engine.restService().betweenRequests(
        [&]
        {
            m_plan.surroundings.store.remove(RecordKind::device, deviceId);
            m_plan.surroundings.store.remove(RecordKind::settings, deviceId);
            m_plan.surroundings.store.remove(RecordKind::address, deviceId);
        });
    return true;
}

std::vector<std::shared_ptr<Device>> DeviceList::all() const
{
    const std::lock_guard lock(m_listMutex);
    return m_devices;
}

std::shared_ptr<Device> DeviceList::find(const std::string& deviceId) const
{
    const std::lock_guard lock(m_listMutex);
    const auto device = std::find_if(
        m_devices.begin(), m_devices.end(),
        [&](const auto& candidate) { return candidate->origin().deviceId == deviceId; });
    return device == m_devices.end() ? nullptr : *device;
}

std::string DeviceList::sourceOf(const std::string& deviceId) const
{
    const std::string own = addressOf(m_plan.surroundings.store, deviceId);
    return own.empty() ? m_plan.video : own;
}

} // namespace tavo::devkit
