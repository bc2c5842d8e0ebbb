#include <stdexcept>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "device_agent/outbox.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

using testing::ElementsAre;

TEST(Outbox, GoesOnAfterAFailureAndWhenItIsCalledFromWithin)
{
    Outbox<int> outbox;
    std::vector<int> handedOn;
    const auto handOn = [&](int value)
    {
        handedOn.push_back(value);
        if (value == 1)
        {
            outbox.put(7);
            outbox.put(2); // in the place of that
            outbox.flush([](int) { FAIL() << "that of the outer call is to have it"; });
            throw std::runtime_error("1");
        }
    };
    outbox.put(1);
    EXPECT_THROW(outbox.flush(handOn), std::runtime_error);
    EXPECT_THAT(handedOn, ElementsAre(1, 2));
    outbox.put(3);
    outbox.flush(handOn);
    EXPECT_THAT(handedOn, ElementsAre(1, 2, 3));
}

} // namespace tavo::vms_server_plugins::analytics::orlix
