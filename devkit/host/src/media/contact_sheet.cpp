#include "media/contact_sheet.h"

#include <algorithm>

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

namespace tavo::devkit
{

EvenSampler::Step EvenSampler::next()
{
    Step step;
    step.keepThis = m_seen++ % m_stride == 0;
    if (!step.keepThis)
        return step;
    ++m_kept;
    step.dropEveryOther = m_kept == 2 * m_wanted;
    if (step.dropEveryOther)
    {
        m_kept = m_wanted;
        m_stride *= 2;
    }
    return step;
}

void ContactSheet::offer(const cv::Mat& picture)
{
    constexpr int kWidth = 480;
    const EvenSampler::Step step = m_sampler.next();
    if (!step.keepThis)
        return;
    cv::Mat thumbnail;
    const int height = std::max(1, picture.rows * kWidth / std::max(1, picture.cols));
    cv::resize(picture, thumbnail, {kWidth, height}, 0, 0, cv::INTER_AREA);
    m_thumbnails.push_back(thumbnail);
    if (!step.dropEveryOther)
        return;
    std::vector<cv::Mat> kept;
    for (size_t i = 0; i < m_thumbnails.size(); i += 2)
        kept.push_back(m_thumbnails[i]);
    m_thumbnails = std::move(kept);
}

bool ContactSheet::write(const std::string& file) const
{
    if (m_thumbnails.empty())
        return false;
    constexpr int kGap = 4;
    const size_t count = std::min(m_thumbnails.size(), kColumns * kRows);
    const cv::Size cell = m_thumbnails.front().size();
    const size_t rows = (count + kColumns - 1) / kColumns;
    cv::Mat sheet(
        int(rows) * (cell.height + kGap) + kGap, int(kColumns) * (cell.width + kGap) + kGap,
        CV_8UC3, cv::Scalar(32, 32, 32));
    for (size_t i = 0; i < count; ++i)
    {
        // Those that are left over beyond a full sheet are skipped evenly.
        cv::Mat thumbnail = m_thumbnails[i * m_thumbnails.size() / count];
        if (thumbnail.size() != cell) // a stream may change its shape
            cv::resize(thumbnail, thumbnail, cell);
        const cv::Point corner(
            kGap + int(i % kColumns) * (cell.width + kGap),
            kGap + int(i / kColumns) * (cell.height + kGap));
        thumbnail.copyTo(sheet(cv::Rect(corner, cell)));
    }
    cv::cvtColor(sheet, sheet, cv::COLOR_RGB2BGR);
    try
    {
        return cv::imwrite(file, sheet);
    }
    catch (const cv::Exception&)
    {
        return false; // no writer for this file name; the reason is on standard error already
    }
}

} // namespace tavo::devkit
