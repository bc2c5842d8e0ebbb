#pragma once

#include <memory>
#include <mutex>
#include <string>

#include <httplib.h>

#include "catalogue.h"
#include "faults.h"

namespace tavo::devkit
{

struct ServicesOptions
{
    int port = 0; // 0: any free one
    std::string catalogue; // file
    std::string files; // folder of model files
    std::string archive; // of the manager application
    std::string runtimes; // folder with CHIP.tar.gz of each offered runtime
    std::string token; // what Authorization must be
    std::string certificate; // with its key: serve HTTPS
    std::string certificateKey;
};

// The stand-in cloud and file storage, on one port of the loopback interface.
//
//   GET  /dev/system/SYSTEM/device/DEVICE/available-pipelines    the cloud
//   POST /dev/reset/
//   GET  /apps/orlix_manager-*.tgz                               the storage
//   GET  /runtimes/CHIP/.../library*.tar.gz
//   GET  /models/FILE
//   POST /control/faults, DELETE /control/faults                 what a test switches
//   POST /control/updated-at                                     body: the models' new stamp
//   GET  /control/requests                                       all requests so far, a line each
class Services
{
public:
    explicit Services(ServicesOptions options);

    // Gives the port; -1 if it cannot be had.
    int bind();

    // Once bound.
    [[nodiscard]] std::string url() const;

    // Serves until stop, which may be called from another thread as soon as this one is called, or
    // about to be.
    void serve();
    void stop();

private:
    using Request = httplib::Request;
    using Response = httplib::Response;

    void routeCloud();
    void routeStorage();
    void routeControl();
    [[nodiscard]] bool authorized(const Request& request, Response& response) const;
    void answerJson(const Request& request, Response& response, const std::string& text) const;
    void answerFile(const Request& request, Response& response, const std::string& content) const;
    void answerModel(const Request& request, Response& response, const std::string& name);

    const ServicesOptions m_options;
    std::unique_ptr<httplib::Server> m_server;
    int m_port = -1;
    Faults m_faults;
    mutable std::mutex m_mutex; // the two below
    Catalogue m_catalogue;
    std::string m_requests;
};

} // namespace tavo::devkit
