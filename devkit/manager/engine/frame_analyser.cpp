#include "engine/frame_analyser.h"

#include <algorithm>
#include <utility>

#include "utils/log.h"

namespace tavo::devkit
{

namespace orlix = vms_server_plugins::analytics::orlix;

namespace
{

// Pre- and postprocessors that this application knows, by the names that pipelines give them.
constexpr char kLineCrossing[] = "LineCrossing";
constexpr char kLoitering[] = "LoiteringDetection";
constexpr char kCounting[] = "Object Counting";
constexpr char kDumping[] = "Illegal Dumping";

// Event types and the object type that the plugin declares for them.
constexpr char kLineCrossingEvent[] = "tavo.orlix.linecrossing";
constexpr char kLoiteringEvent[] = "tavo.orlix.loiter_alarm";
constexpr char kDumpingEvent[] = "tavo.orlix.dumping";
constexpr char kAnomalyClass[] = "anomaly";

// "true" or "false" decides whether ids go with the objects, whatever the pipeline.
constexpr char kIdsSetting[] = "externalprocessor.ObjectIDs";

// Inputs are cameras; more than these are the invention of a broken sender.
constexpr std::size_t kMaxInputs = 1024;

// Ids are sent where some function works with them, so that a host sees the same object in an
// event's description and in its picture; a plain pipeline leaves the following to the plugin.
bool wantsIds(const InputFrame& frame)
{
    const auto setting = frame.externalSettings.find(kIdsSetting);
    if (setting != frame.externalSettings.end())
        return setting->second == "true";
    return std::any_of(
        frame.pipeline.begin(), frame.pipeline.end(),
        [](const PipelineNode& node) { return !node.postprocessor.empty(); });
}

ResultObject toResult(const Track& track, float score, std::uint64_t timestampUs)
{
    return {
        track.box,
        track.id,
        {{"Score", orlix::log_format_alloc(16, "%.2f", double(score))},
         {"Seconds in view", std::to_string((timestampUs - track.firstSeenUs) / 1'000'000)}}};
}

std::string seconds(std::uint64_t us)
{
    return std::to_string(us / 1'000'000) + " seconds";
}

} // namespace

Result FrameAnalyser::analyse(const InputFrame& frame)
{
    Input& input = inputOf(frame);
    const std::vector<SeenObject> seen = withinMasks(detect(frame), frame);
    const std::vector<Track*> tracks = input.tracker.update(seen, frame.timestampUs);

    Result result;
    result.inputIndex = frame.inputIndex;
    result.timestampUs = frame.timestampUs;
    result.imageSize = frame.rgb.size;
    result.hasIds = wantsIds(frame);
    for (std::size_t i = 0; i < seen.size(); ++i)
    {
        result.objects[seen[i].className].push_back(
            toResult(*tracks[i], seen[i].score, frame.timestampUs));
    }
    watchLine(frame, tracks, result);
    watchLoitering(frame, tracks, result);
    watchDumping(frame, seen, input, result);
    count(frame, seen, input, result);
    return result;
}

void FrameAnalyser::watchLine(
    const InputFrame& frame, const std::vector<Track*>& tracks, Result& result)
{
    if (frame.line.empty() || !frame.hasProcessor(kLineCrossing))
        return;
    for (Track* const track : tracks)
    {
        if (crossesLine(*track, frame.line))
        {
            result.events.push_back(
                {kLineCrossingEvent, "Line crossed", track->className + " crossed the line"});
        }
    }
}

void FrameAnalyser::watchLoitering(
    const InputFrame& frame, const std::vector<Track*>& tracks, Result& result)
{
    if (!frame.loitering || !frame.hasProcessor(kLoitering))
        return;
    for (Track* const track : tracks)
    {
        if (loiters(*track, *frame.loitering, frame.timestampUs))
        {
            result.events.push_back(
                {kLoiteringEvent, "Loiterer detected",
                 track->className + " in view for " +
                     seconds(frame.timestampUs - track->firstSeenUs)});
        }
    }
}

void FrameAnalyser::watchDumping(
    const InputFrame& frame, const std::vector<SeenObject>& seen, Input& input, Result& result)
{
    if (!frame.dumping || !frame.hasProcessor(kDumping))
        return;
    std::vector<const Track*> reports;
    for (const Track* const left : input.dumping.update(frame, seen, reports))
        result.objects[kAnomalyClass].push_back(toResult(*left, 1, frame.timestampUs));
    for (const Track* const left : reports)
    {
        result.events.push_back(
            {kDumpingEvent, "Illegal dumping detected",
             left->className + " left behind for " +
                 seconds(frame.timestampUs - left->restingSinceUs)});
    }
}

void FrameAnalyser::count(
    const InputFrame& frame, const std::vector<SeenObject>& seen, Input& input, Result& result)
{
    if (!frame.hasProcessor(kCounting))
        return;
    // A class that was counted once is told as 0 when it is gone.
    for (const SeenObject& object : seen)
        input.countedClasses.insert(object.className);
    for (const std::string& className : input.countedClasses)
        result.counts[className] = 0;
    for (const SeenObject& object : seen)
        ++result.counts[object.className];
}

void FrameAnalyser::takeReference()
{
    for (auto& [inputIndex, input] : m_inputs)
        input.dumping.takeReference();
}

FrameAnalyser::Input& FrameAnalyser::inputOf(const InputFrame& frame)
{
    if (m_inputs.size() == kMaxInputs && !m_inputs.contains(frame.inputIndex))
        m_inputs.clear();
    return m_inputs[frame.inputIndex];
}

// Every model of the pipeline once, on the whole image, chained ones too.
std::vector<SeenObject> FrameAnalyser::detect(const InputFrame& frame)
{
    if (frame.pipeline.empty())
        return m_models.detect({}, PipelineNode().nms, frame.rgb, frame.inputIndex);
    std::vector<SeenObject> seen;
    std::set<const void*> done;
    for (const PipelineNode& node : frame.pipeline)
    {
        if (!done.insert(m_models.identityOf(node.modelUuid)).second)
            continue;
        std::vector<SeenObject> found =
            m_models.detect(node.modelUuid, node.nms, frame.rgb, frame.inputIndex);
        seen.insert(
            seen.end(), std::make_move_iterator(found.begin()),
            std::make_move_iterator(found.end()));
    }
    return seen;
}

} // namespace tavo::devkit
