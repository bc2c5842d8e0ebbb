#include "core/model_collector.h"

#include <utility>

#include "remote/answer_body.h"
#include "remote/file_helpers.h"
#include "remote/text_helpers.h"
#include "utils/log.h"
#include "utils/log_rarely.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

ModelCollector::ModelCollector(
    AssignedModels& models, ModelManager& modelManager, const std::string& mimeType,
    CloudToken cloudToken, bool& downloaded) :
    m_models(models),
    m_modelManager(modelManager),
    m_mimeType(mimeType),
    m_cloudToken(std::move(cloudToken)),
    m_downloaded(downloaded)
{
    m_models.clear();
    yyjson_mut_doc_set_root(m_list.get(), yyjson_mut_arr(m_list.get()));
}

void ModelCollector::add(yyjson_val* model)
{
    yyjson_val* const id = jsonMember(model, "UUID");
    yyjson_val* const name = jsonMember(model, "Name");
    if (!yyjson_is_str(id) || !yyjson_is_str(name))
    {
        log_warning("", "Warning! Model has no ID or Name.\n");
        return;
    }
    if (!isFileName(jsonText(id)))
    {
        log_info("Warning! Model's ID cannot name its files: %s\n", oneLine(jsonText(id)).c_str());
        return;
    }
    AssignedModel assigned;
    assigned.id = jsonText(id);
    assigned.name = excerptOf(jsonText(name)); // shown to people
    assigned.updatedAt = jsonText(jsonMember(model, "UpdatedAt"));

    yyjson_val* const downloads = jsonMember(model, "Downloads");
    const ModelFiles files = m_modelManager.selectDownload(downloads, m_mimeType, assigned.id);
    if (files.modelPath.empty())
    {
        log_info("Warning! Assigned model not compatible with runtime %s\n", assigned.name.c_str());
        if (!m_mimeType.empty()) // else there is no runtime yet
        {
            m_modelManager.reportIncompatible(assigned.id, assigned.name, m_mimeType);
            m_incompatible.insert(assigned.id);
        }
        return;
    }
    if (const auto known = m_models.find(assigned.id); known != m_models.end())
    {
        if (known->second.encrypted != files.encrypted)
            log_debug(
                "Warning! Model assigned in both encrypted and unencrypted configurations.\n");
        return;
    }
    assigned.modelPath = files.modelPath;
    assigned.keyPath = files.keyPath;
    assigned.runtimePath = files.runtimePath;
    assigned.encrypted = files.encrypted;
    if (m_modelManager.ensureModel(downloads, m_mimeType, assigned, m_cloudToken()))
        m_downloaded = true;
    appendToList(model, assigned);
    m_models.emplace(assigned.id, std::move(assigned));
}

MutableJsonDocument ModelCollector::takeList()
{
    m_modelManager.keepReports(std::move(m_incompatible));
    return std::move(m_list);
}

void ModelCollector::appendToList(yyjson_val* model, const AssignedModel& assigned)
{
    yyjson_mut_doc* const json = m_list.get();
    yyjson_mut_val* const copy = yyjson_val_mut_copy(json, model);
    yyjson_mut_obj_add_strncpy(json, copy, "MimeType", m_mimeType.data(), m_mimeType.size());
    yyjson_mut_obj_add_strncpy(
        json, copy, "Filepath", assigned.runtimePath.data(), assigned.runtimePath.size());
    yyjson_mut_arr_append(yyjson_mut_doc_get_root(json), copy);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
