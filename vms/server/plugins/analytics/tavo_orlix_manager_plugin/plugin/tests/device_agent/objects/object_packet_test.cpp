#include "device_agent/objects/object_packet.h"

#include <atomic>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <tavo/sdk/helpers/lib_context.h>
#include <tavo/sdk/helpers/uuid.h>

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

using Object = sdk::Ptr<const sdk::analytics::IObjectMetadata>;

TrackedObject object(float x1, const char* value)
{
    TrackedObject object;
    object.box = {x1, 10, x1 + 100, 60};
    object.trackId = sdk::randomUuid();
    object.attributes = {{"colour of what was seen", value}};
    return object;
}

// As a host looks for leaks. There is one for good in a process.
class LivingObjects : public sdk::IRefCountableRegistry
{
public:
    TAVO_DESTRUCTOR_OVERRIDE(LivingObjects) = default;
    void notifyCreated(const sdk::IRefCountable*, std::uint32_t) override { ++m_count; }
    void notifyDestroyed(const sdk::IRefCountable*, std::uint32_t) override { --m_count; }

    static int count()
    {
        static LivingObjects* const living = []
        {
            auto* const registry = new LivingObjects; // hears of others to the very end
            sdk::libContext().setRefCountableRegistry(registry);
            return registry;
        }();
        return living->m_count;
    }

private:
    std::atomic<int> m_count{0};
};

// A host may keep what it likes of a packet, and let go of it in any order.
TEST(ObjectPacket, anObjectOutlivesItsPacketAndTheOthers)
{
    const ObjectsByClass objects = {
        {"person on a bicycle", {object(0, "red"), object(200, "as blue as the sky")}},
        {"car", {object(400, "green")}},
    };
    std::map<sdk::Uuid, std::pair<std::string, const TrackedObject*>> expected;
    for (const auto& [className, objectsOfClass] : objects)
    {
        for (const TrackedObject& each : objectsOfClass)
        {
            expected[each.trackId] = {
                className == "car" ? "tavo.orlix.car" : "tavo.orlix.person_on_a_bicycle", &each};
        }
    }
    const int before = LivingObjects::count();
    std::vector<Object> kept;
    {
        const auto packet = buildObjectPacket(objects, 5, 1000, 100, DeviceSettings());
        ASSERT_EQ(3, packet->count());
        for (int i = 0; i < packet->count(); ++i)
            kept.emplace_back(packet->at(i));
        EXPECT_EQ(nullptr, packet->at(3));
    }
    for (int left = 3; left > 0; --left)
    {
        const Object last = kept.back();
        kept.pop_back();
        const auto& [typeId, tracked] = expected.at(last->trackId());
        EXPECT_EQ(typeId, last->typeId());
        EXPECT_EQ(tracked->box.x1 / 1000, last->boundingBox().x);
        EXPECT_EQ(0.5f, last->boundingBox().height);
        ASSERT_EQ(1, last->attributeCount());
        EXPECT_EQ(
            tracked->attributes[0].second,
            sdk::Ptr<const sdk::IAttribute>(last->attribute(0))->value());
        EXPECT_EQ(nullptr, last->attribute(1));
    }
    EXPECT_EQ(before, LivingObjects::count());
}

TEST(ObjectPacket, holdsNoneOfAClassWithout)
{
    const int before = LivingObjects::count();
    EXPECT_FALSE(buildObjectPacket({}, 5, 1000, 100, DeviceSettings()));
    EXPECT_EQ(0, buildObjectPacket({{"car", {}}}, 5, 1000, 100, DeviceSettings())->count());
    EXPECT_EQ(before, LivingObjects::count());
}

} // namespace

} // namespace tavo::vms_server_plugins::analytics::orlix
