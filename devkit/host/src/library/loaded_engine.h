#pragma once

#include <functional>
#include <optional>
#include <string>

#include <tavo/sdk/analytics/i_consuming_device_agent.h>
#include <tavo/sdk/analytics/i_engine.h>

#include "library/library.h"
#include "records/rest_service.h"

namespace tavo::devkit
{

// The library, brought up to its engine and let go of in the order in which a server does it. One
// thread, but for obtainAgent.
class LoadedEngine
{
public:
    // What gives the library's top object; a test puts itself between host and library here.
    using MakePlugin = std::function<sdk::Ptr<sdk::analytics::IIntegration>(const Library&)>;

    // Opens the library. The store is not owned. Throws std::runtime_error.
    LoadedEngine(
        const std::string& file, RecordStore& store,
        MakePlugin makePlugin = &Library::createPlugin);
    ~LoadedEngine() { (void)end(); }
    LoadedEngine(const LoadedEngine&) = delete;
    LoadedEngine& operator=(const LoadedEngine&) = delete;

    // `home` is the host's home directory, which has to exist; the handler may be null. Throws
    // std::runtime_error with what went wrong: then what there is stays.
    void obtain(const std::string& home, sdk::analytics::IEngine::IHandler* handler);

    // Of a device in the store. Throws std::runtime_error.
    [[nodiscard]] sdk::Ptr<sdk::analytics::IConsumingDeviceAgent> obtainAgent(
        const std::string& deviceId);

    // All agents have been given back. Gives how many objects of the library were not.
    std::int64_t end();

    [[nodiscard]] const Library& library() const { return m_library; }
    [[nodiscard]] RestService& restService() { return *m_restService; }
    [[nodiscard]] const sdk::Ptr<sdk::analytics::IIntegration>& plugin() const { return m_plugin; }
    [[nodiscard]] const sdk::Ptr<sdk::analytics::IEngine>& engine() const { return m_engine; }

private:
    RecordStore& m_store;
    const MakePlugin m_makePlugin;
    const Library m_library; // its code goes last
    std::optional<RestService> m_restService; // which the engine asks to its end
    sdk::Ptr<sdk::analytics::IIntegration> m_plugin;
    sdk::Ptr<sdk::analytics::IEngine> m_engine;
};

} // namespace tavo::devkit
