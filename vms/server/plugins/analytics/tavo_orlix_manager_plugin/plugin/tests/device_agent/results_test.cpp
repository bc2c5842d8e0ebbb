// The road of a result, through a real agent.
#include <cstdint>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "agent_fixture.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;

class Results : public AgentTest
{
protected:
    // "type x y w h" of the objects of one packet.
    std::vector<std::string> objectsOf(const sdk::analytics::IObjectMetadataPacket& packet)
    {
        std::vector<std::string> objects;
        for (int i = 0; i < packet.count(); ++i)
        {
            const sdk::Ptr<const sdk::analytics::IObjectMetadata> object(packet.at(i));
            EXPECT_EQ(1.0f, object->confidence());
            const auto box = object->boundingBox();
            std::ostringstream text;
            text << object->typeId() << " " << box.x << " " << box.y << " " << box.width << " "
                 << box.height;
            objects.push_back(text.str());
            trackIds[object->typeId()].push_back(object->trackId());
        }
        return objects;
    }

    std::vector<std::string> takeObjects()
    {
        const auto packets = handler->takeObjects();
        EXPECT_LE(packets.size(), 1u);
        return packets.empty() ? std::vector<std::string>() : objectsOf(*packets[0]);
    }

    // Types of the events of the one packet.
    std::vector<std::string> takeEvents()
    {
        std::vector<std::string> types;
        const auto packets = handler->takeEvents();
        EXPECT_EQ(1u, packets.size());
        for (int i = 0; !packets.empty() && i < packets[0]->count(); ++i)
        {
            const sdk::Ptr<const sdk::analytics::IEventMetadata> event(packets[0]->at(i));
            types.emplace_back(event->typeId());
        }
        return types;
    }

    static Entries boxesOf(std::uint64_t timestampUs, const Entries& byClass)
    {
        return {
            {"Timestamp", number(timestampUs)},
            {"Width", number(1000)},
            {"Height", number(1000)},
            {"BBoxes_xyxy", map(byClass)}};
    }

    std::map<std::string, std::vector<sdk::Uuid>> trackIds; // of all objects read, by type
};

TEST_F(Results, WithoutTimestampAreIgnored)
{
    EXPECT_EQ(mpack_ok, handleResult({{"Timestamp", number(0)}, {"Counts", map({})}}));
    EXPECT_NE(mpack_ok, handleResult({{"Counts", map({})}}));
    EXPECT_NE(mpack_ok, handleResult({{"Timestamp", text("soon")}}));
    EXPECT_THAT(handler->takeEvents(), IsEmpty());
    EXPECT_EQ(3u, countInLog("Warning: Timestamp of 0 received. Ignoring input message."));

    handleResult({{"Timestamp", number(1)}});
    EXPECT_THAT(takeEvents(), IsEmpty()) << "the first result, so no throughput";
    handleResult({{"Timestamp", number(2)}});
    EXPECT_THAT(takeEvents(), ElementsAre("tavo.orlix.fps"));
}

TEST_F(Results, CarryTimestampAndDuration)
{
    handleResult(boxesOf(18446744073709551615u, {{"person", boxes({0, 0, 1, 1})}}));
    const auto objects = handler->takeObjects();
    const auto events = handler->takeEvents();
    ASSERT_THAT(objects, SizeIs(1));
    ASSERT_THAT(events, SizeIs(1));
    EXPECT_EQ(1, objects[0]->durationUs());
    EXPECT_EQ(1'000'000, events[0]->durationUs());
    EXPECT_EQ(INT64_MAX, objects[0]->timestampUs()) << "the host's last moment";
    EXPECT_EQ(INT64_MAX, events[0]->timestampUs());
}

