#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include <tavo/sdk/analytics/i_device_info.h>
#include <tavo/sdk/helpers/ref_countable.h>

namespace tavo::vms_server_plugins::analytics::orlix
{

// A camera as the host describes it.
class FakeDevice : public sdk::RefCountable<sdk::analytics::IDeviceInfo>
{
public:
    explicit FakeDevice(std::string id, std::string name = "camera") :
        m_id(std::move(id)),
        m_name(std::move(name))
    {}

    // IDeviceInfo:
    const char* id() const override { return m_id.c_str(); }
    const char* vendor() const override { return ""; }
    const char* model() const override { return ""; }
    const char* firmware() const override { return ""; }
    const char* name() const override { return m_name.c_str(); }
    const char* url() const override { return ""; }
    const char* login() const override { return ""; }
    const char* password() const override { return ""; }
    std::int32_t channelNumber() const override { return 0; }
    const char* sharedId() const override { return ""; }
    const char* logicalId() const override { return ""; }

private:
    const std::string m_id;
    const std::string m_name;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
