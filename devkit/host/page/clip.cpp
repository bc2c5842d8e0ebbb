#include "page/clip.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>

#include <tavo/sdk/helpers/uuid.h>

#include "common/json.h"
#include "media/drawing.h"
#include "media/video_writer.h"
#include "metadata/event_captions.h"
#include "page/jpeg.h"

namespace tavo::devkit
{

namespace
{

constexpr int64_t kHeldUs = 1'000'000; // how long a result stays on pictures without one

// A file's name that is nobody else's. What is there is removed in the end.
class ScratchFile
{
public:
    ScratchFile() :
        m_path(
            std::filesystem::temp_directory_path() /
            ("tavo_clip_" + toText(sdk::randomUuid()) + ".mp4"))
    {}
    ~ScratchFile()
    {
        std::error_code error;
        std::filesystem::remove(m_path, error);
    }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    [[nodiscard]] std::string name() const { return m_path.string(); }

    [[nodiscard]] std::string content() const
    {
        std::ifstream in(m_path, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

private:
    const std::filesystem::path m_path;
};

struct Result
{
    std::vector<DetectedObject> objects;
    std::vector<DetectedEvent> events;
};

float real(yyjson_val* array, size_t index)
{
    return float(yyjson_get_num(yyjson_arr_get(array, index)));
}

// Adds what a line of the metadata sink says.
void addLine(const std::string& text, Result* result)
{
    const JsonDocument document = parseJson(text);
    yyjson_val* const root = yyjson_doc_get_root(document.get());
    for (yyjson_val* const item : jsonElements(yyjson_obj_get(root, "objects")))
    {
        DetectedObject object;
        object.typeId = stringMember(item, "typeId");
        object.trackId = stringMember(item, "trackId");
        yyjson_val* const box = yyjson_obj_get(item, "box");
        object.box = {real(box, 0), real(box, 1), real(box, 2), real(box, 3)};
        result->objects.push_back(std::move(object));
    }
    for (yyjson_val* const item : jsonElements(yyjson_obj_get(root, "events")))
    {
        DetectedEvent event;
        event.typeId = stringMember(item, "typeId");
        event.caption = stringMember(item, "caption");
        event.description = stringMember(item, "description");
        result->events.push_back(std::move(event));
    }
}

std::map<int64_t, Result> readResults(const std::vector<History::Line>& lines)
{
    std::map<int64_t, Result> results;
    for (const History::Line& line : lines)
        addLine(line.text, &results[line.timestampUs]);
    return results;
}

} // namespace

std::string makeClip(
    const std::vector<History::Picture>& pictures, const std::vector<History::Line>& lines,
    const std::vector<cv::Point2f>& crossingLine)
{
    const std::map<int64_t, Result> results = readResults(lines);
    const ScratchFile file;
    std::unique_ptr<VideoWriter> video;
    EventCaptions captions;
    int64_t firstUs = 0;
    for (const History::Picture& kept : pictures)
    {
        cv::Mat picture = decodeJpeg(*kept.jpeg);
        if (picture.empty())
            continue;
        if (!video)
        {
            firstUs = kept.timestampUs;
            video = std::make_unique<VideoWriter>(file.name(), picture.cols, picture.rows);
        }
        auto result = results.upper_bound(kept.timestampUs);
        const bool hasResult =
            result != results.begin() && kept.timestampUs - (--result)->first < kHeldUs;
        drawLine(picture, crossingLine);
        if (hasResult)
            drawObjects(picture, result->second.objects);
        const bool isItsOwn = hasResult && result->first == kept.timestampUs;
        const int64_t mediaUs = kept.timestampUs - firstUs;
        drawTexts(
            picture,
            captions.next(
                isItsOwn ? result->second.events : std::vector<DetectedEvent>(), mediaUs));
        video->write(picture.data, picture.cols, picture.rows, int(picture.step[0]), mediaUs);
    }
    if (!video)
        return {};
    video->finish();
    return file.content();
}

} // namespace tavo::devkit
