#include "media/picture_annotator.h"

#include <algorithm>
#include <stdexcept>

#include "common/json.h"
#include "media/drawing.h"

namespace tavo::devkit
{

namespace
{

constexpr size_t kRecentFrames = 32;
constexpr size_t kWaitingJobs = 16;

} // namespace

PictureAnnotator::PictureAnnotator(Output output) :
    m_output(std::move(output)),
    m_line(readFigure(m_output.line)),
    m_thread([this](std::stop_token stop) { run(std::move(stop)); })
{}

void PictureAnnotator::onFrame(
    const MetadataSink::Origin& /*camera*/, int64_t timestampUs, const PicturePtr& picture)
{
    const std::lock_guard lock(m_mutex);
    m_recent.emplace_back(timestampUs, picture);
    if (m_recent.size() > kRecentFrames)
        m_recent.pop_front();
}

void PictureAnnotator::onMetadata(const Metadata& metadata)
{
    {
        const std::lock_guard lock(m_mutex);
        if (metadata.kind == Metadata::Kind::objects)
            m_lastObjects = metadata;
        if (metadata.kind != Metadata::Kind::events)
            return;
        Job job{findFrame(metadata.timestampUs), {}, metadata.events};
        if (m_lastObjects.timestampUs == metadata.timestampUs)
            job.objects = std::move(m_lastObjects.objects);
        m_lastObjects = {};
        if (!job.picture)
        {
            ++m_summary.unmatched;
            return;
        }
        if (m_jobs.size() >= kWaitingJobs)
        {
            ++m_summary.skipped;
            return;
        }
        m_jobs.push_back(std::move(job));
    }
    m_changed.notify_one();
}

Annotator::Summary PictureAnnotator::finish()
{
    m_thread = {}; // ends once nothing waits
    try
    {
        if (m_video)
            m_video->finish();
    }
    catch (const std::runtime_error& error)
    {
        fail(error.what());
    }
    if (!m_output.contactSheetFile.empty() && !m_sheet.write(m_output.contactSheetFile))
        fail(m_output.contactSheetFile + ": cannot be written");
    const std::lock_guard lock(m_mutex);
    return m_summary;
}

void PictureAnnotator::run(std::stop_token stop)
{
    std::unique_lock lock(m_mutex);
    while (m_changed.wait(lock, stop, [this] { return !m_jobs.empty(); }))
    {
        const Job job = std::move(m_jobs.front());
        m_jobs.pop_front();
        lock.unlock();
        try
        {
            draw(job);
        }
        catch (const std::exception& error)
        {
            fail(error.what());
        }
        lock.lock();
        ++m_summary.drawn;
    }
}

void PictureAnnotator::draw(const Job& job)
{
    const Picture& source = *job.picture;
    cv::Mat picture(source.height, source.width, CV_8UC3);
    std::copy_n(source.pixels.data(), picture.total() * picture.elemSize(), picture.data);
    drawLine(picture, m_line);
    drawObjects(picture, job.objects);
    drawTexts(picture, m_captions.next(job.events, source.mediaUs));

    if (!m_output.contactSheetFile.empty())
        m_sheet.offer(picture);
    if (m_output.videoFile.empty())
        return;
    if (!m_video)
        m_video = std::make_unique<VideoWriter>(m_output.videoFile, picture.cols, picture.rows);
    m_video->write(picture.data, picture.cols, picture.rows, int(picture.step[0]), source.mediaUs);
}

PicturePtr PictureAnnotator::findFrame(int64_t timestampUs) const
{
    for (const auto& [frameUs, picture] : m_recent)
    {
        if (frameUs == timestampUs)
            return picture;
    }
    return nullptr;
}

void PictureAnnotator::fail(const std::string& text)
{
    const std::lock_guard lock(m_mutex);
    if (m_summary.failure.empty())
        m_summary.failure = text;
}

std::vector<cv::Point2f> readFigure(std::string_view json)
{
    const JsonDocument document = parseJson(json);
    yyjson_val* const figure = yyjson_obj_get(yyjson_doc_get_root(document.get()), "figure");
    yyjson_val* const points = yyjson_obj_get(figure, "points");
    std::vector<cv::Point2f> result;
    for (yyjson_val* const point : jsonElements(points))
    {
        result.emplace_back(
            float(yyjson_get_num(yyjson_arr_get(point, 0))),
            float(yyjson_get_num(yyjson_arr_get(point, 1))));
    }
    return result;
}

std::unique_ptr<Annotator> makeAnnotator(Annotator::Output output)
{
    return std::make_unique<PictureAnnotator>(std::move(output));
}

} // namespace tavo::devkit
