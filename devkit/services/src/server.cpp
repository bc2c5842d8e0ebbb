#include "server.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

namespace tavo::devkit
{

namespace
{

constexpr std::size_t kSlowPiece = 64 * 1024;
constexpr char kBinary[] = "application/octet-stream";
constexpr char kModelTime[] = "Sun, 01 Nov 2026 12:00:00 GMT";
constexpr char kHost[] = "127.0.0.1";
constexpr char kSomeOtherDigest[] = "AAAAAAAAAAAAAAAAAAAAAA==";

std::string readWhole(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

using Content = std::shared_ptr<const std::string>; // a model may be large

// Sends `content` as the fault has it: cut, slowly, or without telling its length.
void sendBody(
    httplib::Response& response, const Content& content, const std::optional<Fault>& fault)
{
    if (!fault)
        return response.set_content(*content, kBinary);

    const FaultKind kind = fault->kind;
    const std::size_t end = kind == FaultKind::reset ? 0
        : kind == FaultKind::cut                     ? content->size() / 2
                                                     : content->size();
    const auto pause = kind == FaultKind::slow ? fault->pause : std::chrono::milliseconds(0);
    const auto send = [content, end, pause](std::size_t offset, httplib::DataSink& sink)
    {
        if (offset >= end)
            return false; // ends the connection
        std::this_thread::sleep_for(pause);
        return sink.write(content->data() + offset, std::min(kSlowPiece, end - offset));
    };
    if (kind == FaultKind::noLength)
    {
        response.set_content_provider(
            kBinary,
            [send, end](std::size_t offset, httplib::DataSink& sink)
            {
                if (offset < end)
                    return send(offset, sink);
                sink.done();
                return true;
            });
        return;
    }
    response.set_content_provider(
        content->size(), kBinary,
        [send](std::size_t offset, std::size_t, httplib::DataSink& sink)
        { return send(offset, sink); });
}

// True if the fault replaces the answer as a whole.
bool replaceAnswer(httplib::Response& response, const std::optional<Fault>& fault)
{
    if (!fault || (fault->kind != FaultKind::status && fault->kind != FaultKind::body))
        return false;
    if (fault->kind == FaultKind::status)
        response.status = fault->status;
    response.set_content(fault->text, "text/plain");
    return true;
}

// Of this library's servers two would share a port, and each get some of the requests.
bool somebodyListens(int port)
{
    return httplib::Client(kHost, port).Get("/").error() != httplib::Error::Connection;
}

std::unique_ptr<httplib::Server> makeServer(const ServicesOptions& options)
{
    if (options.certificate.empty())
        return std::make_unique<httplib::Server>();
    return std::make_unique<httplib::SSLServer>(
        options.certificate.c_str(), options.certificateKey.c_str());
}

} // namespace

Services::Services(ServicesOptions options) :
    m_options(std::move(options)),
    m_server(makeServer(m_options)),
    m_catalogue(m_options.catalogue, m_options.files)
{
    m_server->set_pre_routing_handler(
        [this](const Request& request, Response&)
        {
            if (!request.path.starts_with("/control/"))
            {
                {
                    const std::lock_guard lock(m_mutex);
                    m_requests += request.method + " " + request.path + "\n";
                }
                const auto fault = m_faults.of(request.path);
                if (fault && fault->kind == FaultKind::late)
                    std::this_thread::sleep_for(fault->pause);
            }
            return httplib::Server::HandlerResponse::Unhandled;
        });
    routeCloud();
    routeStorage();
    routeControl();
}

int Services::bind()
{
    if (m_options.port == 0)
        m_port = m_server->bind_to_any_port(kHost);
    else if (!somebodyListens(m_options.port) && m_server->bind_to_port(kHost, m_options.port))
        m_port = m_options.port;
    return m_port;
}

void Services::serve()
{
    m_server->listen_after_bind();
}

void Services::stop()
{
    while (!m_server->is_running()) // before, stop would not stop it
        std::this_thread::yield();
    m_server->stop();
}

std::string Services::url() const
{
    return (m_options.certificate.empty() ? "http://127.0.0.1:" : "https://127.0.0.1:") +
        std::to_string(m_port);
}

bool Services::authorized(const Request& request, Response& response) const
{
    if (request.get_header_value("Authorization") == m_options.token)
        return true;
    response.status = 401;
    response.set_content("who are you?", "text/plain");
    return false;
}

void Services::answerJson(const Request& request, Response& response, const std::string& text) const
{
    if (!replaceAnswer(response, m_faults.of(request.path)))
        response.set_content(text, "application/json");
}

void Services::answerFile(
    const Request& request, Response& response, const std::string& content) const
{
    const auto fault = m_faults.of(request.path);
    if (replaceAnswer(response, fault))
        return;
    if (content.empty())
        response.status = 404;
    else
        sendBody(response, std::make_shared<const std::string>(content), fault);
}

void Services::answerModel(const Request& request, Response& response, const std::string& name)
{
    const StoredModel* const model = m_catalogue.findModel(name);
    if (!model)
    {
        response.status = 404;
        return;
    }
    const auto fault = m_faults.of(request.path);
    if (replaceAnswer(response, fault))
        return;
    const auto is = [&](FaultKind kind) { return fault && fault->kind == kind; };
    if (!is(FaultKind::noDigest))
    {
        response.set_header(
            "Content-Digest",
            "md5=" + (is(FaultKind::wrongDigest) ? kSomeOtherDigest : model->digest));
    }
    if (!model->key.empty() && !is(FaultKind::noKey))
        response.set_header("X-Key", model->key);
    response.set_header("Last-Modified", kModelTime);
    sendBody(
        response, Content(Content(), &model->content), fault); // lives as long as the catalogue
}

void Services::routeCloud()
{
    m_server->Get(
        R"(/dev/system/[^/]+/device/([^/]+)/available-pipelines)",
        [this](const Request& request, Response& response)
        {
            if (!authorized(request, response))
                return;
            const std::lock_guard lock(m_mutex);
            answerJson(request, response, m_catalogue.availablePipelines(url()));
        });
    m_server->Post(
        "/dev/reset/",
        [this](const Request& request, Response& response)
        {
            if (!authorized(request, response))
                return;
            const std::lock_guard lock(m_mutex);
            answerJson(
                request, response,
                m_catalogue.resetAnswer(request.body, url(), url() + "/admin/device/"));
        });
}

void Services::routeStorage()
{
    m_server->Get(
        R"(/apps/orlix_manager-.*\.tgz)",
        [this](const Request& request, Response& response)
        { answerFile(request, response, readWhole(m_options.archive)); });
    m_server->Get(
        R"(/runtimes/([A-Z]+)/.*library.*\.tar\.gz)",
        [this](const Request& request, Response& response)
        {
            const std::string chip = request.matches[1];
            answerFile(request, response, readWhole(m_options.runtimes + "/" + chip + ".tar.gz"));
        });
    m_server->Get(
        R"(/models/([^/]+))",
        [this](const Request& request, Response& response)
        {
            if (authorized(request, response))
                answerModel(request, response, request.matches[1]);
        });
}

void Services::routeControl()
{
    m_server->Post(
        "/control/faults",
        [this](const Request& request, Response& response)
        { response.status = m_faults.switchOn(request.body) ? 204 : 400; });
    m_server->Delete(
        "/control/faults",
        [this](const Request&, Response& response)
        {
            m_faults.clear();
            response.status = 204;
        });
    m_server->Post(
        "/control/updated-at",
        [this](const Request& request, Response& response)
        {
            const std::lock_guard lock(m_mutex);
            m_catalogue.touchModels(request.body);
            response.status = 204;
        });
    m_server->Get(
        "/control/requests",
        [this](const Request&, Response& response)
        {
            const std::lock_guard lock(m_mutex);
            response.set_content(m_requests, "text/plain");
        });
}

} // namespace tavo::devkit
