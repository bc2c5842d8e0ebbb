#pragma once

#include <algorithm>
#include <cstdint>

namespace tavo::devkit
{

// When a frame is due, from its place in the video. The first frame is due at once; a feed that has
// fallen behind by more than a second goes on from there and does not race to catch up, and a gap
// in the video of more than five seconds is not waited for.
// All times in microseconds.
class FramePacer
{
public:
    // `mediaUs` never goes back; `nowUs` is any steady clock, in which the answer is given.
    [[nodiscard]] int64_t dueUs(int64_t mediaUs, int64_t nowUs)
    {
        constexpr int64_t kFarBehindUs = 1'000'000;
        constexpr int64_t kFarAheadUs = 5'000'000;
        const int64_t aheadUs = mediaUs + m_offsetUs - nowUs;
        if (!m_started || aheadUs < -kFarBehindUs || aheadUs > kFarAheadUs)
        {
            m_started = true;
            m_offsetUs = nowUs - mediaUs;
        }
        return mediaUs + m_offsetUs;
    }

private:
    bool m_started = false;
    int64_t m_offsetUs = 0;
};

// Timestamps of one camera: the wall clock, except that no two frames share one.
class StrictClock
{
public:
    [[nodiscard]] int64_t next(int64_t wallClockUs)
    {
        m_lastUs = std::max(wallClockUs, m_lastUs + 1);
        return m_lastUs;
    }

private:
    int64_t m_lastUs = 0;
};

// Places in a video that is played over and over, as one line that never goes back: each round
// begins where the last one ended.
class MediaClock
{
public:
    // `ptsUs` is a frame's own time, or negative when it has none; `durationUs` how long it shows.
    [[nodiscard]] int64_t next(int64_t ptsUs, int64_t durationUs)
    {
        if (m_roundBegins)
        {
            m_offsetUs = m_nextUs - std::max<int64_t>(ptsUs, 0);
            m_roundBegins = false;
        }
        const int64_t placeUs = ptsUs < 0 ? m_nextUs : ptsUs + m_offsetUs;
        m_lastUs = std::max(placeUs, m_lastUs);
        m_nextUs = m_lastUs + durationUs;
        return m_lastUs;
    }

    void beginRound() { m_roundBegins = true; }

private:
    bool m_roundBegins = true;
    int64_t m_offsetUs = 0;
    int64_t m_lastUs = 0;
    int64_t m_nextUs = 0;
};

} // namespace tavo::devkit
