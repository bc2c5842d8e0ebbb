#include "device_agent/objects/object_block.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

using sdk::analytics::ObjectMetadata;

static_assert(alignof(ObjectMetadata) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);

ObjectBlock::ObjectBlock(std::size_t room) :
    m_memory(std::make_unique_for_overwrite<std::byte[]>(room * sizeof(ObjectMetadata))),
    m_objects(reinterpret_cast<ObjectMetadata*>(m_memory.get()))
{}

ObjectBlock::~ObjectBlock()
{
    std::destroy_n(m_objects, m_count);
}

sdk::Ptr<ObjectMetadata> ObjectBlock::add()
{
    ObjectMetadata* const object = std::construct_at(m_objects + m_count, this);
    ++m_count;
    addRef();
    sdk::Ptr<ObjectMetadata> result(object);
    // Not owned: the block outlives the object.
    object->setTypeId(std::shared_ptr<const std::string>(
        std::shared_ptr<const std::string>(), &m_typeIds.back()));
    return result;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
