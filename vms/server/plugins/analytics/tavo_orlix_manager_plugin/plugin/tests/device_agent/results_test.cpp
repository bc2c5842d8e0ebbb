// The road of a result, through a real agent.
#include <cstdint>
#include <limits>
#include <set>
#include <string>
#include <vector>

#include "agent_fixture.h"
#include "core/device_agents.h"
#include "utils/log.h"
#include "utils/tests/test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

using namespace test;
using testing::ElementsAre, testing::IsEmpty, testing::Pair, testing::SizeIs, testing::StartsWith,
    testing::UnorderedElementsAre;

class Results : public AgentTest
{
protected:
    static Entries boxesOf(std::uint64_t timestampUs, const Entries& byClass)
    {
        return {
            {"Timestamp", number(timestampUs)},
            {"Width", number(1000)},
            {"Height", number(500)},
            {"BBoxes_xyxy", map(byClass)}};
    }
};

TEST_F(Results, WithoutTimestampAreIgnored)
{
    EXPECT_EQ(mpack_ok, handleResult({{"Timestamp", number(0)}, {"Counts", map({})}}));
    EXPECT_NE(mpack_ok, handleResult({{"Counts", map({})}}));
    EXPECT_NE(mpack_ok, handleResult({{"Timestamp", text("soon")}}));
    EXPECT_THAT(handler->takeEvents(), IsEmpty());
}

TEST_F(Results, ComeToNoAgentThatIsBeingDestroyed)
{
    DeviceAgents agents;
    const std::size_t index = agents.reserve(kDeviceId);
    EXPECT_TRUE(agents.has(kDeviceId)); // as soon as one is made
    EXPECT_FALSE(agents.has("another"));
    agents.add(index, agent.get());
    Message message(map({{"Timestamp", number(1)}}));
    services().removing = [&] { EXPECT_FALSE(agents.deliverResult(0, message.root())); };
    EXPECT_TRUE(agents.deliverResult(0, message.root()));
    agent.reset();
    EXPECT_THAT(handler->takePackets(), SizeIs(1));
}

TEST_F(Results, AddEventsInOrder)
{
    handleResult({{"Timestamp", number(1)}});
    EXPECT_THAT(handler->takeEvents(), IsEmpty()) << "the first result, so no throughput";
    EXPECT_EQ(
        mpack_ok,
        handleResult(
            {{"Timestamp", number(2)},
             {"Events",
              array(
                  {map({{"ID", text("mine")}, {"Caption", text("")}, {"Description", text("")}})})},
             {"Scores", map({{"day", real(1)}})},
             {"Counts", map({{"person", number(3)}, {"car", number(18446744073709551615u)}})}}));
    EXPECT_THAT(
        handler->takeEvents(),
        ElementsAre(
            StartsWith("tavo.orlix.fps|Performance|\nThroughput: "),
            "tavo.orlix.counted|Objects counted|\nperson: 3\ncar: 18446744073709551615\n",
            "tavo.orlix.category|Category detected|\nday\n", "mine||"));
}

TEST_F(Results, TakeBoxesAsTheyAre)
{
    handleResult(boxesOf(
        1000,
        {{"traffic light", boxes({10, 20, 110, 220, 500, 400, 600, 450})},
         {"person", boxes({110, 220, 10, 20})},
         {"cut off", boxes({10, 20, 110, 220, 500})}, // zero behind its end
         {"bytes", binary("123")}}));
    EXPECT_THAT(
        handler->takeObjects(),
        UnorderedElementsAre(
            "tavo.orlix.traffic_light 0.01 0.04 0.1 0.4",
            "tavo.orlix.traffic_light 0.5 0.8 0.1 0.1", "tavo.orlix.person 0.11 0.44 0.1 0.4",
            "tavo.orlix.cut_off 0.01 0.04 0.1 0.4", "tavo.orlix.cut_off 0.5 0 0.5 0"));
    EXPECT_THAT(handler->takePackets(), ElementsAre(Pair("objects", 1000), Pair("events", 1000)));
}

TEST_F(Results, TakeIdsAndAttributesFromTheMessage)
{
    auto message = boxesOf(1000, {{"car", boxes({0, 0, 100, 100, 200, 200, 300, 300})}});
    message.emplace_back(
        "ObjectsMetaData",
        map(
            {{"car",
              map(
                  {{"ObjectIDs", array({binary("0123456789abcdef"), binary("fedcba9876543210")})},
                   {"AttributeKeys", array({array({text("colour"), text("plate")}), array({})})},
                   {"AttributeValues",
                    array({array({text("red"), text("AB 1")}), array({text("more")})})}})}}));
    EXPECT_EQ(mpack_ok, handleResult(message));
    EXPECT_THAT(
        handler->takeObjects(),
        ElementsAre(
            "tavo.orlix.car 0 0 0.1 0.2 colour=red plate=AB 1", "tavo.orlix.car 0.2 0.4 0.1 0.2"));
    const auto& ids = handler->trackIds["tavo.orlix.car"];
    EXPECT_EQ("30313233-3435-3637-3839-616263646566", toText(ids.at(0)));
    EXPECT_EQ("66656463-6261-3938-3736-353433323130", toText(ids.at(1)));
}

