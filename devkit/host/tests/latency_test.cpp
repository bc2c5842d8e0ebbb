#include "metadata/latency.h"

#include <gtest/gtest.h>

#include "temporary_folder.h"

namespace tavo::devkit
{

TEST(Latency, isSplitWhereTheApplicationTellsItsTimes)
{
    const vms_server_plugins::analytics::orlix::TemporaryFolder folder;
    folder.write("times", "1 1000000 1040000\n1 2000000 2050000\n2 1000000 9\n1 3");
    const ApplicationTimes times(folder.path("times"));
    EXPECT_EQ(1040000, times.sentUs(1, 1000000));
    EXPECT_EQ(std::nullopt, times.sentUs(1, 3000000));
    EXPECT_EQ(std::nullopt, ApplicationTimes("/no/such/file").sentUs(1, 1000000));

    Latencies latencies;
    EXPECT_EQ("", latencies.text());
    latencies.add({1000000, 2000, 0}, std::nullopt); // its result is still to come
    EXPECT_EQ("", latencies.text());
    latencies.add({3000000, 1000, 3011000}, times.sentUs(1, 3000000));
    EXPECT_EQ(
        "frame to packet 11.0 / 11.0 / 11.0 ms (50%, 99%, max), of which hand-over 1.0 / 1.0 / 1.0 "
        "ms, application and result 10.0 / 10.0 / 10.0 ms",
        latencies.text());
    latencies.add({1000000, 2000, 1041500}, times.sentUs(1, 1000000));
    latencies.add({2000000, 4000, 2053000}, times.sentUs(1, 2000000));
    EXPECT_EQ(
        "frame to packet 41.5 / 41.5 / 53.0 ms (50%, 99%, max), of which hand-over 2.0 / 2.0 / 4.0 "
        "ms, application 38.0 / 38.0 / 46.0 ms, result 1.5 / 1.5 / 3.0 ms",
        latencies.text());
}

} // namespace tavo::devkit