TEST_F(Results, AddEventsInOrder)
{
    handleResult({{"Timestamp", number(1)}});
    (void)takeEvents();
    handleResult(
        {{"Timestamp", number(2)},
         {"Events",
          array({map({{"ID", text("mine")}, {"Caption", text("")}, {"Description", text("")}})})},
         {"Scores", map({{"day", real(1)}})},
         {"Counts", map({{"car", number(2)}})}});
    EXPECT_THAT(
        takeEvents(),
        ElementsAre("tavo.orlix.fps", "tavo.orlix.counted", "tavo.orlix.category", "mine"));
    EXPECT_THAT(handler->takeObjects(), IsEmpty());
}

TEST_F(Results, FollowObjectsWithoutIds)
{
    handleResult(boxesOf(
        1000,
        {{"traffic light", boxes({10, 20, 110, 220, 500, 500, 600, 600})},
         {"person", boxes({110, 220, 10, 20})}}));
    EXPECT_THAT(
        takeObjects(),
        UnorderedElementsAre(
            "tavo.orlix.traffic_light 0.01 0.02 0.1 0.2",
            "tavo.orlix.traffic_light 0.5 0.5 0.1 0.1", "tavo.orlix.person 0.11 0.22 0.1 0.2"));
    handleResult(boxesOf(2000, {{"traffic light", boxes({505, 505, 605, 605})}}));
    EXPECT_THAT(takeObjects(), SizeIs(1));
    const auto& ids = trackIds["tavo.orlix.traffic_light"];
    EXPECT_NE(ids[0], ids[1]);
    EXPECT_EQ(ids[1], ids[2]);
}

TEST_F(Results, TakeIdsAndAttributesFromTheMessage)
{
    const std::string id1 = "0123456789abcdef";
    const std::string id2 = "fedcba9876543210";
    auto message = boxesOf(
        1000,
        {{"car", boxes({0, 0, 100, 100, 200, 200, 300, 300})}, {"dog", boxes({0, 0, 100, 100})}});
    message.emplace_back(
        "ObjectsMetaData",
        map(
            {{"car",
              map(
                  {{"ObjectIDs", array({binary(id1), binary(id2)})},
                   {"AttributeKeys", array({texts({"colour", "plate"}), texts({})})},
                   {"AttributeValues", array({texts({"red", "AB 1"}), texts({"more values"})})}})},
             {"dog", map({{"AttributeKeys", array({})}})}}));
    EXPECT_EQ(mpack_ok, handleResult(message));

    const auto packets = handler->takeObjects();
    ASSERT_THAT(packets, SizeIs(1));
    ASSERT_EQ(3, packets[0]->count());
    int cars = 0;
    for (int i = 0; i < 3; ++i)
    {
        const sdk::Ptr<const sdk::analytics::IObjectMetadata> object(packets[0]->at(i));
        const auto trackId = object->trackId();
        const std::string id(trackId.bytes.begin(), trackId.bytes.end());
        if (object->typeId() == std::string("tavo.orlix.dog"))
        {
            EXPECT_FALSE(trackId.isNull()) << "made by the tracker";
            continue;
        }
        ++cars;
        if (id == id2)
        {
            EXPECT_EQ(0, object->attributeCount());
            continue;
        }
        EXPECT_EQ(id1, id);
        ASSERT_EQ(2, object->attributeCount());
        const sdk::Ptr<const sdk::IAttribute> plate(object->attribute(1));
        EXPECT_STREQ("plate", plate->name());
        EXPECT_STREQ("AB 1", plate->value());
        EXPECT_EQ(1.0f, plate->confidence());
    }
    EXPECT_EQ(2, cars);
}

TEST_F(Results, MetadataThatIsTooShortLeavesEmptyIds)
{
    auto message = boxesOf(
        1000,
        {{"car", boxes({0, 0, 100, 100, 200, 200, 300, 300})}, {"dog", boxes({0, 0, 100, 100})}});
    message.emplace_back(
        "ObjectsMetaData", map({{"car", map({{"ObjectIDs", array({binary("short id")})}})}}));
    message.emplace_back("Counts", map({{"car", number(2)}}));
    EXPECT_EQ(mpack_error_data, handleResult(message));
    EXPECT_THAT(
        takeObjects(), ElementsAre("tavo.orlix.car 0 0 0.1 0.1", "tavo.orlix.car 0.2 0.2 0.1 0.1"))
        << "what was read so far goes out";
    const auto& ids = trackIds["tavo.orlix.car"];
    EXPECT_EQ("73686f72-7420-6964-0000-000000000000", ids[0].toText());
    EXPECT_TRUE(ids[1].isNull());
    EXPECT_THAT(takeEvents(), IsEmpty()) << "nothing can be read behind the error";
}

