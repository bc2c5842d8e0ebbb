#include "catalogue.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

#include "json_text.h"

namespace tavo::devkit
{

namespace
{

using namespace tavo::vms_server_plugins::analytics::orlix;

constexpr const char* kOwnModelKeys[] = {"File", "Encrypted", "RuntimeArchitectures"};

std::string readWhole(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw std::runtime_error("cannot read " + path);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string textOf(yyjson_val* object, const char* key)
{
    return std::string(jsonText(jsonMember(object, key)));
}

yyjson_val* findByUuid(yyjson_val* models, std::string_view uuid)
{
    std::size_t index = 0;
    std::size_t count = 0;
    yyjson_val* model = nullptr;
    yyjson_arr_foreach(models, index, count, model)
    {
        if (jsonText(jsonMember(model, "UUID")) == uuid)
            return model;
    }
    return nullptr;
}

} // namespace

Catalogue::Catalogue(const std::string& file, const std::string& filesFolder) :
    m_document(parseJson(readWhole(file)))
{
    yyjson_val* const root = yyjson_doc_get_root(m_document.get());
    yyjson_val* const models = jsonMember(root, "models");
    yyjson_val* const pipelines = jsonMember(root, "pipelines");
    if (!yyjson_is_arr(models) || yyjson_arr_size(pipelines) == 0)
        throw std::runtime_error(file + " has no models and pipelines");

    std::size_t index = 0;
    std::size_t count = 0;
    yyjson_val* model = nullptr;
    yyjson_arr_foreach(models, index, count, model)
    {
        const std::string name = textOf(model, "File");
        std::string content = readWhole(filesFolder + "/" + name);
        m_files[name] = yyjson_is_true(jsonMember(model, "Encrypted"))
            ? encryptModel(content)
            : plainModel(std::move(content));
    }
}

const StoredModel* Catalogue::findModel(const std::string& fileName) const
{
    const auto file = m_files.find(fileName);
    return file == m_files.end() ? nullptr : &file->second;
}

yyjson_mut_val* Catalogue::modelObject(
    yyjson_mut_doc* document, yyjson_val* model, const std::string& storageUrl) const
{
    yyjson_mut_val* const object = yyjson_val_mut_copy(document, model);
    for (const char* const key : kOwnModelKeys)
        yyjson_mut_obj_remove_key(object, key);
    addText(document, object, "UpdatedAt", m_updatedAt);

    const std::string name = textOf(model, "File");
    yyjson_mut_val* const downloads = yyjson_mut_obj_add_arr(document, object, "Downloads");
    std::size_t index = 0;
    std::size_t count = 0;
    yyjson_val* architecture = nullptr;
    yyjson_arr_foreach(jsonMember(model, "RuntimeArchitectures"), index, count, architecture)
    {
        yyjson_mut_val* const download = yyjson_mut_arr_add_obj(document, downloads);
        addText(document, download, "RuntimeArchitecture", std::string(jsonText(architecture)));
        addText(document, download, "Url", storageUrl + "/models/" + name);
        yyjson_mut_obj_add_bool(
            document, download, "Encrypted", yyjson_is_true(jsonMember(model, "Encrypted")));
        addText(document, download, "LastModified", m_updatedAt);
        yyjson_mut_obj_add_uint(document, download, "Size", m_files.at(name).content.size());
    }
    return object;
}

yyjson_mut_val* Catalogue::pipelineObject(
    yyjson_mut_doc* document, yyjson_val* pipeline, const std::string& storageUrl) const
{
    yyjson_val* const known = jsonMember(yyjson_doc_get_root(m_document.get()), "models");
    yyjson_mut_val* const object = yyjson_mut_obj(document);
    yyjson_mut_val* const models = yyjson_mut_obj_add_arr(document, object, "models");
    std::size_t index = 0;
    std::size_t count = 0;
    yyjson_val* uuid = nullptr;
    yyjson_arr_foreach(jsonMember(pipeline, "models"), index, count, uuid)
    {
        if (yyjson_val* const model = findByUuid(known, jsonText(uuid)))
            yyjson_mut_arr_append(models, modelObject(document, model, storageUrl));
    }
    yyjson_mut_obj_add_val(
        document, object, "pipelines",
        yyjson_val_mut_copy(document, jsonMember(pipeline, "pipelines")));
    return object;
}

std::string Catalogue::availablePipelines(const std::string& storageUrl) const
{
    const MutableJsonDocument document = newJsonDocument();
    yyjson_mut_val* const root = yyjson_mut_arr(document.get());
    yyjson_mut_doc_set_root(document.get(), root);
    std::size_t index = 0;
    std::size_t count = 0;
    yyjson_val* pipeline = nullptr;
    yyjson_arr_foreach(
        jsonMember(yyjson_doc_get_root(m_document.get()), "pipelines"), index, count, pipeline)
    {
        yyjson_mut_val* const object = pipelineObject(document.get(), pipeline, storageUrl);
        addText(document.get(), object, "name", textOf(pipeline, "name"));
        addText(document.get(), object, "uuid", textOf(pipeline, "uuid"));
        yyjson_mut_arr_append(root, object);
    }
    return written(document.get());
}

std::string Catalogue::resetAnswer(
    const std::string& requestBody, const std::string& storageUrl,
    const std::string& adminUrl) const
{
    const JsonDocument request = parseJson(requestBody);
    yyjson_val* const pipeline =
        yyjson_arr_get_first(jsonMember(yyjson_doc_get_root(m_document.get()), "pipelines"));

    const MutableJsonDocument document = newJsonDocument();
    yyjson_mut_val* const root = yyjson_mut_obj(document.get());
    yyjson_mut_doc_set_root(document.get(), root);
    yyjson_mut_val* const devices = yyjson_mut_obj_add_obj(document.get(), root, "Devices");
    std::size_t index = 0;
    std::size_t count = 0;
    yyjson_val* id = nullptr;
    yyjson_arr_foreach(jsonMember(yyjson_doc_get_root(request.get()), "Devices"), index, count, id)
    {
        yyjson_mut_val* const device = pipelineObject(document.get(), pipeline, storageUrl);
        addText(document.get(), device, "selectedPipeline", textOf(pipeline, "uuid"));
        addText(document.get(), device, "deviceAdmin", adminUrl + std::string(jsonText(id)));
        yyjson_mut_obj_add(
            devices, yyjson_mut_strncpy(document.get(), yyjson_get_str(id), yyjson_get_len(id)),
            device);
    }
    return written(document.get());
}

} // namespace tavo::devkit
