#include "fuzz_target.h"
#include "remote/cloud_answers.h"
#include "remote/host_rest_client.h"
#include "utils/json.h"

using namespace tavo::vms_server_plugins::analytics::orlix;

namespace
{

yyjson_val* patched(const JsonDocument& patch)
{
    yyjson_val* const parameters = pluginParameters(yyjson_doc_get_root(patch.get()));
    FUZZ_CHECK(parameters);
    return parameters;
}

} // namespace

// What the cloud answers becomes patches of the host's records, and their ids parts of paths.
void tavo::fuzz::run(std::string_view text)
{
    for (const PipelineOption& option : pipelineOptions(text))
    {
        const JsonDocument patch = parseJson(option.patch);
        yyjson_val* const parameters = patched(patch);
        if (yyjson_is_obj(parameters))
            FUZZ_CHECK(jsonText(jsonMember(parameters, "selectedPipeline")) == option.uuid);
    }
    for (const DevicePatch& device : devicePatches(text))
    {
        FUZZ_CHECK(!device.id.empty());
        FUZZ_CHECK(device.id.find_first_of("/?#%. \r\n\\") == std::string::npos);
        static_cast<void>(patched(parseJson(device.patch)));
    }
}
