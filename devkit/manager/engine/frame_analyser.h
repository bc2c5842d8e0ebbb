#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "engine/input_frame.h"
#include "engine/model_catalogue.h"
#include "engine/object_tracker.h"
#include "engine/result.h"
#include "engine/watches.h"

namespace tavo::devkit
{

// Turns frames into results: runs the models of the frame's pipeline, applies the masks, follows
// the objects, and carries out what the pipeline's processors and the frame's settings ask for.
// One thread.
class FrameAnalyser
{
public:
    // `models` outlives this object.
    explicit FrameAnalyser(ModelCatalogue& models) :
        m_models(models)
    {}

    // Errors of a detector are std::exception; the next frame may be all right.
    [[nodiscard]] Result analyse(const InputFrame& frame);

    // What each input shows next is what its search for things left behind compares with.
    void takeReference();

private:
    struct Input
    {
        ObjectTracker tracker;
        DumpingWatch dumping;
        std::set<std::string> countedClasses;
    };

    Input& inputOf(const InputFrame& frame);
    std::vector<SeenObject> detect(const InputFrame& frame);

    // Each adds to the result what its function finds, if the frame asks for it.
    static void watchLine(
        const InputFrame& frame, const std::vector<Track*>& tracks, Result& result);
    static void watchLoitering(
        const InputFrame& frame, const std::vector<Track*>& tracks, Result& result);
    static void watchDumping(
        const InputFrame& frame, const std::vector<SeenObject>& seen, Input& input, Result& result);
    static void count(
        const InputFrame& frame, const std::vector<SeenObject>& seen, Input& input, Result& result);

    ModelCatalogue& m_models;
    std::unordered_map<std::uint64_t, Input> m_inputs;
};

} // namespace tavo::devkit
