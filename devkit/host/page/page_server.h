#pragma once

#include <mutex>
#include <string>
#include <thread>

#include "common/json.h"
#include "host.h"
#include "page/bounded_server.h"
#include "page/live_view.h"
#include "page/page_guard.h"
#include "page/reporter.h"

namespace tavo::devkit
{

// Serves the page and what it asks for, on threads of its own:
//   GET    /                                     the page's files
//   GET    /api/stream?pictures=small|large|none&cameras=ID,ID   everything live, see viewer.h
//   GET    /api/cameras                          the cameras with their setting values
//   POST   /api/cameras                          {"name","source"}: a new one; gives its {"id"}
//   DELETE /api/cameras/ID
//   GET    /api/machine-cameras                  what is plugged in: [{"name","source"}]
//   GET    /api/cameras/ID/settings              the dialog, opened or refreshed
//   POST   /api/cameras/ID/settings              {name: value}: Apply; with "If-Match", the
//   dialog's
//                                                "version", only if nobody has applied since
//   POST   /api/cameras/ID/active                {"name","values"}: an active setting
//   GET    /api/engine/settings, POST            the engine's dialog, likewise
//   GET    /api/board                            asks the cameras' dialogs: [{"icon","text"}]
//   GET    /api/cameras/ID/metadata?from=&to=    JSON lines of that span, in microseconds
//   GET    /api/cameras/ID/clip?from=&to=        the annotated video of it
// A failure is a status with a text.
class PageServer
{
public:
    // Serves from here on. `folder` has the page's files. `host` and `live` are not owned and
    // outlive this object. Throws std::runtime_error when the address cannot be had.
    PageServer(Host& host, LiveView& live, PageAddress address, const std::string& folder);

    // Ends all viewers and waits for what is being answered.
    ~PageServer();

    // Where a browser finds it, with the token.
    [[nodiscard]] std::string url() const;

private:
    using Request = httplib::Request;
    using Response = httplib::Response;

    void routeFiles(const std::string& folder);
    void routeStream();
    void routeCameras();
    void routeDialogs();
    void routeBoard();
    void routeSpans();
    void bind(); // port 0 becomes the one that it got
    void publishCameras();
    [[nodiscard]] std::string camerasMessage() const;
    void addCameras(JsonNode list) const;
    [[nodiscard]] std::string boardText();

private:
    Host& m_host;
    LiveView& m_live;
    PageAddress m_address;
    const PageGuard m_guard;
    Reporter m_reporter;
    std::mutex m_boardMutex; // one at a time asks the dialogs
    BoundedServer m_server;
    std::jthread m_thread; // last: it uses all of the above
};

} // namespace tavo::devkit
