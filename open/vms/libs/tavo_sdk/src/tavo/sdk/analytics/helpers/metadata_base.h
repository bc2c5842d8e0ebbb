// What metadata, and its packets, have in common. Filled by one thread, then handed over.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include <tavo/kit/debug.h>
#include <tavo/sdk/helpers/ref_countable.h>
#include <tavo/sdk/i_attribute.h>
#include <tavo/sdk/ptr.h>

namespace tavo::sdk::analytics
{

// The object at an index with a reference added for the caller, or null out of range.
template <class T>
T* objectAt(const std::vector<Ptr<T>>& objects, int index)
{
    if (index < 0 || static_cast<size_t>(index) >= objects.size())
        return nullptr;
    return Ptr<T>(objects[static_cast<size_t>(index)]).releasePtr();
}

// Objects and events.
template <class MetadataInterface>
class AttributedMetadata : public RefCountable<MetadataInterface>
{
public:
    void setConfidence(float confidence) { m_confidence = confidence; }
    void addAttribute(Ptr<const IAttribute> attribute)
    {
        if (kit::verify(static_cast<bool>(attribute), "attribute"))
            m_attributes.push_back(std::move(attribute));
    }

    // MetadataInterface:
    float confidence() const override { return m_confidence; }
    const IAttribute* attribute(int index) const override { return objectAt(m_attributes, index); }
    int attributeCount() const override { return static_cast<int>(m_attributes.size()); }

protected:
    using RefCountable<MetadataInterface>::RefCountable;

private:
    float m_confidence = 1.0F;
    std::vector<Ptr<const IAttribute>> m_attributes;
};

// Packets of either.
template <class PacketInterface, class Item>
class MetadataPacket : public RefCountable<PacketInterface>
{
public:
    void setTimestampUs(std::int64_t timestampUs) { m_timestampUs = timestampUs; }
    void setDurationUs(std::int64_t durationUs) { m_durationUs = durationUs; }
    void setFlags(std::uint32_t flags) { m_flags = flags; }
    void reserve(std::size_t itemCount) { m_items.reserve(itemCount); }

    // IDataPacket:
    std::int64_t timestampUs() const override { return m_timestampUs; }

    // IMetadataPacket:
    std::int64_t durationUs() const override { return m_durationUs; }

    // PacketInterface:
    int count() const override { return static_cast<int>(m_items.size()); }
    const Item* at(int index) const override { return objectAt(m_items, index); }
    std::uint32_t flags() const override { return m_flags; }

protected:
    // `name` is for the report of a null item, which is not added.
    void add(Ptr<const Item> item, const char* name)
    {
        if (kit::verify(static_cast<bool>(item), name))
            m_items.push_back(std::move(item));
    }

private:
    std::int64_t m_timestampUs = 0;
    std::int64_t m_durationUs = 0;
    std::vector<Ptr<const Item>> m_items;
    std::uint32_t m_flags = 0;
};

} // namespace tavo::sdk::analytics
