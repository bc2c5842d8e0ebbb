#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "engine/detector.h"
#include "engine/object_tracker.h"

namespace tavo::devkit
{

// The class names that a model's output gives to its indices, out of the output's own name, such as
// "bboxes-format:xyxy;0:person;1:car". Empty when the output is none of boxes.
[[nodiscard]] std::map<int, std::string> classNamesOf(std::string_view outputName);

// The models that the settings file assigns, loaded, by their ids. One thread.
class ModelCatalogue
{
public:
    // Loads every model of the file, an array of model objects as the plugin writes it; a file that
    // is not there assigns none. A model whose Name holds "motion" or "HOG" is the detector built
    // in under that name, any other is NanoDet with the file at its Filepath. `engine` puts one of
    // the built-in detectors, "motion" or "hog", in the place of all models; empty does not.
    //
    // Throws std::runtime_error, with a text for the operator, when something cannot be loaded.
    ModelCatalogue(const std::filesystem::path& settingsFile, const std::string& engine);

    // What the model finds, as objects of the classes that its outputs name. A box that overlaps a
    // better one of its class by more than `nms` is left out. An id that is not assigned gets the
    // people detector. Errors of a detector are std::exception.
    [[nodiscard]] std::vector<SeenObject> detect(
        const std::string& modelUuid, float nms, const RgbImage& rgb, std::uint64_t inputIndex);

    // Models with the same answer are the same.
    [[nodiscard]] const void* identityOf(const std::string& modelUuid);

private:
    struct Model
    {
        std::unique_ptr<Detector> detector;
        std::map<int, std::string> classNames; // empty for the detector's own
    };

    void load(const std::filesystem::path& settingsFile);
    Model& find(const std::string& modelUuid);

    bool m_isFixed = false; // m_default in the place of all
    std::unordered_map<std::string, Model> m_models;
    Model m_default;
};

} // namespace tavo::devkit
