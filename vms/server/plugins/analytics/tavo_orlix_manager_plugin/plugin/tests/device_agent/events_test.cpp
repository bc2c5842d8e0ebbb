#include "device_agent/events.h"

#include <limits>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "result_message.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

using namespace test;
using sdk::analytics::EventMetadataPacket;
using testing::ElementsAre;
using testing::Pair;

// "type|caption|description" of each event.
std::vector<std::string> eventsOf(const EventMetadataPacket& packet)
{
    std::vector<std::string> events;
    for (int i = 0; i < packet.count(); ++i)
    {
        const sdk::Ptr<const sdk::analytics::IEventMetadata> event(packet.at(i));
        EXPECT_TRUE(event->isActive());
        events.push_back(
            std::string(event->typeId()) + "|" + event->caption() + "|" + event->description());
    }
    return events;
}

TEST(FpsEvent, WritesTwoSignificantDigits)
{
    const struct
    {
        float fps;
        std::int32_t latencyUs;
        const char* description;
    } kCases[] = {
        {12.34f, 0, "\nThroughput: 12 FPS\n"},
        {123.4f, 0, "\nThroughput: 1.2e+02 FPS\n"},
        {0.5f, 999, "\nThroughput: 0.5 FPS\nLatency: 0 ms"},
        {9.96f, 34'999, "\nThroughput: 10 FPS\nLatency: 34 ms"},
        {0.0001f, -2500, "\nThroughput: 0.0001 FPS\nLatency: -2 ms"},
        {std::numeric_limits<float>::infinity(), 1000, "\nThroughput: inf FPS\nLatency: 1 ms"},
    };
    for (const auto& c : kCases)
    {
        auto packet = sdk::makePtr<EventMetadataPacket>();
        addFpsEvent({c.fps, c.latencyUs}, *packet);
        EXPECT_THAT(
            eventsOf(*packet),
            ElementsAre(std::string("tavo.orlix.fps|Performance|") + c.description));
    }
}

TEST(CountedEvent, ShowsEachNameOfTheResultSmoothed)
{
    CountHistory history;
    auto packet = sdk::makePtr<EventMetadataPacket>();
    Message message(map({{"person", number(3)}, {"car", number(18446744073709551615u)}}));
    addCountedEvent(readCounts(message.root()), history, *packet);
    addCountedEvent({{"person", 4}}, history, *packet);
    addCountedEvent({}, history, *packet);
    EXPECT_THAT(
        eventsOf(*packet),
        ElementsAre(
            "tavo.orlix.counted|Objects counted|\nperson: 3\ncar: 18446744073709551615\n",
            "tavo.orlix.counted|Objects counted|\nperson: 3\n",
            "tavo.orlix.counted|Objects counted|\n"));
}

TEST(Counts, EndAtWhatCannotBeRead)
{
    Message wrongType(map({{"a", number(1)}, {"b", text("2")}, {"c", number(3)}}));
    EXPECT_THAT(readCounts(wrongType.root()), ElementsAre(Pair("a", 1)));
    EXPECT_EQ(mpack_error_type, wrongType.error());

    Message longest(map({{std::string(1023, 'n'), number(1)}}));
    EXPECT_EQ(1u, readCounts(longest.root()).size());
    EXPECT_EQ(mpack_ok, longest.error());

    Message tooLong(map({{std::string(1024, 'n'), number(1)}}));
    EXPECT_TRUE(readCounts(tooLong.root()).empty());
    EXPECT_EQ(mpack_error_too_big, tooLong.error());
}

TEST(CategoryEvent, NamesTheFirstOfTheBestScores)
{
    const struct
    {
        Value scores;
        const char* label;
    } kCases[] = {
        {map({{"a", real(0.5f)}, {"b", real(0.9f)}, {"c", real(0.9f)}}), "b"},
        {map({{"a", real(0)}, {"b", real(0)}}), ""},
        {map({{"a", real(-1)}, {"b", number(1)}}), "b"},
        {map({{"a", real(std::numeric_limits<float>::quiet_NaN())}, {"b", real(0.1f)}}), "b"},
        {map({}), ""},
    };
    for (const auto& c : kCases)
    {
        auto packet = sdk::makePtr<EventMetadataPacket>();
        Message message(c.scores);
        addCategoryEvent(readBestLabel(message.root()), *packet);
        EXPECT_THAT(
            eventsOf(*packet),
            ElementsAre(std::string("tavo.orlix.category|Category detected|\n") + c.label + "\n"));
    }
}

TEST(CustomEvents, PassOnWhatIsWhole)
{
    const auto event = [](const char* id, const char* caption, const char* description) {
        return map(
            {{"Description", text(description)}, {"ID", text(id)}, {"Caption", text(caption)}});
    };
    auto packet = sdk::makePtr<EventMetadataPacket>();
    Message message(array(
        {event("tavo.orlix.loiter_alarm", "Loitering", "at the door"),
         map({{"ID", text("x")}, {"Caption", text("no description")}}), map({}),
         event("nobody.declared.this", "", std::string(5000, 'd').c_str())}));
    addCustomEvents(message.root(), *packet);
    EXPECT_THAT(
        eventsOf(*packet),
        ElementsAre(
            "tavo.orlix.loiter_alarm|Loitering|at the door",
            "nobody.declared.this||" + std::string(5000, 'd')));
    EXPECT_EQ(mpack_ok, message.error());
}

TEST(CustomEvents, EndAtWhatCannotBeRead)
{
    const auto event = [](Value id) {
        return map({{"ID", id}, {"Caption", text("c")}, {"Description", text("d")}});
    };
    for (const Value& broken :
         {event(number(1)), event(text(std::string("a\0b", 3))), text("no map")})
    {
        auto packet = sdk::makePtr<EventMetadataPacket>();
        Message message(array({event(text("first")), broken, event(text("third"))}));
        addCustomEvents(message.root(), *packet);
        EXPECT_THAT(eventsOf(*packet), ElementsAre("first|c|d"));
        EXPECT_EQ(mpack_error_type, message.error());
    }
}

} // namespace

} // namespace tavo::vms_server_plugins::analytics::orlix
