#include "goals.h"

#include <algorithm>
#include <cmath>
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

bool wasTaken(const Goal& goal)
{
    return std::isfinite(goal.value) && goal.value > 0;
}

bool holds(const Goal& goal)
{
    return wasTaken(goal) &&
        (goal.bound == Bound::atMost ? goal.value <= goal.limit : goal.value >= goal.limit);
}

} // namespace

void goal(benchmark::State& state, const std::string& name, double value, Bound bound, double limit)
{
    state.counters[name] = value;
    goals().push_back({name, state.error_occurred() ? 0 : value, bound, limit});
}

int printGoals()
{
    std::printf("\n");
    std::stable_partition(goals().begin(), goals().end(), holds);
    for (const Goal& each : goals())
    {
        std::printf(
            "goal: %s: %.2f, %s %g: %s\n", each.name.c_str(), each.value,
            each.bound == Bound::atMost ? "at most" : "at least", each.limit,
            holds(each)          ? "holds"
                : wasTaken(each) ? "DOES NOT HOLD"
                                 : "WAS NOT TAKEN");
    }
    return static_cast<int>(std::count_if(
        goals().begin(), goals().end(), [](const Goal& each) { return !holds(each); }));
}

} // namespace tavo::bench
