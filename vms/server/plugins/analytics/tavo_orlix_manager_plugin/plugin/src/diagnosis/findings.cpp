#include "diagnosis/findings.h"

#include <algorithm>

#include "remote/text_helpers.h"
#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

constexpr const char* kVerdicts[] = {"good", "attention", "bad"};

const char* wordOf(Verdict verdict)
{
    return kVerdicts[static_cast<int>(verdict)];
}

std::string lineOf(const Finding& finding)
{
    return finding.subject + ": " + finding.text + " [" + wordOf(finding.verdict) + "]";
}

} // namespace

void Findings::add(
    const std::string& subject, const std::string& text, std::initializer_list<Fault> faults)
{
    const Fault* const fault = std::ranges::find_if(faults, &Fault::isSo);
    if (fault == faults.end())
        m_all.push_back({subject, text, Verdict::good, {}});
    else
        m_all.push_back({subject, text + ", " + fault->what, fault->verdict, fault->wayOut});
}

int Findings::exitCode() const
{
    int code = 0;
    for (const Finding& finding : m_all)
        code = std::max(code, static_cast<int>(finding.verdict));
    return code;
}

std::string Findings::text() const
{
    std::string text;
    for (const Finding& finding : m_all)
        text +=
            lineOf(finding) + (finding.wayOut.empty() ? "\n" : "\n    " + finding.wayOut + "\n");
    return text;
}

void Findings::log() const
{
    for (const Finding& finding : m_all)
        log_info(
            "%s%s%s\n", lineOf(finding).c_str(), finding.wayOut.empty() ? "" : " ",
            finding.wayOut.c_str());
}

std::string Findings::json() const
{
    MutableJsonDocument document = newJsonDocument();
    yyjson_mut_doc* const json = document.get();
    yyjson_mut_val* const root = yyjson_mut_obj(json);
    yyjson_mut_doc_set_root(json, root);
    yyjson_mut_obj_add_str(json, root, "verdict", kVerdicts[exitCode()]);
    yyjson_mut_val* const list = yyjson_mut_obj_add_arr(json, root, "findings");
    for (const auto& [subject, text, verdict, wayOut] : m_all)
    {
        yyjson_mut_val* const entry = yyjson_mut_arr_add_obj(json, list);
        yyjson_mut_obj_add_strcpy(json, entry, "subject", subject.c_str());
        yyjson_mut_obj_add_strcpy(json, entry, "text", text.c_str());
        yyjson_mut_obj_add_str(json, entry, "verdict", wordOf(verdict));
        yyjson_mut_obj_add_strcpy(json, entry, "wayOut", wayOut.c_str());
    }
    return jsonToText(std::move(document));
}

} // namespace tavo::vms_server_plugins::analytics::orlix
