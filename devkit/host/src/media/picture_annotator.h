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

#include "media/annotator.h"
#include "media/contact_sheet.h"
#include "media/picture.h"
#include "media/video_writer.h"
#include "metadata/event_captions.h"
#include "metadata/metadata.h"

namespace tavo::devkit
{

// Draws with OpenCV and encodes with libav, on a thread of its own.
class PictureAnnotator : public Annotator
{
public:
    explicit PictureAnnotator(Output output);

    void onFrame(const MetadataSink::Origin& camera, int64_t timestampUs, const PicturePtr& picture)
        override;
    void onMetadata(const Metadata& metadata) override;
    Summary finish() override;

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
    const std::vector<cv::Point2f> m_line; // in fractions of the picture

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
