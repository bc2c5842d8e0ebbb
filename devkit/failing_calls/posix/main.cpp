// failing_calls: see scripts/failing_calls.sh. With FAILING_CALLS_OUTPUT in the environment all
// that the library writes is shown.

#include <cstdio>
#include <exception>

#include <CLI/CLI.hpp>

#include "failing_calls.h"
#include "runs.h"

using namespace tavo;

namespace
{

int run(int count, char** arguments)
{
    const std::vector<std::string> roads(
        std::begin(devkit::kRoadNames), std::end(devkit::kRoadNames));
    std::vector<std::string> kinds(
        std::begin(failing_calls::kKindNames), std::end(failing_calls::kKindNames));
    devkit::Runs runs;
    CLI::App app{"Has every call that can fail do so, one a run."};
    app.add_option("road", runs.road)->required()->check(CLI::IsMember(roads));
    app.add_option("--kind", runs.kind, "all otherwise")->check(CLI::IsMember(kinds));
    app.add_option("--first", runs.first, "the first call to fail");
    app.add_option(
        "--most", runs.most,
        "no more runs of a kind than that, spread over all its calls; otherwise each fails once");
    CLI11_PARSE(app, count, arguments);

    if (!runs.kind.empty())
        kinds = {runs.kind};
    bool isClean = true;
    for (const std::string& kind : kinds)
        isClean = devkit::supervise({runs.road, kind, runs.first, runs.most}) && isClean;
    return isClean ? 0 : 1;
}

} // namespace

int main(int count, char** arguments)
{
    try
    {
        return run(count, arguments);
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "failing_calls: %s\n", error.what());
        return 1;
    }
}
