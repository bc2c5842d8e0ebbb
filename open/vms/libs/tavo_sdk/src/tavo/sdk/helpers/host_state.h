// What the host has given to an engine or a device agent: settings and the handler.
// Any thread may call; the mutex is a leaf, and nothing of the host's is called under it.
#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include <tavo/sdk/ptr.h>

namespace tavo::sdk
{

template <class Handler>
class HostState
{
public:
    using Settings = std::map<std::string, std::string>;

    void setSettings(Settings settings)
    {
        const std::lock_guard lock(m_mutex);
        m_settings.swap(settings);
    }

    Settings settings() const
    {
        const std::lock_guard lock(m_mutex);
        return m_settings;
    }

    std::optional<std::string> setting(const std::string& name) const
    {
        const std::lock_guard lock(m_mutex);
        const auto found = m_settings.find(name);
        return found == m_settings.end() ? std::nullopt : std::optional(found->second);
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

private:
    mutable std::mutex m_mutex; // over all below
    Settings m_settings;
    Ptr<Handler> m_handler;
};

} // namespace tavo::sdk
