// What a settings dialog costs: the host asks for one whenever a user opens or refreshes it.

#include <string>

#include <benchmark/benchmark.h>

#include "device_agent/dialog/settings_model_builder.h"
#include "remote/cloud_client.h"

namespace
{

using namespace tavo::vms_server_plugins::analytics::orlix;

void settingsModel(benchmark::State& benchmarkState)
{
    DialogState state;
    state.cloudConnectionState = kCloudConnected;
    state.managerInstallState = ManagerInstallState::installed;
    state.runtimeStatus = RuntimeStatus::installed;
    state.installedRuntimeName = "Generic CPU";
    for (std::int64_t i = 0; i < benchmarkState.range(1); ++i)
    {
        state.board["DOWNLOAD_MODEL_FAILED_" + std::to_string(i)] = {
            MessageType::warning, "Failed to download model from: https://storage.tavo.example/m"};
    }
    DeviceSettings settings;
    settings.selectedPipeline = kCustomPipeline;
    settings.availablePipelines.push_back({"{}", "People", "p1"});
    settings.processors = {"LineCrossing"};
    for (std::int64_t i = 0; i < benchmarkState.range(0); ++i)
        settings.classes.push_back("class " + std::to_string(i));

    for (auto _ : benchmarkState)
        benchmark::DoNotOptimize(makeSettingsModel(state, settings));
}

BENCHMARK(settingsModel)
    ->ArgNames({"classes", "entries"})
    ->Args({80, 20})
    ->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
