#pragma once

#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "host_observer.h"
#include "page/history.h"
#include "page/viewer.h"

namespace tavo::devkit
{

// A picture as a browser takes it, made smaller where it is wider than `widthAtMost`. What it
// throws is told to the pages.
using PictureEncoder = std::function<std::string(const Picture& picture, int widthAtMost)>;

// Hands what the host shows and gets to all pages that are open. A picture is encoded once in each
// size that somebody wants, and not at all when nobody looks, on a thread of its own. Any thread;
// what the host calls never waits for a page.
class LiveView : public HostObserver
{
public:
    // `kept`: how far back history() goes. `encode` is called on one thread.
    LiveView(std::chrono::seconds kept, PictureEncoder encode);

    [[nodiscard]] std::shared_ptr<Viewer> join(ViewerWish wish);
    void leave(const std::shared_ptr<Viewer>& viewer);
    [[nodiscard]] bool isWatched() const;

    // A JSON object with a "kind", to all pages.
    void publish(const std::string& json);

    // Ends all viewers, those who come later included.
    void close();

    // Forgets what there is of a camera that has gone.
    void forget(const std::string& deviceId);

    [[nodiscard]] const History& history() const { return m_history; }

    // HostObserver:
    void onFrame(const MetadataSink::Origin& camera, int64_t timestampUs, const PicturePtr& picture)
        override;
    void onLine(const MetadataSink::Line& line) override;

private:
    struct Frame
    {
        std::string deviceId;
        int64_t timestampUs = 0;
        PicturePtr picture;
    };

    void run(std::stop_token stop);
    [[nodiscard]] Frame takeNext();
    void show(const Frame& frame);
    [[nodiscard]] std::vector<std::shared_ptr<Viewer>> viewersOf(const std::string& deviceId) const;

private:
    const PictureEncoder m_encode;
    History m_history;
    mutable std::mutex m_mutex;
    // State below is protected by m_mutex.
    std::condition_variable_any m_changed;
    std::vector<std::shared_ptr<Viewer>> m_viewers;
    std::map<std::string, Viewer::Message> m_manifests; // the last of each camera
    std::map<std::string, Frame> m_waiting; // the newest of each camera
    std::string m_lastShown; // the camera whose turn it was
    bool m_isClosed = false;

    std::jthread m_thread; // last: it uses all of the above
};

} // namespace tavo::devkit
