// One event. Filled by one thread, then handed over.
#pragma once

#include <string>
#include <utility>

#include <tavo/kit/debug.h>
#include <tavo/sdk/analytics/helpers/metadata_base.h>
#include <tavo/sdk/analytics/i_event_metadata.h>

namespace tavo::sdk::analytics
{

class EventMetadata : public AttributedMetadata<IEventMetadata>
{
public:
    void setTypeId(std::string typeId) { m_typeId = std::move(typeId); }
    void setCaption(std::string caption) { m_caption = std::move(caption); }
    void setDescription(std::string description) { m_description = std::move(description); }
    void setIsActive(bool isActive) { m_isActive = isActive; }
    void setTrackId(const Uuid& trackId) { m_trackId = trackId; }
    void setKey(std::string key) { m_key = std::move(key); }
    void setRegionId(const Uuid& regionId) { m_regionId = regionId; }

    // IEventMetadata:
    const char* typeId() const override { return m_typeId.c_str(); }
    const char* caption() const override { return m_caption.c_str(); }
    const char* description() const override { return m_description.c_str(); }
    bool isActive() const override { return m_isActive; }
    void getTrackId(Uuid* outValue) const override
    {
        if (kit::verify(outValue, "outValue"))
            *outValue = m_trackId;
    }
    const char* key() const override { return m_key.c_str(); }
    TAVO_RETURNS_CONST_OVERRIDE(Uuid, regionId) { return m_regionId; }

private:
    std::string m_typeId;
    std::string m_caption;
    std::string m_description;
    bool m_isActive = false;
    Uuid m_trackId;
    std::string m_key;
    Uuid m_regionId;
};

} // namespace tavo::sdk::analytics
