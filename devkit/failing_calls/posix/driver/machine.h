#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include <temporary_folder.h>

#include "library_host.h"
#include "records/record_store.h"
#include "server.h"

namespace tavo::devkit
{

// Waits, polling. False if it does not come about in that time.
[[nodiscard]] bool comesAbout(
    const std::function<bool()>& isSo,
    std::chrono::milliseconds limit = std::chrono::milliseconds(20'000));

// A machine with a cloud and a storage within reach, and one camera. Two pipelines are offered,
// each with an encrypted model of its own.
class Machine
{
public:
    // `options` go into the library's ini file.
    explicit Machine(const std::string& options = "");
    ~Machine();
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    [[nodiscard]] const std::string& folder() const { return m_folder.path(); }
    [[nodiscard]] RecordStore& store() { return *m_store; }

    // Nothing was ever installed here, nor has the server met the library.
    void makeNew();

    // The user who wants to see results, and pushes a frame: he presses what the dialog offers.
    // True once results have come since `before`.
    [[nodiscard]] bool helpToResults(LibraryHost& host, std::uint64_t before);

    // To the first results, as a user brings it there. False if it does not come to that.
    [[nodiscard]] bool bringUp(LibraryHost& host);

    [[nodiscard]] std::string deviceRecord() const;
    [[nodiscard]] std::string managerFile(const std::string& name) const;
    [[nodiscard]] bool logContains(const std::string& text) const;
    [[nodiscard]] std::vector<std::uint32_t> processes(const std::string& program) const;
    [[nodiscard]] std::string temporaryFiles() const;

private:
    vms_server_plugins::analytics::orlix::TemporaryFolder m_folder;
    std::unique_ptr<RecordStore> m_store;
    std::unique_ptr<Services> m_services;
    std::thread m_server;
    int m_step = 0;
};

} // namespace tavo::devkit
