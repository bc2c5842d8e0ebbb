// usage: failing_calls ROAD [--kind KIND] [--first N] [--most N]
//   ROAD         one of those in road.cpp
//   --kind KIND  one of those in worker.cpp; all otherwise
//   --first N    the first call to fail
//   --most N     no more runs of a kind than that, spread over all its calls; otherwise each call
//                fails once
//        failing_calls --worker ROAD KIND FIRST MOST    which it starts itself
//
// With FAILING_CALLS_OUTPUT in the environment all that the library writes is shown.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <testing/platform.h>

#include "road.h"
#include "supervisor.h"
#include "worker.h"

using namespace tavo::devkit;

namespace
{

std::uint64_t numberOf(const char* text)
{
    return std::strtoull(text, nullptr, 10);
}

bool contains(const std::vector<std::string>& names, const std::string& name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

} // namespace

int main(int count, char** arguments)
{
    if (count == 6 && std::string(arguments[1]) == "--worker")
        return work({arguments[2], arguments[3], numberOf(arguments[4]), numberOf(arguments[5])});

    Runs runs;
    for (int i = 1; i < count; ++i)
    {
        const std::string argument = arguments[i];
        const bool hasValue = i + 1 < count;
        if (argument == "--kind" && hasValue)
            runs.kind = arguments[++i];
        else if (argument == "--first" && hasValue)
            runs.first = numberOf(arguments[++i]);
        else if (argument == "--most" && hasValue)
            runs.most = numberOf(arguments[++i]);
        else
            runs.road = argument;
    }
    const bool isKind = runs.kind.empty() || contains(kindNames(), runs.kind);
    if (!contains(roadNames(), runs.road) || !isKind)
    {
        std::fprintf(stderr, "usage: failing_calls ROAD [--kind KIND] [--first N] [--most N]\n");
        return 2;
    }
    tavo::test_support::setVariable("LD_PRELOAD", TAVO_FAILING_CALLS_FILE);
    bool isClean = true;
    for (const std::string& kind : runs.kind.empty() ? kindNames() : std::vector{runs.kind})
        isClean = supervise({runs.road, kind, runs.first, runs.most}) && isClean;
    return isClean ? 0 : 1;
}
