#include "engine/mask_parts.h"

#include <algorithm>

namespace tavo::devkit
{
namespace
{

// A row's pixels that stand side by side, up to but without `end`.
struct Run
{
    int begin;
    int end;
    std::size_t part;
};

// Parts as they are known so far. One that has turned out to belong to another says to which, which
// began earlier.
class GrowingParts
{
public:
    std::size_t begin()
    {
        m_parts.push_back({});
        m_belongsTo.push_back(m_parts.size() - 1);
        return m_parts.size() - 1;
    }

    void join(std::size_t a, std::size_t b)
    {
        a = wholeOf(a);
        b = wholeOf(b);
        m_belongsTo[std::max(a, b)] = std::min(a, b);
    }

    void add(const Run& run, int row)
    {
        enlarge(
            m_parts[run.part],
            {run.begin, row, run.end - 1, row, static_cast<std::size_t>(run.end - run.begin)});
    }

    [[nodiscard]] std::vector<MaskPart> finish()
    {
        std::vector<MaskPart> wholes;
        for (std::size_t i = 0; i < m_parts.size(); ++i)
        {
            if (const std::size_t whole = wholeOf(i); whole != i)
                enlarge(m_parts[whole], m_parts[i]);
        }
        for (std::size_t i = 0; i < m_parts.size(); ++i)
        {
            if (m_belongsTo[i] == i)
                wholes.push_back(m_parts[i]);
        }
        return wholes;
    }

private:
    std::size_t wholeOf(std::size_t part)
    {
        while (m_belongsTo[part] != part)
        {
            m_belongsTo[part] = m_belongsTo[m_belongsTo[part]]; // the way is shorter next time
            part = m_belongsTo[part];
        }
        return part;
    }

    static void enlarge(MaskPart& part, const MaskPart& by)
    {
        if (part.area == 0)
        {
            part = by;
            return;
        }
        part.left = std::min(part.left, by.left);
        part.top = std::min(part.top, by.top);
        part.right = std::max(part.right, by.right);
        part.bottom = std::max(part.bottom, by.bottom);
        part.area += by.area;
    }

    std::vector<MaskPart> m_parts;
    std::vector<std::size_t> m_belongsTo;
};

void readRuns(const std::uint8_t* row, int width, std::vector<Run>& runs)
{
    runs.clear();
    const auto isMarked = [](std::uint8_t pixel) { return pixel != 0; };
    const std::uint8_t* const end = row + width;
    for (const std::uint8_t* at = row;;)
    {
        const std::uint8_t* const first = std::find_if(at, end, isMarked);
        if (first == end)
            return;
        at = std::find(first, end, 0);
        runs.push_back({int(first - row), int(at - row), 0});
    }
}

// Both lists rise. Those that a run touches in the row above begin where those of the run before
// have ended, at the earliest.
void connect(std::vector<Run>& runs, const std::vector<Run>& above, GrowingParts& parts)
{
    auto other = above.begin();
    for (Run& run : runs)
    {
        while (other != above.end() && other->end < run.begin)
            ++other;
        bool isKnown = false;
        for (auto touched = other; touched != above.end() && touched->begin <= run.end; ++touched)
        {
            if (isKnown)
                parts.join(run.part, touched->part);
            else
                run.part = touched->part;
            isKnown = true;
        }
        if (!isKnown)
            run.part = parts.begin();
    }
}

} // namespace

std::vector<MaskPart> partsOf(const Plane& mask, Size size)
{
    GrowingParts parts;
    std::vector<Run> above;
    std::vector<Run> runs;
    for (int y = 0; y < size.height; ++y)
    {
        readRuns(mask.data() + std::size_t(y) * std::size_t(size.width), size.width, runs);
        connect(runs, above, parts);
        for (const Run& run : runs)
            parts.add(run, y);
        std::swap(runs, above);
    }
    return parts.finish();
}

} // namespace tavo::devkit
