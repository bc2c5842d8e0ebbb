#include "device_agent/objects/object_block.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

using sdk::analytics::ObjectMetadata;

ObjectBlock::ObjectBlock(std::size_t room) :
    m_room(room),
    m_objects(std::allocator<ObjectMetadata>().allocate(room))
{}

ObjectBlock::~ObjectBlock()
{
    std::destroy_n(m_objects, m_count);
    std::allocator<ObjectMetadata>().deallocate(m_objects, m_room);
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
