// The objects of one moment. Filled by one thread, then handed over.
#pragma once

#include <cstddef>
#include <vector>

#include <tavo/sdk/analytics/i_object_metadata_packet.h>
#include <tavo/sdk/helpers/ref_countable.h>
#include <tavo/sdk/ptr.h>

namespace tavo::sdk::analytics
{

class ObjectMetadataPacket : public RefCountable<IObjectMetadataPacket>
{
public:
    void setTimestampUs(std::int64_t timestampUs) { m_timestampUs = timestampUs; }
    void setDurationUs(std::int64_t durationUs) { m_durationUs = durationUs; }
    void reserve(std::size_t itemCount) { m_items.reserve(itemCount); }
    void addItem(Ptr<const IObjectMetadata> objectMetadata);
    void setFlags(std::uint32_t flags) { m_flags = flags; }

    // IDataPacket:
    std::int64_t timestampUs() const override { return m_timestampUs; }

    // IMetadataPacket:
    std::int64_t durationUs() const override { return m_durationUs; }

    // IObjectMetadataPacket:
    int count() const override { return static_cast<int>(m_items.size()); }
    const IObjectMetadata* at(int index) const override;
    std::uint32_t flags() const override { return m_flags; }

private:
    std::int64_t m_timestampUs = 0;
    std::int64_t m_durationUs = 0;
    std::vector<Ptr<const IObjectMetadata>> m_items;
    std::uint32_t m_flags = 0;
};

} // namespace tavo::sdk::analytics
