#include "goals.h"

#include <cstdio>
#include <vector>

namespace tavo::bench
{

namespace
{

struct Goal
{
    std::string name;
    double value;
    Bound bound;
    double limit;
};

std::vector<Goal>& goals()
{
    static std::vector<Goal> all;
    return all;
}

} // namespace

void goal(benchmark::State& state, const std::string& name, double value, Bound bound, double limit)
{
    state.counters[name] = value;
    goals().push_back({name, value, bound, limit});
}

int printGoals()
{
    int failed = 0;
    std::printf("\n");
    for (const Goal& each : goals())
    {
        const bool isMost = each.bound == Bound::atMost;
        const bool holds = isMost ? each.value <= each.limit : each.value >= each.limit;
        failed += holds ? 0 : 1;
        std::printf(
            "goal: %s: %.2f, %s %g: %s\n", each.name.c_str(), each.value,
            isMost ? "at most" : "at least", each.limit, holds ? "holds" : "DOES NOT HOLD");
    }
    return failed;
}

} // namespace tavo::bench
