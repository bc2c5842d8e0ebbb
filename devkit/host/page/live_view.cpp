#include "page/live_view.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "common/json.h"

namespace tavo::devkit
{

namespace
{

int widthOf(PictureSize size)
{
    return size == PictureSize::small ? 640 : 1280;
}

bool isShown(std::string_view kind)
{
    return kind == "objects" || kind == "events" || kind == "diagnosticEvent" ||
        kind == "actionResponse" || kind == "deviceManifest";
}

Viewer::Message share(std::string message)
{
    return std::make_shared<const std::string>(std::move(message));
}

} // namespace

LiveView::LiveView(std::chrono::seconds kept, PictureEncoder encode) :
    m_encode(std::move(encode)),
    m_history(kept),
    m_thread([this](std::stop_token stop) { run(std::move(stop)); })
{}

std::shared_ptr<Viewer> LiveView::join(ViewerWish wish)
{
    auto viewer = std::make_shared<Viewer>(std::move(wish));
    const std::lock_guard lock(m_mutex);
    if (m_isClosed)
        viewer->close();
    for (const auto& [device, manifest] : m_manifests)
        viewer->offer(manifest);
    m_viewers.push_back(viewer);
    return viewer;
}

void LiveView::leave(const std::shared_ptr<Viewer>& viewer)
{
    const std::lock_guard lock(m_mutex);
    std::erase(m_viewers, viewer);
}

bool LiveView::isWatched() const
{
    const std::lock_guard lock(m_mutex);
    return !m_viewers.empty();
}

void LiveView::publish(const std::string& json)
{
    const std::lock_guard lock(m_mutex);
    if (m_viewers.empty())
        return;
    const Viewer::Message message = share(streamMessage(json));
    for (const auto& viewer : m_viewers)
        viewer->offer(message);
}

void LiveView::close()
{
    const std::lock_guard lock(m_mutex);
    m_isClosed = true;
    for (const auto& viewer : m_viewers)
        viewer->close();
}

void LiveView::forget(const std::string& deviceId)
{
    m_history.forget(deviceId);
    const std::lock_guard lock(m_mutex);
    m_manifests.erase(deviceId);
}

void LiveView::onFrame(
    const MetadataSink::Origin& camera, int64_t timestampUs, const PicturePtr& picture)
{
    {
        const std::lock_guard lock(m_mutex);
        if (viewersOf(camera.deviceId).empty())
            return;
        m_waiting[camera.deviceId] = {camera.deviceId, timestampUs, picture};
    }
    m_changed.notify_one();
}

void LiveView::onLine(const MetadataSink::Line& line)
{
    if (!isShown(line.kind))
        return;
    const std::string text(line.text);
    if (line.origin && line.timestampUs != 0)
        m_history.keepLine(line.origin->deviceId, {line.timestampUs, text});
    if (line.origin && line.kind == "deviceManifest")
    {
        const std::lock_guard lock(m_mutex);
        m_manifests[line.origin->deviceId] = share(streamMessage(text));
    }
    publish(text);
}

void LiveView::run(std::stop_token stop)
{
    std::unique_lock lock(m_mutex);
    while (m_changed.wait(lock, stop, [this] { return !m_waiting.empty(); }))
    {
        const Frame frame = takeNext();
        lock.unlock();
        try
        {
            show(frame);
        }
        catch (const std::exception& error) // it costs this picture
        {
            JsonMaker message;
            message.add("kind", "trouble").add("text", error.what());
            publish(message.text());
        }
        lock.lock();
    }
}

// The cameras take turns. Called with m_mutex locked.
LiveView::Frame LiveView::takeNext()
{
    auto next = m_waiting.upper_bound(m_lastShown);
    if (next == m_waiting.end())
        next = m_waiting.begin();
    Frame frame = std::move(next->second);
    m_waiting.erase(next);
    m_lastShown = frame.deviceId;
    return frame;
}

void LiveView::show(const Frame& frame)
{
    std::vector<std::shared_ptr<Viewer>> viewers;
    {
        const std::lock_guard lock(m_mutex);
        viewers = viewersOf(frame.deviceId);
    }
    JsonMaker picture;
    picture.add("kind", "picture")
        .add("device", frame.deviceId)
        .add("timestampUs", frame.timestampUs);
    const std::string json = picture.text();
    std::shared_ptr<const std::string> best;
    std::vector<std::pair<std::shared_ptr<Viewer>, Viewer::Message>> deliveries;
    for (const PictureSize size : {PictureSize::small, PictureSize::large})
    {
        const auto wantsIt = [&](const auto& viewer) { return viewer->wish().pictures == size; };
        if (std::none_of(viewers.begin(), viewers.end(), wantsIt))
            continue;
        best = share(m_encode(*frame.picture, widthOf(size)));
        const Viewer::Message message = share(streamMessage(json, *best));
        for (const auto& viewer : viewers)
        {
            if (wantsIt(viewer))
                deliveries.emplace_back(viewer, message);
        }
    }
    // Kept first: who has seen a picture finds it in the history.
    if (best)
        m_history.keepPicture(frame.deviceId, {frame.timestampUs, best});
    for (const auto& [viewer, message] : deliveries)
        viewer->offerPicture(frame.deviceId, message);
}

// Those who want its pictures. Called with m_mutex locked.
std::vector<std::shared_ptr<Viewer>> LiveView::viewersOf(const std::string& deviceId) const
{
    std::vector<std::shared_ptr<Viewer>> viewers;
    for (const auto& viewer : m_viewers)
    {
        if (viewer->wish().wants(deviceId))
            viewers.push_back(viewer);
    }
    return viewers;
}

} // namespace tavo::devkit
