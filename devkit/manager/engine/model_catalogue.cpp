#include "engine/model_catalogue.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "utils/json.h"
#include "utils/log.h"

namespace tavo::devkit
{

namespace orlix = vms_server_plugins::analytics::orlix;

namespace
{

constexpr std::string_view kMotion = "motion";
constexpr std::string_view kHog = "hog";

bool holdsIgnoringCase(std::string_view text, std::string_view lowerCase)
{
    return std::search(
               text.begin(), text.end(), lowerCase.begin(), lowerCase.end(),
               [](char a, char b)
               { return std::tolower(static_cast<unsigned char>(a)) == b; }) != text.end();
}

std::unique_ptr<Detector> makeDetector(std::string_view name, std::string_view file)
{
    if (holdsIgnoringCase(name, kMotion))
        return makeMotionDetector();
    if (holdsIgnoringCase(name, kHog))
        return makeHogDetector();
    try
    {
        return makeNanoDetDetector(file);
    }
    catch (const std::exception& error)
    {
        throw std::runtime_error(
            "Model " + std::string(name) + " cannot be loaded from " + std::string(file) + ": " +
            error.what());
    }
}

std::unique_ptr<Detector> makeBuiltIn(std::string_view engine)
{
    if (engine.empty() || engine == kHog)
        return makeHogDetector();
    if (engine == kMotion)
        return makeMotionDetector();
    throw std::runtime_error("There is no engine named " + std::string(engine));
}

orlix::JsonDocument readSettings(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    if (!stream)
        return nullptr;
    const std::string text{std::istreambuf_iterator<char>(stream), {}};
    orlix::JsonDocument document = orlix::parseJson(text);
    if (!document || !yyjson_is_arr(yyjson_doc_get_root(document.get())))
        throw std::runtime_error("The settings file is no array of models: " + file.string());
    return document;
}

} // namespace

std::map<int, std::string> classNamesOf(std::string_view outputName)
{
    std::map<int, std::string> names;
    if (outputName.find("bboxes") == std::string_view::npos)
        return names;
    std::size_t end = outputName.find(';');
    while (end != std::string_view::npos)
    {
        outputName.remove_prefix(end + 1);
        end = outputName.find(';');
        const std::string_view entry = outputName.substr(0, end);
        int index = 0;
        const auto read = std::from_chars(entry.data(), entry.data() + entry.size(), index);
        if (read.ec == std::errc() && read.ptr != entry.data() + entry.size() && *read.ptr == ':')
            names[index] = std::string(read.ptr + 1, entry.data() + entry.size());
    }
    return names;
}

ModelCatalogue::ModelCatalogue(
    const std::filesystem::path& settingsFile, const std::string& engine) :
    m_isFixed(!engine.empty())
{
    m_default.detector = makeBuiltIn(engine);
    if (m_isFixed)
        orlix::log_info("Engine in the place of all models: %s\n", engine.c_str());
    else
        load(settingsFile);
}

void ModelCatalogue::load(const std::filesystem::path& settingsFile)
{
    const orlix::JsonDocument document = readSettings(settingsFile);
    std::size_t index = 0;
    std::size_t count = 0;
    yyjson_val* object = nullptr;
    yyjson_arr_foreach(yyjson_doc_get_root(document.get()), index, count, object)
    {
        const std::string uuid(orlix::jsonText(orlix::jsonMember(object, "UUID")));
        const std::string name(orlix::jsonText(orlix::jsonMember(object, "Name")));
        const std::string file(orlix::jsonText(orlix::jsonMember(object, "Filepath")));
        orlix::log_info(
            "Loading model %s (%s) from %s\n", name.c_str(), uuid.c_str(), file.c_str());
        Model model{makeDetector(name, file), {}};
        std::size_t outputIndex = 0;
        std::size_t outputCount = 0;
        yyjson_val* output = nullptr;
        yyjson_arr_foreach(
            orlix::jsonMember(object, "NamedOutput"), outputIndex, outputCount, output)
        {
            model.classNames.merge(
                classNamesOf(orlix::jsonText(orlix::jsonMember(output, "Name"))));
        }
        m_models[uuid] = std::move(model);
    }
    orlix::log_info("Models loaded: %zu\n", m_models.size());
}

std::vector<SeenObject> ModelCatalogue::detect(
    const std::string& modelUuid, float nms, const RgbImage& rgb, std::uint64_t inputIndex)
{
    Model& model = find(modelUuid);
    std::vector<SeenObject> seen;
    for (const Detection& found : suppressOverlaps(model.detector->detect(rgb, inputIndex), nms))
    {
        if (model.classNames.empty())
        {
            seen.push_back(
                {std::string(model.detector->className(found.classIndex)), found.score, found.box});
        }
        else if (const auto name = model.classNames.find(found.classIndex);
                 name != model.classNames.end())
        {
            seen.push_back({name->second, found.score, found.box});
        }
    }
    return seen;
}

const void* ModelCatalogue::identityOf(const std::string& modelUuid)
{
    return &find(modelUuid);
}

ModelCatalogue::Model& ModelCatalogue::find(const std::string& modelUuid)
{
    const auto model = m_models.find(modelUuid);
    return model == m_models.end() ? m_default : model->second;
}

} // namespace tavo::devkit
