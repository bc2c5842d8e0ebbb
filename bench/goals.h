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

// Notes what came out, for the lines below and for the JSON file. Every measure is above 0: what is
// not, or belongs to a benchmark that failed, was never taken and does not hold.
void goal(
    benchmark::State& state, const std::string& name, double value, Bound bound, double limit);

// The last lines of a program: "goal: NAME: VALUE, at most LIMIT: holds", and those that do not
// hold behind all others. Gives the number of these.
int printGoals();

} // namespace tavo::bench
