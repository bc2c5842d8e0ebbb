#include "host.h"

#include <algorithm>
#include <cstdlib>
#include <set>
#include <stdexcept>
#include <utility>

#include "common/clock.h"
#include "common/resources.h"
#include "metadata/latency.h"
#include "records/records.h"
#include "report.h"

// What the host does from the first frame to the summary.

namespace tavo::devkit
{

namespace
{

constexpr int64_t kTickUs = 100'000;
constexpr double kMicroseconds = 1e6;

} // namespace

bool Host::run()
{
    m_devices->start();
    mainLoop();
    m_devices->stop();
    finishAnnotation();
    printSummary();
    checkNames();
    return allTotals().results > 0;
}

// Each round looks for what is due, at a tenth of a second's precision:
// 1. the end: the time is over, the video has ended, a signal came;
// 2. buttons that the user presses at this moment;
// 3. devices whose types have changed: their dialog is opened and applied again;
// 4. full speed and slow answers once results flow, where asked for: before, they would only take
//    time from what is being set up;
// 5. once a second the live lines, once a minute the resources.
void Host::mainLoop()
{
    const int64_t startUs = steadyClockUs();
    int64_t lastShownUs = startUs;
    int lastMinute = 0;
    while (true)
    {
        const double seconds = double(steadyClockUs() - startUs) / kMicroseconds;
        if (m_options.seconds > 0 && seconds >= m_options.seconds)
            break;
        checkVideo();
        pressDueButtons(seconds);
        followManifests();
        const bool resultsFlow = allTotals().results > 0;
        if (m_options.fast && resultsFlow)
            m_feeds.goFast();
        if (resultsFlow)
            m_engine->restService().setDelay(std::chrono::milliseconds(m_options.restDelayMs));
        if (const int64_t sinceLastUs = steadyClockUs() - lastShownUs; sinceLastUs >= 1'000'000)
        {
            everySecond(double(sinceLastUs) / kMicroseconds);
            lastShownUs += sinceLastUs;
        }
        if (const int minute = int(seconds / 60); m_options.resources && minute != lastMinute)
        {
            lastMinute = minute;
            printResources(seconds);
        }
        if (m_stopSignal.waitFor(kTickUs))
            break;
    }
    if (m_options.resources)
        printResources(double(steadyClockUs() - startUs) / kMicroseconds);
}

// Without its video a run is of no use, except to somebody who works it.
void Host::checkVideo() const
{
    const VideoFeed::State state = m_feeds.state(m_options.video);
    if (state.hasEnded && !m_observer)
        throw std::runtime_error(state.trouble);
}

void Host::pressDueButtons(double seconds)
{
    std::erase_if(
        m_pendingPresses,
        [&](const ButtonPress& press)
        {
            if (press.atSeconds > seconds)
                return false;
            bool found = false;
            for (const auto& device : m_devices->all())
            {
                if (!isMeant(press.device, *device))
                    continue;
                found = true;
                m_console.line(
                    "camera " + std::to_string(device->origin().camera) + ": the user presses " +
                    press.button);
                device->dialog().press(press.button);
            }
            if (!found)
                throw std::runtime_error("--press: there is no device " + press.device);
            return true;
        });
}

// What one camera's dialog has is right for "*".
void Host::checkNames() const
{
    std::set<std::string> missed;
    for (const auto& device : m_devices->all())
        missed.merge(device->dialog().namesMissed());
    for (const auto& device : m_devices->all())
        std::erase_if(missed, [&](const auto& name) { return device->dialog().hasShown(name); });
    std::string wrong;
    for (const std::string& name : missed)
        wrong += " '" + name + "'";
    if (!wrong.empty())
        throw std::runtime_error("--press or --settings: no dialog had" + wrong);
}

void Host::followManifests()
{
    for (const auto& device : m_devices->all())
    {
        if (device->takeManifestChange())
            device->dialog().apply();
    }
}

void Host::everySecond(double sinceLast)
{
    for (const auto& device : m_devices->all())
    {
        const CameraTotals now = device->statistics().totals();
        m_console.line(liveLine(
            device->origin().camera, m_lastShown[device->origin().camera], now,
            device->statistics().personsNow(), sinceLast));
        m_lastShown[device->origin().camera] = now;
        showTrouble(*device);
        if (m_options.showDialog)
            device->dialog().refresh();
    }
    m_sink.flush();
}

// Why there are no pictures, once.
void Host::showTrouble(const Device& device)
{
    const std::string trouble = m_feeds.state(device.source()).trouble;
    const int camera = device.origin().camera;
    if (trouble == std::exchange(m_lastTrouble[camera], trouble) || trouble.empty())
        return;
    m_console.line("camera " + std::to_string(camera) + ": " + trouble);
}

void Host::finishAnnotation()
{
    if (!m_annotator)
        return;
    const Annotator::Summary summary = m_annotator->finish();
    m_console.line(
        "annotated: " + std::to_string(summary.drawn) + " pictures, " +
        std::to_string(summary.unmatched) + " results without a frame, " +
        std::to_string(summary.skipped) + " skipped");
    if (!summary.failure.empty())
        throw std::runtime_error(summary.failure);
}

void Host::printSummary()
{
    m_console.line("summary:");
    for (const auto& device : m_devices->all())
    {
        m_console.line(summaryLine(
            "camera " + std::to_string(device->origin().camera), device->statistics().totals()));
    }
    m_console.line(summaryLine("total", allTotals()));

    const char* const timesFile = std::getenv("TAVO_RESULT_TIMES"); // the application's, too
    const ApplicationTimes times(timesFile ? timesFile : "");
    Latencies latencies;
    for (const auto& device : m_devices->all())
    {
        for (const FrameTime& frame : device->statistics().frameTimes())
            latencies.add(frame, times.sentUs(device->origin().camera, frame.timestampUs));
    }
    if (const std::string text = latencies.text(); !text.empty())
        m_console.line("latency: " + text);
}

void Host::printResources(double seconds)
{
    m_console.line(
        resourcesLine(seconds, readProcessResources(), m_engine->library().liveObjects()));
}

bool Host::isMeant(const std::string& device, const Device& candidate) const
{
    return device == "*" || device == std::to_string(candidate.origin().camera) ||
        isSameId(device, candidate.origin().deviceId);
}

CameraTotals Host::allTotals() const
{
    CameraTotals totals;
    for (const auto& device : m_devices->all())
        totals.add(device->statistics().totals());
    return totals;
}

} // namespace tavo::devkit
