#include "device_agent/pipelines/node_text.h"

#include "inference/protocol.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

std::string_view readName(mpack_node_t node)
{
    const std::string_view text = readText(node);
    if (text.size() <= protocol::kMaxNameBytes)
        return text;
    mpack_node_flag_error(node, mpack_error_too_big);
    return {};
}

std::string_view readText(mpack_node_t node)
{
    const char* const data = mpack_node_str(node);
    if (!data)
        return {};
    const std::string_view text(data, mpack_node_strlen(node));
    if (text.find('\0') == std::string_view::npos)
        return text;
    mpack_node_flag_error(node, mpack_error_type);
    return {};
}

} // namespace tavo::vms_server_plugins::analytics::orlix
