#include "remote/transfer_pace.h"

#include <gtest/gtest.h>

namespace tavo::vms_server_plugins::analytics::orlix
{

using namespace std::chrono_literals;

TEST(TransferPace, EndsWhatFallsUnderTheFloorAndNothingElse)
{
    const struct
    {
        const char* name;
        std::vector<std::pair<std::chrono::milliseconds, std::uint64_t>> arrivals;
        bool keepsUp;
    } kCases[] = {
        {"little, but early", {{1s, 1}, {29'999ms, 1}}, true},
        {"a byte a second", {{10s, 10}, {20s, 10}, {30s, 10}}, false},
        {"just enough", {{15s, 15'360}, {30s, 15'360}}, true},
        {"one byte too few", {{30s, 30'719}}, false},
        {"a burst does not pay for later", {{30s, 1 << 30}, {45s, 1}, {60s, 1}}, false},
        {"a silence does not count", {{60s, 1}, {75s, 1}}, true},
        {"what comes after it does", {{60s, 1}, {75s, 1}, {90s, 30'717}}, false},
        {"nor one later on", {{20s, 1}, {30s, 30'719}, {90s, 1}, {119s, 1}}, true},
        {"nor one after the other", {{60s, 1}, {120s, 1}}, false},
        {"a new window counts anew", {{40s, 40'960}, {69s, 1}}, true},
    };
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.name);
        const TransferPace::Clock::time_point start{};
        TransferPace pace({}, start);
        for (std::size_t i = 0; i < c.arrivals.size(); ++i)
        {
            const bool last = i + 1 == c.arrivals.size();
            EXPECT_EQ(
                c.keepsUp || !last,
                pace.keepsUp(c.arrivals[i].second, start + c.arrivals[i].first));
        }
    }
}

} // namespace tavo::vms_server_plugins::analytics::orlix
