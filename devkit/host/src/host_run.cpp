#include "host.h"

#include <algorithm>
#include <stdexcept>

#include "clock.h"
#include "records.h"
#include "report.h"
#include "resources.h"

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
    for (const auto& device : m_devices)
    {
        (void)device->handler->takeManifestChange(); // the one that it started with
        device->dialog->apply();
    }
    startVideo();
    mainLoop();
    stopVideo();
    finishAnnotation();
    printSummary();
    return allTotals().results > 0;
}

void Host::startVideo()
{
    std::vector<PictureTaker*> takers;
    for (const auto& device : m_devices)
    {
        takers.push_back(device->camera.get());
        device->camera->start();
    }
    m_feed = std::make_unique<VideoFeed>(m_options.video, m_options.size, std::move(takers));
    m_feed->start();
}

// Ends the flow of frames. Does nothing when there is none.
void Host::stopVideo()
{
    if (m_feed)
        m_feed->stop();
    for (const auto& device : m_devices)
        device->camera->stop();
}

// Each round looks for what is due, at a tenth of a second's precision:
// 1. the end: the time is over, the video has ended, a signal came;
// 2. buttons that the user presses at this moment;
// 3. devices whose types have changed: their dialog is opened and applied again;
// 4. full speed once results flow, where asked for: before, it would only take the machine's time
//    from what is being set up;
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
        if (const std::string failure = m_feed->failure(); !failure.empty())
            throw std::runtime_error(failure);
        pressDueButtons(seconds);
        followManifests();
        if (m_options.fast && allTotals().results > 0)
            m_feed->goFast();
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

void Host::pressDueButtons(double seconds)
{
    std::erase_if(
        m_pendingPresses,
        [&](const ButtonPress& press)
        {
            if (press.atSeconds > seconds)
                return false;
            bool found = false;
            for (const auto& device : m_devices)
            {
                if (!isMeant(press.device, *device))
                    continue;
                found = true;
                m_console.line(
                    "camera " + std::to_string(device->origin.camera) + ": the user presses " +
                    press.button);
                device->dialog->press(press.button);
            }
            if (!found)
                m_console.line("There is no device " + press.device + " to press a button of.");
            return true;
        });
}

void Host::followManifests()
{
    for (const auto& device : m_devices)
    {
        if (device->handler->takeManifestChange())
            device->dialog->apply();
    }
}

void Host::everySecond(double sinceLast)
{
    for (const auto& device : m_devices)
    {
        const CameraTotals now = device->statistics.totals();
        m_console.line(liveLine(
            device->origin.camera, device->lastShown, now, device->statistics.personsNow(),
            sinceLast));
        device->lastShown = now;
        if (m_options.showDialog)
            device->dialog->refresh();
    }
    m_sink.flush();
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
    for (const auto& device : m_devices)
    {
        m_console.line(summaryLine(
            "camera " + std::to_string(device->origin.camera), device->statistics.totals()));
    }
    m_console.line(summaryLine("total", allTotals()));
}

void Host::printResources(double seconds)
{
    m_console.line(resourcesLine(seconds, readProcessResources(), m_library->liveObjects()));
}

bool Host::isMeant(const std::string& device, const Device& candidate) const
{
    return device == "*" || device == std::to_string(candidate.origin.camera) ||
        isSameId(device, candidate.origin.deviceId);
}

CameraTotals Host::allTotals() const
{
    CameraTotals totals;
    for (const auto& device : m_devices)
        totals.add(device->statistics.totals());
    return totals;
}

} // namespace tavo::devkit
