// What a log line costs: at each verbosity, for a line of either level.

#include <cstdlib>
#include <filesystem>
#include <string>

#include <benchmark/benchmark.h>

#include "utils/log.h"

namespace
{

using namespace tavo::vms_server_plugins::analytics::orlix;

std::string folder;

enum Level
{
    info = 1,
    debug = 2,
};

void logLine(benchmark::State& state)
{
    const int verbosity = static_cast<int>(state.range(0));
    const auto level = static_cast<Level>(state.range(1));
    log_init(
        folder + "/start.log", folder + "/main.log", "ORLIX Plugin: ", /*console*/ false,
        /*file*/ true, verbosity);
    const std::string device = "0b5b5d3f-0000-4000-8000-000000000001";
    std::size_t count = 0;
    for (auto _ : state)
    {
        ++count;
        if (level == info)
            log_info("Device %s got %zu available pipelines.\n", device.c_str(), count);
        else
            log_debug("Device %s got %zu available pipelines.\n", device.c_str(), count);
    }
    log_close();
}

BENCHMARK(logLine)
    ->ArgNames({"verbosity", "level"})
    ->ArgsProduct({{0, 1, 2}, {info, debug}})
    ->Unit(benchmark::kNanosecond);

} // namespace

int main(int argc, char** argv)
{
    char pattern[] = "/tmp/orlix_bench_XXXXXX";
    if (!mkdtemp(pattern))
        return 1;
    folder = pattern;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    std::filesystem::remove_all(folder);
    return 0;
}
