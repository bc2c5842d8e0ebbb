#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

#include "contact_sheet.h"
#include "event_captions.h"
#include "frame_observer.h"
#include "metadata.h"
#include "picture.h"
#include "video_writer.h"

namespace tavo::devkit
{

// Finds the frame that a result belongs to, by its timestamp, draws the result on it and writes
// pictures and video, on a thread of its own. Frames without a result are left out.
// onFrame and onMetadata may be called from any thread and never wait for drawing or files.
class Annotator : public FrameObserver
{
public:
    struct Output
    {
        std::string videoFile; // empty: none
        std::string contactSheetFile; // empty: none
        std::vector<cv::Point2f> line; // drawn on every picture
    };

    explicit Annotator(Output output);

    // FrameObserver:
    void onFrame(const MetadataSink::Origin& camera, int64_t timestampUs, const PicturePtr& picture)
        override;

    // The events of a result come last, and are what makes its picture complete.
    void onMetadata(const Metadata& metadata);

    struct Summary
    {
        uint64_t drawn = 0;
        uint64_t unmatched = 0; // results whose frame was gone
        uint64_t skipped = 0; // results that came while too many waited
        std::string failure; // empty: all files are written
    };

    // Draws what waits, writes the files' ends. Called once, at the end.
    [[nodiscard]] Summary finish();

private:
    struct Job
    {
        PicturePtr picture;
        std::vector<DetectedObject> objects;
        std::vector<DetectedEvent> events;
    };

    void run(std::stop_token stop);
    void draw(const Job& job);
    [[nodiscard]] PicturePtr findFrame(int64_t timestampUs) const;
    void fail(const std::string& text);

private:
    const Output m_output;

    std::mutex m_mutex;
    // State below is protected by m_mutex.
    std::condition_variable_any m_changed;
    std::deque<std::pair<int64_t, PicturePtr>> m_recent; // rising timestamps
    Metadata m_lastObjects;
    std::deque<Job> m_jobs;
    Summary m_summary;

    // State below belongs to the thread.
    std::unique_ptr<VideoWriter> m_video;
    ContactSheet m_sheet;
    EventCaptions m_captions;

    std::jthread m_thread; // last: it uses all of the above
};

// The points of a figure as the settings dialog has it; empty for any other text.
[[nodiscard]] std::vector<cv::Point2f> readFigure(std::string_view json);

} // namespace tavo::devkit
