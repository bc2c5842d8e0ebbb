#include <cstring>
#include <filesystem>
#include <string>

#include <tavo/sdk/ptr.h>

#include "bare_services.h"
#include "device_agent/device_agent.h"
#include "device_agent/manifest_builder.h"
#include "device_agent/pipelines/pipeline_parsing.h"
#include "fake_device.h"
#include "fuzz_target.h"
#include "models/model_manager.h"
#include "remote/file_helpers.h"
#include "remote/host_rest_client.h"
#include "remote/record_lists.h"
#include "temporary_folder.h"
#include "utils/json_mpack.h"

using namespace tavo::vms_server_plugins::analytics::orlix;
namespace sdk = tavo::sdk;

namespace
{

void checkIsObject(std::string_view text)
{
    const JsonDocument document = parseJson(text);
    FUZZ_CHECK(yyjson_obj_size(yyjson_doc_get_root(document.get())) > 0);
}

// An agent that gets the record shows a dialog, and values for it.
void checkAgent(yyjson_val* record)
{
    static const TemporaryFolder folder;
    static BareServices services(folder.path());
    static const auto device = sdk::makePtr<FakeDevice>("{00010203-0405-0607-0809-0a0b0c0d0e0f}");
    const auto agent = sdk::makePtr<DeviceAgent>(device.get(), 0, &services, folder.path());
    agent->processDeviceParameters(record);
    const auto result = agent->pluginSideSettings();
    FUZZ_CHECK(result.isOk());
    const sdk::Ptr<const sdk::ISettingsResponse> response(result.value);
    const sdk::Ptr<const sdk::IString> model(response->model());
    checkIsObject(model->str());
    static_cast<void>(services.takeRequests());
}

// What a system that is ready shows of the record, which stands for the application's files of
// processors as well.
void checkReadyDialog(std::string_view text, yyjson_val* record)
{
    yyjson_val* const ours = pluginParameters(record);
    const DeviceModels models = readModels(jsonMember(ours, "models"));
    DeviceSettings settings;
    settings.classes = detectionClasses(models.outputNames);
    settings.selectedPipeline = jsonText(jsonMember(ours, "selectedPipeline"));
    settings.availablePipelines = {{"{}", settings.selectedPipeline, settings.selectedPipeline}};
    if (const auto tree = json_to_mpack_tree(jsonMember(ours, "pipelines")))
    {
        parsePipelineNode(
            tree->root(), settings.processors, models.names, settings.modelNms,
            settings.pipelineDescription, 0);
    }

    DialogState state;
    state.cloudConnectionState = kCloudConnected;
    state.managerInstallState = ManagerInstallState::installed;
    state.runtimeStatus = RuntimeStatus::installed;
    state.externalPostprocessors = parseJson(text);
    state.externalPreprocessors = parseJson(text);
    checkIsObject(makeSettingsModel(state, settings));
    checkIsObject(makeDeviceManifest(settings, record));
}

// No model's file lies anywhere but in its folder.
void checkModelFiles(yyjson_val* models)
{
    static const TemporaryFolder folder;
    static MessageBoard board;
    static const ModelManager manager(folder.path(), &board);
    yyjson_arr_iter iterator = yyjson_arr_iter_with(models);
    while (yyjson_val* const model = yyjson_arr_iter_next(&iterator))
    {
        const std::string id(jsonText(jsonMember(model, "UUID")));
        if (!isFileName(id))
            continue;
        const ModelFiles files = manager.selectDownload(jsonMember(model, "Downloads"), "cpu", id);
        if (files.modelPath.empty())
            continue;
        const auto isIn = [](const std::string& path, const std::string& parent)
        {
            return path.find('\0') == std::string::npos &&
                std::filesystem::path(path).lexically_normal().parent_path() / "" ==
                std::filesystem::path(parent) / ""; // which may end with a separator or not
        };
        const std::string cache = folder.path("orlix_manager/cache");
        FUZZ_CHECK(
            isIn(files.modelPath, cache + (files.encrypted ? "/encrypted" : "/unencrypted")));
        FUZZ_CHECK(isIn(files.keyPath, cache + "/keys"));
        FUZZ_CHECK(
            !files.encrypted ||
            isIn(files.runtimePath, std::filesystem::temp_directory_path().string()));
    }
}

} // namespace

// A device's record, or a list of them, as the host has it: whatever it is, there is a dialog.
void tavo::fuzz::run(std::string_view text)
{
    for (const auto& ids :
         {activatedDevices(text, true), activatedDevices(text, false), cloudUserIds(text)})
    {
        for (const std::string& id : ids)
            FUZZ_CHECK(ids.size() < text.size() && id.size() < text.size());
    }

    const JsonDocument document = parseJson(text);
    if (!document)
        return;
    yyjson_val* const root = yyjson_doc_get_root(document.get());
    yyjson_val* const record = yyjson_is_arr(root) ? yyjson_arr_get_first(root) : root;
    checkAgent(record);
    checkReadyDialog(text, record);
    checkModelFiles(jsonMember(pluginParameters(record), "models"));
}
