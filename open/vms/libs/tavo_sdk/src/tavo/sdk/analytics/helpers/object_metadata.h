// One detected object. Filled by one thread, then handed over.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include <tavo/sdk/analytics/helpers/metadata_base.h>
#include <tavo/sdk/analytics/i_object_metadata.h>

namespace tavo::sdk::analytics
{

class ObjectMetadata : public AttributedMetadata<IObjectMetadata>
{
public:
    ObjectMetadata() = default;

    // A part of `whole`, which references to it are references to.
    explicit ObjectMetadata(const IRefCountable* whole) :
        AttributedMetadata(whole)
    {}

    // Objects of a type may share its id.
    void setTypeId(std::shared_ptr<const std::string> typeId) { m_typeId = std::move(typeId); }
    void setTypeId(std::string typeId)
    {
        m_typeId = std::make_shared<const std::string>(std::move(typeId));
    }
    void setTrackId(const Uuid& trackId) { m_trackId = trackId; }
    void setSubtype(std::string subtype) { m_subtype = std::move(subtype); }
    void setBoundingBox(const Rect& boundingBox) { m_boundingBox = boundingBox; }

    // IObjectMetadata:
    const char* typeId() const override { return m_typeId ? m_typeId->c_str() : ""; }
    TAVO_RETURNS_CONST_OVERRIDE(Uuid, trackId) { return m_trackId; }
    const char* subtype() const override { return m_subtype.c_str(); }
    TAVO_RETURNS_CONST_OVERRIDE(Rect, boundingBox) { return m_boundingBox; }

private:
    std::shared_ptr<const std::string> m_typeId;
    Uuid m_trackId;
    std::string m_subtype;
    Rect m_boundingBox;
};

} // namespace tavo::sdk::analytics