TEST_F(Results, ABoxThatIsThereInPartReadsAsZeroBehindItsEnd)
{
    handleResult(boxesOf(
        1000,
        {{"car", boxes({10, 20, 110, 220, 500})},
         {"empty", binary("")},
         {"bytes", binary("123")}}));
    EXPECT_THAT(
        takeObjects(),
        ElementsAre("tavo.orlix.car 0.01 0.02 0.1 0.2", "tavo.orlix.car 0.5 0 0.5 0"));
}

TEST_F(Results, NeedTheSizeOnlyWithBoxes)
{
    EXPECT_EQ(
        mpack_ok, handleResult({{"Timestamp", number(1)}, {"Counts", map({{"a", number(1)}})}}));
    EXPECT_THAT(takeEvents(), ElementsAre("tavo.orlix.counted"));
    EXPECT_NE(
        mpack_ok,
        handleResult(
            {{"Timestamp", number(2)}, {"BBoxes_xyxy", map({{"a", boxes({0, 0, 1, 1})}})}}));
    EXPECT_THAT(handler->takeObjects(), IsEmpty());
    EXPECT_THAT(takeEvents(), ElementsAre("tavo.orlix.fps"));
}

TEST_F(Results, ClassesThatAreSwitchedOffReachNobody)
{
    handleResult(boxesOf(1000, {{"person", boxes({0, 0, 100, 100})}}));
    (void)takeObjects();
    setSettings({{"visualise_person", "false"}, {"visualise_car", "true"}});
    handleResult(boxesOf(2000, {{"person", boxes({500, 500, 600, 600})}}));
    EXPECT_THAT(handler->takeObjects(), IsEmpty()) << "no packet at all";
    handleResult(
        boxesOf(3000, {{"person", boxes({500, 500, 600, 600})}, {"car", boxes({0, 0, 100, 100})}}));
    EXPECT_THAT(takeObjects(), ElementsAre("tavo.orlix.car 0 0 0.1 0.1"));

    setSettings({});
    handleResult(boxesOf(4000, {{"person", boxes({0, 0, 100, 100})}}));
    EXPECT_THAT(takeObjects(), SizeIs(1));
    const auto& ids = trackIds["tavo.orlix.person"];
    EXPECT_EQ(ids[0], ids[1]) << "the tracks were still there";
}

TEST_F(Results, AreMappedBackFromTheCropInForce)
{
    setSettings({{"cropBox", R"({"figure": {"points": [[0.5, 0.5], [1, 1]]}})"}});
    handleResult(boxesOf(1000, {{"person", boxes({10, 20, 110, 220})}}));
    EXPECT_THAT(takeObjects(), ElementsAre("tavo.orlix.person 0.505 0.51 0.05 0.1"));
}

TEST_F(Results, NamesThatAreTooLongEndTheReading)
{
    EXPECT_EQ(
        mpack_error_too_big,
        handleResult(boxesOf(
            1000,
            {{"car", boxes({0, 0, 100, 100})},
             {std::string(1024, 'n'), boxes({0, 0, 100, 100})},
             {"dog", boxes({0, 0, 100, 100})}})));
    EXPECT_THAT(takeObjects(), ElementsAre("tavo.orlix.car 0 0 0.1 0.1"));
    EXPECT_EQ(
        mpack_ok, handleResult(boxesOf(2000, {{std::string(1023, 'n'), boxes({0, 0, 100, 100})}})));
    EXPECT_THAT(takeObjects(), SizeIs(1));
}

} // namespace

} // namespace tavo::vms_server_plugins::analytics::orlix
