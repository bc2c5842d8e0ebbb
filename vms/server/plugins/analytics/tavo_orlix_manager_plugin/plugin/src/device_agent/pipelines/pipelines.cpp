// A device's pipelines: where they come from, and how they reach the agent and the host's record.
// Requests to host and cloud are made without a lock of the agent.

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "base/ini.h"
#include "device_agent/device_agent.h"
#include "device_agent/manifest_builder.h"
#include "device_agent/pipelines/model_nms.h"
#include "device_agent/pipelines/pipeline_parsing.h"
#include "remote/cloud_client.h"
#include "remote/host_rest_client.h"
#include "remote/text_helpers.h"
#include "utils/json.h"
#include "utils/json_mpack.h"
#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

constexpr std::uint64_t kQuickPipelineFetches = 6;

// What users read in the settings dialog, by its key in m_agentErrors.
constexpr std::int32_t kNoPipelineError = 0;
constexpr char kNoPipelineText[] =
    "This device has no pipelines defined. Click on Manage Device or use the Cloud UI to configure pipelines for this device.\n";
constexpr std::int32_t kBrokenPipelineError = 1;
constexpr char kBrokenPipelineText[] =
    "There was a problem parsing the configuration for this device. Click on Manage Device or use the Cloud UI to configure pipelines again. If the problem persists, contact support.\n";

constexpr char kFetchFailedText[] =
    "Could not fetch available pipelines from cloud. This could point to a network issue. Disable and enable the plugin when the problem is fixed to try again.";

// Makes one of the look at who is there and the telling of it; held while waiting for the host.
Mutex presenceMutex(LockLevel::presence);

// Null, with the reason logged, when there are none or they cannot be told in MessagePack.
std::unique_ptr<MpackTree> readPipelines(yyjson_val* pipelines, const std::string& deviceId)
{
    if (!pipelines)
    {
        log_info(
            "Warning! Device %s does not have a pipeline object in parameters.\n",
            deviceId.c_str());
        return nullptr;
    }
    log_debug("Parsing pipeline for %s\n", deviceId.c_str());
    auto tree = json_to_mpack_tree(pipelines);
    if (!tree)
        log_info("Error! Could not parse pipelines data for device.\n");
    return tree;
}

} // namespace

void DeviceAgent::setPluginEnabled(bool enabled)
{
    const MutexLock lock(presenceMutex);
    if (!enabled && m_services->hasDeviceAgent(m_deviceId))
        return;
    auto [document, tavoAi] = makeParametersDocument();
    yyjson_mut_obj_add_bool(document.get(), tavoAi, "PluginEnabled", enabled);
    patchDevice(m_services->utilityProvider(), jsonToText(std::move(document)), m_deviceId);
}

void DeviceAgent::fetchAvailablePipelines(MessageBoard& board, Throttle::Clock::time_point now)
{
    const std::string failedKey = board_key::kFailedFetchPipelines + m_deviceId;
    const std::string awaitedKey = board_key::kPipelinesAwaited + m_deviceId;
    {
        const MutexLock lock(settingsLock());
        if (!m_settings.availablePipelines.empty())
            return; // fetched once for the agent's life, as are the attempts counted
        if (m_pipelineFetchAttempts >= kQuickPipelineFetches)
        {
            if (!m_latePipelineFetches.mayPass(now))
                return;
            board.postMessage(failedKey, kFetchFailedText, MessageType::warning);
        }
        if (m_pipelineFetchAttempts++ == kQuickPipelineFetches)
            return; // 5 minutes from now
    }

    auto pipelines = getAvailablePipelines(m_services->utilityProvider(), m_deviceId);
    if (pipelines.empty())
    {
        log_info("Device %s failed to fetch pipelines.\n", m_deviceId.c_str());
        board.postMessage(
            awaitedKey,
            "The cloud was asked for the AI pipelines of " + m_deviceName +
                " and gave none: " + ini().CloudAPI + "\nIt is asked again by itself.",
            MessageType::message);
        return;
    }

    for (const std::string& key : {failedKey, awaitedKey})
        board.removeMessage(key);
    const std::size_t count = pipelines.size();
    {
        const MutexLock lock(settingsLock());
        m_settings.availablePipelines = std::move(pipelines);
    }
    log_info("Device %s got %zu available pipelines.\n", m_deviceId.c_str(), count);
}

