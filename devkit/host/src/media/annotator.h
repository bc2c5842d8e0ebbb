#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "media/frame_observer.h"
#include "metadata/metadata.h"

namespace tavo::devkit
{

// Finds the frame that a result belongs to, by its timestamp, draws the result on it and writes
// pictures and video. Frames without a result are left out.
// onFrame and onMetadata may be called from any thread and never wait for drawing or files.
class Annotator : public FrameObserver
{
public:
    struct Output
    {
        std::string videoFile; // empty: none
        std::string contactSheetFile; // empty: none
        std::string line; // drawn on every picture; a figure as the settings dialog has it
    };

    // The events of a result come last, and are what makes its picture complete.
    virtual void onMetadata(const Metadata& metadata) = 0;

    struct Summary
    {
        uint64_t drawn = 0;
        uint64_t unmatched = 0; // results whose frame was gone
        uint64_t skipped = 0; // results that came while too many waited
        std::string failure; // empty: all files are written
    };

    // Draws what waits, writes the files' ends. Called once, at the end.
    [[nodiscard]] virtual Summary finish() = 0;
};

// Throws std::runtime_error in a build without libav and OpenCV.
[[nodiscard]] std::unique_ptr<Annotator> makeAnnotator(Annotator::Output output);

} // namespace tavo::devkit
