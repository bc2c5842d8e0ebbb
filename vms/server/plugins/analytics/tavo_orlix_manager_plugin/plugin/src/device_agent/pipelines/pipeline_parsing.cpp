#include "device_agent/pipelines/pipeline_parsing.h"

#include <set>
#include <string_view>

#include "utils/json.h"
#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

constexpr int kIndentStep = 4;

// Empty when the member is missing or no text. The tree is left without an error, so that one node
// that is not as it should be does not hide the others.
std::string_view textMember(mpack_node_t map, const char* key)
{
    const mpack_node_t node = mpack_node_map_cstr_optional(map, key);
    if (mpack_node_type(node) != mpack_type_str)
        return {};
    return {mpack_node_str(node), mpack_node_strlen(node)};
}

float numberMember(mpack_node_t map, const char* key)
{
    const mpack_node_t node = mpack_node_map_cstr_optional(map, key);
    switch (mpack_node_type(node))
    {
        case mpack_type_int:
        case mpack_type_uint:
        case mpack_type_float:
        case mpack_type_double:
            return mpack_node_float(node);
        default:
            return 0;
    }
}

void addProcessor(
    std::string_view name, const char* label, int indent, std::vector<std::string>& processors,
    std::string& description)
{
    processors.emplace_back(name);
    description += '\n';
    description.append(static_cast<std::size_t>(indent), ' ');
    description += label;
    description += name;
}

std::string modelName(
    std::string_view modelUuid, const std::unordered_map<std::string, std::string>& modelNames)
{
    std::string uuid(modelUuid);
    const auto name = modelNames.find(uuid);
    if (name != modelNames.end())
        return name->second;
    log_info("Warning! Model %s exists in pipeline but not in models list.\n", uuid.c_str());
    return uuid;
}

// The entries behind the first ";", each "<index>:<class>".
void addClasses(std::string_view outputName, std::set<std::string>& classes)
{
    std::size_t separator = outputName.find(';');
    while (separator != std::string_view::npos)
    {
        outputName.remove_prefix(separator + 1);
        separator = outputName.find(';');
        const std::string_view entry = outputName.substr(0, separator);
        const std::size_t colon = entry.find(':');
        if (colon != std::string_view::npos && colon + 1 < entry.size())
            classes.emplace(entry.substr(colon + 1));
    }
}

} // namespace

DeviceModels readModels(yyjson_val* models)
{
    DeviceModels result;
    yyjson_arr_iter model = yyjson_arr_iter_with(models);
    while (yyjson_val* const current = yyjson_arr_iter_next(&model))
    {
        yyjson_val* const uuid = jsonMember(current, "UUID");
        yyjson_val* const name = jsonMember(current, "Name");
        if (!yyjson_is_str(uuid) || !yyjson_is_str(name))
        {
            log_info("Warning! Model has no ID or Name.\n");
            continue;
        }
        result.names[std::string(jsonText(uuid))] = jsonText(name);

        yyjson_arr_iter output = yyjson_arr_iter_with(jsonMember(current, "NamedOutput"));
        while (yyjson_val* const namedOutput = yyjson_arr_iter_next(&output))
        {
            yyjson_val* const outputName = jsonMember(namedOutput, "Name");
            if (yyjson_is_str(outputName))
                result.outputNames.emplace_back(jsonText(outputName));
        }
    }
    return result;
}

std::vector<std::string> detectionClasses(const std::vector<std::string>& outputNames)
{
    std::set<std::string> classes;
    for (const std::string& outputName : outputNames)
    {
        if (outputName.find("bboxes") != std::string::npos)
            addClasses(outputName, classes);
    }
    return {classes.begin(), classes.end()};
}

void parsePipelineNode(
    mpack_node_t node, std::vector<std::string>& processors,
    const std::unordered_map<std::string, std::string>& modelNames,
    std::vector<ModelNmsEntry>& modelNms, std::string& description, int indent)
{
    const auto parse = [&](mpack_node_t next, int nextIndent)
    { parsePipelineNode(next, processors, modelNames, modelNms, description, nextIndent); };

    const mpack_type_t type = mpack_node_type(node);
    if (type == mpack_type_array)
    {
        for (std::size_t i = 0; i < mpack_node_array_length(node); ++i)
            parse(mpack_node_array_at(node, i), indent + kIndentStep);
        return;
    }
    if (type != mpack_type_map)
    {
        log_info("Error: Unknown type encountered while parsing pipelines object: %d\n", type);
        return;
    }

    description.append(static_cast<std::size_t>(indent), ' ');
    if (!mpack_node_is_missing(mpack_node_map_cstr_optional(node, "method")))
    {
        description += textMember(node, "method");
        description += " -> ";
    }

    ModelNmsEntry entry;
    entry.modelUUID = textMember(node, "modelUUID");
    entry.modelName = modelName(entry.modelUUID, modelNames);
    entry.nms = numberMember(node, "modelNMS");
    description += entry.modelName;
    modelNms.push_back(std::move(entry));

    if (const std::string_view name = textMember(node, "Preprocessor"); !name.empty())
    {
        log_debug("Node has preprocessor: %.*s\n", static_cast<int>(name.size()), name.data());
        addProcessor(name, " Preprocessor: ", indent, processors, description);
    }
    if (const std::string_view name = textMember(node, "Postprocessor"); !name.empty())
    {
        log_debug("Node has postprocessor: %.*s\n", static_cast<int>(name.size()), name.data());
        addProcessor(name, " Postprocessor: ", indent, processors, description);
    }
    description += '\n';

    // Whoever follows stands one step further in, alone or in an array of its own.
    const mpack_node_t chains = mpack_node_map_cstr_optional(node, "chains");
    if (mpack_node_type(chains) == mpack_type_array)
        parse(chains, indent);
    else if (!mpack_node_is_missing(chains))
        parse(chains, indent + kIndentStep);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
