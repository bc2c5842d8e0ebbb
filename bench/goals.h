#pragma once

#include <string>

#include <benchmark/benchmark.h>

namespace tavo::bench
{

// What is asked of the benchmarks of this program. Machines drift, so a goal is a ratio of things
// that were measured in one run, or a time that is far from what is to be caught.
enum class Bound
{
    atMost,
    atLeast,
};

// Notes what came out, for the lines below and for the JSON file.
void goal(
    benchmark::State& state, const std::string& name, double value, Bound bound, double limit);

// The last lines of a program: "goal: NAME: VALUE, at most LIMIT: holds". Gives the number of goals
// that do not hold.
int printGoals();

} // namespace tavo::bench