// 1. Read the models, and where the device is managed; without that, nothing changes at all.
// 2. Read the pipelines into a tree of their own.
// 3. Under the lock, replace all that was derived from an earlier record.
// 4. Tell the host the new manifest, with the processors as they were, once it gave settings.
void DeviceAgent::processDeviceParameters(yyjson_val* root)
{
    yyjson_val* const tavoAi = pluginParameters(root);
    const DeviceModels models = readModels(jsonMember(tavoAi, "models"));
    std::optional<std::string> adminUrl = readAdminUrl(tavoAi);
    if (!adminUrl)
        return;
    yyjson_val* const pipelines = jsonMember(tavoAi, "pipelines");
    auto tree = readPipelines(pipelines, m_deviceId);

    {
        const MutexLock lock(settingsLock());
        m_agentErrors.erase(kNoPipelineError);
        if (!pipelines)
            m_agentErrors[kNoPipelineError] = kNoPipelineText;
        else if (!tree)
            m_agentErrors[kBrokenPipelineError] = kBrokenPipelineText;
        yyjson_val* const selected = jsonMember(tavoAi, "selectedPipeline");
        m_settings.selectedPipeline =
            yyjson_is_str(selected) ? jsonText(selected) : kCustomPipeline;
        m_settings.adminUrl = std::move(*adminUrl);
        m_settings.classes = detectionClasses(models.outputNames);
        if (m_settingsReceivedOnce)
            m_manifestsToPush.put(m_settings);
        if (tree) // without one frames go on as they did, but carry none
        {
            m_settings.pipelineDescription.clear();
            m_settings.processors.clear();
            m_settings.modelNms.clear();
            parsePipelineNode(
                tree->root(), m_settings.processors, models.names, m_settings.modelNms,
                m_settings.pipelineDescription, 0);
        }
        m_parsedPipelines.adopt(std::move(tree));
    }
    pushManifests();
}

void DeviceAgent::pushManifests()
{
    std::string pushed;
    m_manifestsToPush.flush(
        [&](const DeviceSettings& settings)
        {
            std::string text = deviceManifestBuilder(settings, m_services->managerInterface());
            // A host that answers each manifest with its settings has its way, but not for ever.
            if (text == std::exchange(pushed, text))
                return;
            pushManifest(text);
        });
}

std::optional<std::string> DeviceAgent::readAdminUrl(yyjson_val* tavoAi) const
{
    yyjson_val* const deviceAdmin = jsonMember(tavoAi, "deviceAdmin");
    std::string url(jsonText(deviceAdmin));
    log_info("Got device admin from parameters: %s\n", url.c_str());

    const std::string override = ini().DeviceAdminOverride;
    if (!override.empty())
    {
        const auto systemId = cloudSystemId(m_services->utilityProvider());
        url = override + "/system/" + systemId.value_or("") + "/device/" + m_deviceId;
        log_info("Received override device admin: %s\n", url.c_str());
        return url;
    }
    if (!yyjson_is_str(deviceAdmin))
    {
        log_info("Error! Device %s does not have an Admin URL!\n", m_deviceId.c_str());
        return std::nullopt;
    }
    return url;
}

void DeviceAgent::writeModelNms(const std::map<std::string, float>& newValues)
{
    const JsonDocument record = parseJson(getDevice(m_services->utilityProvider(), m_deviceId));
    yyjson_val* const pipelines =
        jsonMember(pluginParameters(yyjson_doc_get_root(record.get())), "pipelines");
    // The host's answer may be an error's text, and pipelines may be a single node. Neither can be
    // written back as an array, and an empty one would take the user's configuration away.
    if (!yyjson_is_arr(pipelines))
    {
        log_info("Warning! Could not load last known settings\n");
        return;
    }
    patchDevice(
        m_services->utilityProvider(), jsonToText(makeNmsPatch(pipelines, newValues)), m_deviceId);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
