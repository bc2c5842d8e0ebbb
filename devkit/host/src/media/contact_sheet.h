#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <opencv2/core.hpp>

namespace tavo::devkit
{

// Which of a row of pictures to keep when nobody knows how many will come: every n-th, with n
// doubling whenever too many are kept, so that those kept are always spread evenly.
class EvenSampler
{
public:
    // At least `wanted` are kept as soon as that many came, and never twice as many or more.
    explicit EvenSampler(size_t wanted) :
        m_wanted(wanted)
    {}

    struct Step
    {
        bool keepThis = false;
        bool dropEveryOther =
            false; // of those kept, this one included: the second, the fourth, ...
    };
    [[nodiscard]] Step next();

private:
    const size_t m_wanted;
    size_t m_kept = 0;
    uint64_t m_stride = 1;
    uint64_t m_seen = 0;
};

// Small copies of pictures spread over a run, on one sheet of four columns and three rows.
class ContactSheet
{
public:
    // RGB. Costs something only for a picture that is kept.
    void offer(const cv::Mat& picture);

    // Writes the sheet as a PNG. False when there is no picture or the file cannot be written.
    [[nodiscard]] bool write(const std::string& file) const;

private:
    static constexpr size_t kColumns = 4;
    static constexpr size_t kRows = 3;

private:
    EvenSampler m_sampler{kColumns * kRows};
    std::vector<cv::Mat> m_thumbnails;
};

} // namespace tavo::devkit
