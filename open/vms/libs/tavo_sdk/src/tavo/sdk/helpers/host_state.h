// What the host has given to an engine or a device agent: settings and the handler.
// Any thread may call; the mutex is a leaf, and nothing of the host's is called under it.
#pragma once

#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include <tavo/sdk/helpers/error.h>
#include <tavo/sdk/helpers/integration_diagnostic_event.h>
#include <tavo/sdk/helpers/output.h>
#include <tavo/sdk/helpers/string_map.h>
#include <tavo/sdk/helpers/to_string.h>
#include <tavo/sdk/ptr.h>

namespace tavo::sdk
{

template <class Handler>
class HostState
{
public:
    using Settings = std::map<std::string, std::string>;

    // False, with the settings as they were, for what is no map of texts.
    [[nodiscard]] bool setSettings(const IStringMap* newSettings)
    {
        Settings settings;
        if (!toStdMap(newSettings, &settings))
            return false;
        const std::lock_guard lock(m_mutex);
        m_settings.swap(settings);
        return true;
    }

    Settings settings() const
    {
        const std::lock_guard lock(m_mutex);
        return m_settings;
    }

    // The empty text, with an error in `output`, for a name that is not there.
    std::string setting(const std::string& name, const Output& output) const
    {
        {
            const std::lock_guard lock(m_mutex);
            const auto found = m_settings.find(name);
            if (found != m_settings.end())
                return found->second;
        }
        output.printAlways(
            "ERROR: Requested setting " + name + " is missing; implying empty string.");
        return {};
    }

    void setHandler(Handler* newHandler)
    {
        Ptr<Handler> handler = addRefToPtr(newHandler); // the former one is released unlocked
        const std::lock_guard lock(m_mutex);
        std::swap(m_handler, handler);
    }

    Ptr<Handler> handler() const
    {
        const std::lock_guard lock(m_mutex);
        return m_handler;
    }

    bool hasHandler() const
    {
        const std::lock_guard lock(m_mutex);
        return static_cast<bool>(m_handler);
    }

    // Tells the people who run the server something; `withoutHandler` is what `output` gets instead
    // before the host has set the handler.
    void pushDiagnosticEvent(
        IIntegrationDiagnosticEvent::Level level, std::string caption, std::string description,
        const Output& output, std::string_view withoutHandler) const
    {
        const Ptr<Handler> hostHandler = handler();
        if (!hostHandler)
            return output.printAlways(withoutHandler);

        const auto event =
            makePtr<IntegrationDiagnosticEvent>(level, std::move(caption), std::move(description));
        if (output.isPrinting())
            output.print("Producing Integration Diagnostic Event:\n" + toJsonString(event.get()));
        atBorder([&] { hostHandler->handleIntegrationDiagnosticEvent(event.get()); });
    }

private:
    mutable std::mutex m_mutex; // over all below
    Settings m_settings;
    Ptr<Handler> m_handler;
};

} // namespace tavo::sdk
