#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <string>

#include <tavo/sdk/analytics/helpers/object_metadata.h>
#include <tavo/sdk/helpers/ref_countable.h>
#include <tavo/sdk/ptr.h>

namespace tavo::vms_server_plugins::analytics::orlix
{

// The objects of one result in one piece of memory, with their type ids. Every object is a counted
// one for itself, but they come and go together: whoever keeps one keeps all. Filled by one thread,
// then handed over.
class ObjectBlock final : public sdk::RefCountable<sdk::IRefCountable>
{
public:
    // With room for so many.
    explicit ObjectBlock(std::size_t room);
    ~ObjectBlock() override;

    // The objects that are added from now on are of this type.
    void beginType(std::string typeId) { m_typeIds.push_back(std::move(typeId)); }

    // There is room, and a type.
    [[nodiscard]] sdk::Ptr<sdk::analytics::ObjectMetadata> add();

    // IRefCountable:
    sdk::IRefCountable* queryInterface(const char* interfaceId) override
    {
        return IRefCountable::queryInterface(interfaceId);
    }

private:
    const std::unique_ptr<std::byte[]> m_memory;
    sdk::analytics::ObjectMetadata* const m_objects; // in it; m_count are constructed
    std::size_t m_count = 0;
    std::deque<std::string> m_typeIds; // stay where they are
};

} // namespace tavo::vms_server_plugins::analytics::orlix