TEST_F(Results, MetadataThatIsTooShortLeavesEmptyIds)
{
    auto message = boxesOf(1000, {{"car", boxes({0, 0, 100, 100, 200, 200, 300, 300})}});
    message.emplace_back(
        "ObjectsMetaData", map({{"car", map({{"ObjectIDs", array({binary("short id")})}})}}));
    message.emplace_back("Counts", map({{"car", number(2)}}));
    EXPECT_EQ(mpack_error_data, handleResult(message));
    EXPECT_THAT(handler->takeObjects(), SizeIs(2)) << "what was read so far goes out";
    const auto& ids = handler->trackIds["tavo.orlix.car"];
    EXPECT_EQ("73686f72-7420-6964-0000-000000000000", toText(ids[0]));
    EXPECT_TRUE(ids[1].isNull());
    EXPECT_THAT(handler->takeEvents(), IsEmpty()) << "nothing can be read behind the error";
}

TEST_F(Results, AreMappedBackFromTheCropWithoutClassesThatAreSwitchedOff)
{
    const Entries both = {
        {"person", boxes({0, 0, 100, 100})}, {"car", boxes({100, 100, 300, 200})}};
    handleResult(boxesOf(1000, both));
    EXPECT_THAT(handler->takeObjects(), SizeIs(2));
    setSettings(
        {{"visualise_person", "false"},
         {"visualise_car", "true"},
         {"cropBox", R"({"figure": {"points": [[0.5, 0.25], [1, 0.5]]}})"}});
    handleResult(boxesOf(2000, both));
    EXPECT_THAT(handler->takeObjects(), ElementsAre("tavo.orlix.car 0.55 0.3 0.1 0.05"));
    setSettings({});
    handleResult(boxesOf(3000, both));
    EXPECT_THAT(handler->takeObjects(), SizeIs(2));
    const auto& ids = handler->trackIds["tavo.orlix.person"];
    EXPECT_EQ(ids.at(0), ids.at(1)) << "the tracks were still there";
}

TEST_F(Results, LoseTheObjectsWhosePlaceIsNoNumber)
{
    constexpr float kNone = std::numeric_limits<float>::quiet_NaN();
    constexpr float kFar = std::numeric_limits<float>::infinity();
    constexpr float kMost = std::numeric_limits<float>::max();
    const CapturedLog log;
    auto message = boxesOf(
        1000,
        {{"cat", boxes({kNone, 0, 9, 9})},
         {"car", boxes({10, kFar, 20, 30, 10, 10, 20, 20, 10, 10, -kFar, 20, 10, 10, 20, kNone})},
         {"dog", boxes({-kMost, 10, kMost, 20})}});
    message.emplace_back(
        "ObjectsMetaData",
        map(
            {{"car",
              map(
                  {{"ObjectIDs",
                    array(
                        {binary("1"), binary("0123456789abcdef"), binary("3"), binary("4")})}})}}));
    EXPECT_EQ(mpack_ok, handleResult(message));
    EXPECT_THAT(handler->takeObjects(), ElementsAre("tavo.orlix.car 0.01 0.02 0.01 0.02"));
    EXPECT_EQ(
        "30313233-3435-3637-3839-616263646566", toText(handler->trackIds["tavo.orlix.car"].at(0)));
    EXPECT_NE(
        std::string::npos,
        log.text().find("A result has objects whose place is no number. Leaving out 5.\n"));
    handleResult(
        {{"Timestamp", number(2000)},
         {"Width", number(0)},
         {"Height", number(0)},
         {"BBoxes_xyxy", map({{"cat", boxes({1, 1, 9, 9})}})}});
    EXPECT_THAT(handler->takeObjects(), IsEmpty());
}

TEST_F(Results, OfUnreasonableSizeAreCutAndToldOnce)
{
    const std::string path = folder.path("start.log");
    log_init(path, folder.path("main.log"), "", /*console*/ false, /*file*/ true, 1);
    const std::vector<float> manyBoxes(4 * 70'000, 5.0f);
    handleResult(boxesOf(1000, {{"car", boxes(manyBoxes)}, {"person", boxes({0, 0, 100, 100})}}));
    EXPECT_THAT(handler->takeObjects(), SizeIs(65'536));

    constexpr std::size_t kDogs = 2000;
    std::vector<float> onePlace;
    for (std::size_t i = 0; i < kDogs; ++i)
        onePlace.insert(onePlace.end(), {0, 0, 100, 100});
    handleResult(boxesOf(2000, {{"dog", boxes(onePlace)}}));
    handleResult(boxesOf(3000, {{"dog", boxes(onePlace)}}));
    EXPECT_THAT(handler->takeObjects(), SizeIs(2 * kDogs));
    const auto& ids = handler->trackIds["tavo.orlix.dog"];
    EXPECT_THAT(
        std::set(ids.begin(), ids.end()), SizeIs(2 * kDogs - MatchingBudget().pairs / kDogs))
        << "what is beyond the matching is new";
    log_close();
    const std::string log = folder.read("start.log");
    EXPECT_NE(
        std::string::npos, log.find("A result has more than 65536 objects. Leaving out 4465"));
    const std::size_t first = log.find("too many objects to follow");
    EXPECT_NE(std::string::npos, first);
    EXPECT_EQ(first, log.rfind("too many objects to follow")) << "within a minute";
}

} // namespace tavo::vms_server_plugins::analytics::orlix
