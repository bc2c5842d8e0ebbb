#include "page/page_server.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <stdexcept>

#include "common/json.h"
#include "common/shown_address.h"
#include "media/picture_annotator.h"
#include "page/clip.h"
#include "page/machine_cameras.h"
#include "page/machine_name.h"
#include "page_files.h"

namespace tavo::devkit
{

namespace
{

constexpr char kJson[] = "application/json";
constexpr int kBadRequest = 400;
constexpr int kNotFound = 404;
constexpr int kPreconditionFailed = 412;

// Only what the host itself serves is loaded or asked.
constexpr char kPolicy[] =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' blob: data:; media-src blob:; "
    "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'";

void fail(httplib::Response& response, int status, const std::string& text)
{
    response.status = status;
    response.set_content(text, "text/plain; charset=utf-8");
}

void addTexts(JsonNode object, const std::map<std::string, std::string>& texts)
{
    for (const auto& [name, text] : texts)
        object.add(name, text);
}

std::string answerText(const DialogAnswer& answer)
{
    JsonMaker json;
    addTexts(json.addObject("values"), answer.values);
    addTexts(json.addObject("errors"), answer.errors);
    json.add("version", settingsVersion(answer.values))
        .addJson("model", answer.model)
        .add("actionUrl", answer.actionUrl)
        .add("messageToUser", answer.messageToUser)
        .add("failure", answer.failure)
        .add("isOutdated", answer.isOutdated);
    return json.text();
}

const char* typeOf(const std::string& file)
{
    const std::string ending = std::filesystem::path(file).extension().string();
    return ending == ".js" ? "text/javascript"
        : ending == ".css" ? "text/css"
        : ending == ".svg" ? "image/svg+xml"
                           : "text/html; charset=utf-8";
}

std::optional<int64_t> timeParameter(const httplib::Request& request, const char* name)
{
    const std::string text = request.get_param_value(name);
    int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

ViewerWish readWish(const httplib::Request& request)
{
    ViewerWish wish;
    const std::string pictures = request.get_param_value("pictures");
    if (pictures == "small")
        wish.pictures = PictureSize::small;
    if (pictures == "large")
        wish.pictures = PictureSize::large;
    const std::string devices = request.get_param_value("cameras");
    for (size_t begin = 0; begin < devices.size();)
    {
        const size_t end = std::min(devices.find(',', begin), devices.size());
        wish.devices.insert(devices.substr(begin, end - begin));
        begin = end + 1;
    }
    return wish;
}

// Of this library's servers two would share a port, and each get some of the requests.
bool somebodyListens(const PageAddress& address)
{
    return httplib::Client(address.host, address.port).Get("/").error() !=
        httplib::Error::Connection;
}

std::string addressText(const PageAddress& address)
{
    const bool isIpv6 = address.host.find(':') != std::string::npos;
    return (isIpv6 ? "[" + address.host + "]" : address.host) + ":" + std::to_string(address.port);
}

} // namespace

PageServer::PageServer(Host& host, LiveView& live, PageAddress address, const std::string& folder) :
    m_host(host),
    m_live(live),
    m_address(std::move(address)),
    m_guard(m_address, machineName()),
    m_reporter(host, live)
{
    m_server.set_tcp_nodelay(true);
    m_server.set_pre_routing_handler(
        [this](const Request& request, Response& response)
        {
            return m_guard.letsPass(request, response) ? httplib::Server::HandlerResponse::Unhandled
                                                       : httplib::Server::HandlerResponse::Handled;
        });
    m_server.set_exception_handler(
        [](const Request&, Response& response, std::exception_ptr thrown)
        {
            try
            {
                std::rethrow_exception(thrown);
            }
            catch (const std::exception& error)
            {
                fail(response, 500, error.what());
            }
        });
    routeStream();
    routeCameras();
    routeDialogs();
    routeBoard();
    routeSpans();
    routeFiles(folder);

    bind();
    m_thread = std::jthread([this] { m_server.listen_after_bind(); });
    while (!m_server.is_running()) // before, stop would not stop it
        std::this_thread::yield();
}

void PageServer::bind()
{
    if (m_address.port == 0)
        m_address.port = m_server.bind_to_any_port(m_address.host);
    else if (somebodyListens(m_address) || !m_server.bind_to_port(m_address.host, m_address.port))
        throw std::runtime_error("The page cannot be served at " + addressText(m_address) + ".");
    if (m_address.port < 0)
        throw std::runtime_error("The page cannot be served at " + m_address.host + ".");
    m_server.widenLine();
}

PageServer::~PageServer()
{
    m_live.close();
    m_server.endConnections();
    m_server.stop();
}

std::string PageServer::url() const
{
    return "http://" + addressText(m_address) + "/" +
        (m_address.token.empty() ? "" : "?token=" + m_address.token);
}

void PageServer::routeFiles(const std::string& folder)
{
    m_server.set_default_headers(
        {{"Content-Security-Policy", kPolicy},
         {"X-Content-Type-Options", "nosniff"},
         {"Referrer-Policy", "no-referrer"},
         {"Cache-Control", "no-cache"}});
    m_server.Get(
        "/.*",
        [folder](const Request& request, Response& response)
        {
            const std::string name = request.path == "/" ? "index.html" : request.path.substr(1);
            if (std::find(std::begin(kPageFiles), std::end(kPageFiles), name) ==
                std::end(kPageFiles))
                return fail(response, kNotFound, "There is no such file.");
            std::ifstream file(std::filesystem::path(folder) / name, std::ios::binary);
            response.set_content(
                std::string{std::istreambuf_iterator<char>(file), {}}, typeOf(name));
        });
}

void PageServer::routeStream()
{
    m_server.Get(
        "/api/stream",
        [this](const Request& request, Response& response)
        {
            const std::shared_ptr<Viewer> viewer = m_live.join(readWish(request));
            std::vector<std::string> greeting = m_reporter.greeting();
            greeting.insert(greeting.begin(), camerasMessage());
            for (const std::string& text : greeting)
                viewer->offer(std::make_shared<const std::string>(streamMessage(text)));
            response.set_chunked_content_provider(
                "application/octet-stream",
                [viewer](size_t, httplib::DataSink& sink)
                {
                    const Viewer::Message message = viewer->take();
                    return message && sink.write(message->data(), message->size());
                },
                [this, viewer](bool) { m_live.leave(viewer); });
        });
}

void PageServer::routeCameras()
{
    m_server.Get(
        "/api/cameras",
        [this](const Request&, Response& response)
        {
            JsonMaker json = JsonMaker::list();
            addCameras(json);
            response.set_content(json.text(), kJson);
        });
    m_server.Get(
        "/api/machine-cameras",
        [](const Request&, Response& response)
        {
            JsonMaker json = JsonMaker::list();
            for (const MachineCamera& camera : listMachineCameras())
                json.pushObject().add("name", camera.name).add("source", camera.source);
            response.set_content(json.text(), kJson);
        });
    m_server.Post(
        "/api/cameras",
        [this](const Request& request, Response& response)
        {
            const JsonDocument document = parseJson(request.body);
            yyjson_val* const root = yyjson_doc_get_root(document.get());
            const std::string name = stringMember(root, "name");
            const std::string source = stringMember(root, "source");
            if (name.empty() || source.empty())
                return fail(response, kBadRequest, "A camera needs a name and a source.");
            const std::string id = m_host.devices().add(name, source);
            publishCameras();
            JsonMaker json;
            json.add("id", id);
            response.set_content(json.text(), kJson);
        });
    m_server.Delete(
        R"(/api/cameras/([^/]+))",
        [this](const Request& request, Response& response)
        {
            const std::string id = request.matches[1];
            if (!m_host.devices().remove(id))
                return fail(response, kNotFound, "There is no such camera.");
            m_live.forget(id);
            publishCameras();
            response.set_content("{}", kJson);
        });
}

void PageServer::routeDialogs()
{
    const auto answer = [this](
                            const Request& request, Response& response,
                            const std::function<DialogAnswer(SettingsDialog&)>& ask)
    {
        const std::shared_ptr<Device> device = m_host.devices().find(request.matches[1]);
        if (!device)
            return fail(response, kNotFound, "There is no such camera.");
        const DialogAnswer said = ask(device->dialog());
        if (said.isOutdated)
            response.status = kPreconditionFailed;
        response.set_content(answerText(said), kJson);
    };
    m_server.Get(
        R"(/api/cameras/([^/]+)/settings)",
        [answer](const Request& request, Response& response)
        { answer(request, response, [](SettingsDialog& dialog) { return dialog.refresh(); }); });
    m_server.Post(
        R"(/api/cameras/([^/]+)/settings)",
        [this, answer](const Request& request, Response& response)
        {
            answer(
                request, response,
                [&](SettingsDialog& dialog) {
                    return dialog.apply(
                        parseSettingValues(request.body), request.get_header_value("If-Match"));
                });
            publishCameras();
        });
    m_server.Post(
        R"(/api/cameras/([^/]+)/active)",
        [answer](const Request& request, Response& response)
        {
            const JsonDocument document = parseJson(request.body);
            yyjson_val* const root = yyjson_doc_get_root(document.get());
            yyjson_val* const values = yyjson_obj_get(root, "values");
            if (!yyjson_is_obj(values))
                return fail(response, kBadRequest, "There are no values.");
            answer(
                request, response,
                [&](SettingsDialog& dialog) {
                    return dialog.press(
                        stringMember(root, "name"), parseSettingValues(toText(values)));
                });
        });
    m_server.Get(
        "/api/engine/settings",
        [this](const Request&, Response& response)
        { response.set_content(answerText(m_host.engineDialog().refresh()), kJson); });
    m_server.Post(
        "/api/engine/settings",
        [this](const Request& request, Response& response)
        {
            response.set_content(
                answerText(m_host.engineDialog().apply(parseSettingValues(request.body))), kJson);
        });
}

void PageServer::routeBoard()
{
    m_server.Get(
        "/api/board",
        [this](const Request&, Response& response) { response.set_content(boardText(), kJson); });
}

void PageServer::routeSpans()
{
    const auto spanOf = [](const Request& request) -> std::optional<TimeSpan>
    {
        const auto from = timeParameter(request, "from");
        const auto to = timeParameter(request, "to");
        return from && to ? std::optional(TimeSpan{*from, *to}) : std::nullopt;
    };
    m_server.Get(
        R"(/api/cameras/([^/]+)/metadata)",
        [this, spanOf](const Request& request, Response& response)
        {
            const auto span = spanOf(request);
            if (!span)
                return fail(response, kBadRequest, "A span needs its ends.");
            std::string text;
            for (const History::Line& line : m_live.history().lines(request.matches[1], *span))
                text += line.text + "\n";
            response.set_header("Content-Disposition", "attachment; filename=metadata.jsonl");
            response.set_content(text, "application/x-ndjson");
        });
    m_server.Get(
        R"(/api/cameras/([^/]+)/clip)",
        [this, spanOf](const Request& request, Response& response)
        {
            const auto span = spanOf(request);
            if (!span)
                return fail(response, kBadRequest, "A span needs its ends.");
            const std::string id = request.matches[1];
            const SettingValues values =
                parseSettingValues(m_host.records().find(RecordKind::settings, id).value_or("{}"));
            const auto line = values.find("lineCrossingLine");
            const std::string clip = makeClip(
                m_live.history().pictures(id, *span), m_live.history().lines(id, *span),
                readFigure(line == values.end() ? "" : line->second));
            if (clip.empty())
                return fail(response, kNotFound, "No pictures of that span were kept.");
            response.set_header("Content-Disposition", "attachment; filename=clip.mp4");
            response.set_content(clip, "video/mp4");
        });
}

void PageServer::publishCameras()
{
    m_live.publish(camerasMessage());
}

std::string PageServer::camerasMessage() const
{
    JsonMaker json;
    addCameras(json.add("kind", "cameras").addList("cameras"));
    return json.text();
}

void PageServer::addCameras(JsonNode list) const
{
    for (const auto& device : m_host.devices().all())
    {
        const std::string& id = device->origin().deviceId;
        const JsonDocument record =
            parseJson(m_host.records().find(RecordKind::device, id).value_or("{}"));
        const SettingValues values =
            parseSettingValues(m_host.records().find(RecordKind::settings, id).value_or("{}"));
        JsonNode camera = list.pushObject();
        camera.add("id", id)
            .add("name", stringMember(yyjson_doc_get_root(record.get()), "name", id))
            .add("source", shownAddress(device->source()));
        addTexts(camera.addObject("values"), values);
    }
}

std::string PageServer::boardText()
{
    const std::lock_guard lock(m_boardMutex);
    std::vector<Banner> banners;
    for (const auto& device : m_host.devices().all())
    {
        (void)device->dialog().refresh();
        for (const Banner& banner : readBanners(device->dialog().lastModel()))
        {
            if (std::find(banners.begin(), banners.end(), banner) == banners.end())
                banners.push_back(banner);
        }
    }
    JsonMaker json = JsonMaker::list();
    for (const Banner& banner : banners)
        json.pushObject().add("icon", banner.icon).add("text", banner.text);
    return json.text();
}

} // namespace tavo::devkit
