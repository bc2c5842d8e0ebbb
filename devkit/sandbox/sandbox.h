#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <temporary_folder.h>

#include "records/record_store.h"
#include "server.h"

namespace tavo::devkit
{

// A machine in a folder of its own, with a cloud and a storage within reach that offer the built
// application, its runtimes and models, and the records of a server that the library has never met.
// The library of this process is told of it by the environment. One thread.
class Sandbox
{
public:
    // Model and pipeline have the ids m1, m2 ... and p1, p2 ...; the application takes its motion
    // detector for each.
    struct Model
    {
        std::string file;
        std::string content;
        bool isEncrypted = false;
    };

    // A camera of each of these names. Without a token the server has no cloud.
    explicit Sandbox(const std::vector<std::string>& cameras, std::string token = "token");
    ~Sandbox();
    Sandbox(const Sandbox&) = delete;
    Sandbox& operator=(const Sandbox&) = delete;

    // Has the services serve, and writes the library's ini file, with `options` in it. Throws
    // std::runtime_error. Without this there is no ini file.
    void startServices(const std::vector<Model>& models, const std::vector<std::string>& options);

    // Nothing was ever installed here, nor has the server met the library.
    void makeNew();

    [[nodiscard]] const vms_server_plugins::analytics::orlix::TemporaryFolder& folder() const
    {
        return m_folder;
    }
    [[nodiscard]] RecordStore& store() { return *m_store; }
    [[nodiscard]] int cameraCount() const { return m_cameraCount; }

    // Of the services.
    [[nodiscard]] int port() const { return m_port; }

    // JSON texts of the host's records; empty where there is none.
    [[nodiscard]] std::string serverRecord() const;
    [[nodiscard]] std::string deviceRecord(int camera) const;
    [[nodiscard]] std::string settingsRecord(int camera) const;

    // Below the folder: a file of the application's.
    [[nodiscard]] static std::string inManager(const std::string& name);

    // Process ids of the application's programs here.
    [[nodiscard]] std::vector<std::uint32_t> processes(const std::string& program) const;

    // The names of what lies in the temporary folder.
    [[nodiscard]] std::string temporaryFiles() const;

private:
    vms_server_plugins::analytics::orlix::TemporaryFolder m_folder;
    const int m_cameraCount;
    const std::string m_token;
    std::unique_ptr<RecordStore> m_store;
    std::unique_ptr<Services> m_services; // null before the start
    int m_port = 0;
    std::thread m_server;
};

} // namespace tavo::devkit
