#pragma once

#include <string>
#include <string_view>

#include <tavo/sdk/analytics/i_device_info.h>
#include <tavo/sdk/helpers/ref_countable.h>

namespace tavo::devkit
{

// A device as its record describes it.
class DeviceInfo : public sdk::RefCountable<sdk::analytics::IDeviceInfo>
{
public:
    // Members of the record that are missing are empty texts; a text that is no JSON is an empty
    // record.
    explicit DeviceInfo(std::string_view deviceRecord);

    // IDeviceInfo:
    const char* id() const override { return m_id.c_str(); }
    const char* vendor() const override { return m_vendor.c_str(); }
    const char* model() const override { return m_model.c_str(); }
    const char* firmware() const override { return m_firmware.c_str(); }
    const char* name() const override { return m_name.c_str(); }
    const char* url() const override { return m_url.c_str(); }
    const char* login() const override { return ""; }
    const char* password() const override { return ""; }
    int32_t channelNumber() const override { return 0; }
    const char* sharedId() const override { return m_id.c_str(); }
    const char* logicalId() const override { return m_logicalId.c_str(); }

private:
    std::string m_id;
    std::string m_vendor;
    std::string m_model;
    std::string m_firmware;
    std::string m_name;
    std::string m_url;
    std::string m_logicalId;
};

} // namespace tavo::devkit
