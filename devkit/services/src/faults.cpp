#include "faults.h"

#include <algorithm>
#include <utility>

#include "utils/json.h"

namespace tavo::devkit
{

namespace
{

using namespace tavo::vms_server_plugins::analytics::orlix;

constexpr std::pair<const char*, FaultKind> kKinds[] = {
    {"status", FaultKind::status},     {"noLength", FaultKind::noLength},
    {"cut", FaultKind::cut},           {"wrongDigest", FaultKind::wrongDigest},
    {"noDigest", FaultKind::noDigest}, {"noKey", FaultKind::noKey},
    {"slow", FaultKind::slow},         {"reset", FaultKind::reset},
    {"late", FaultKind::late},         {"body", FaultKind::body}};

} // namespace

bool Faults::switchOn(const std::string& json)
{
    const JsonDocument document = parseJson(json);
    yyjson_val* const root = yyjson_doc_get_root(document.get());
    const std::string_view name = jsonText(jsonMember(root, "kind"));
    const auto kind =
        std::ranges::find_if(kKinds, [&](const auto& entry) { return name == entry.first; });
    if (kind == std::end(kKinds) || !yyjson_is_str(jsonMember(root, "path")))
        return false;

    Fault fault;
    fault.pathPart = jsonText(jsonMember(root, "path"));
    fault.kind = kind->second;
    fault.text = jsonText(jsonMember(root, "text"));
    if (yyjson_val* const status = jsonMember(root, "status"))
        fault.status = yyjson_get_int(status);
    if (yyjson_val* const pause = jsonMember(root, "pauseMs"))
        fault.pause = std::chrono::milliseconds(yyjson_get_int(pause));
    const std::lock_guard lock(m_mutex);
    m_faults.push_back(std::move(fault));
    return true;
}

void Faults::clear()
{
    const std::lock_guard lock(m_mutex);
    m_faults.clear();
}

std::optional<Fault> Faults::of(const std::string& path) const
{
    const std::lock_guard lock(m_mutex);
    for (auto fault = m_faults.rbegin(); fault != m_faults.rend(); ++fault)
    {
        if (path.find(fault->pathPart) != std::string::npos)
            return *fault;
    }
    return std::nullopt;
}

} // namespace tavo::devkit
