#pragma once

#include <stdexcept>

#include "driven_host.h"
#include "failing_calls.h"
#include "guarded_library.h"

namespace tavo::devkit
{

// A host with one camera, which takes what the library gives as a host must, a failure that it is
// told of included. All else is a finding. One thread.
class GuardedHost
{
public:
    // Neither is owned.
    GuardedHost(Sandbox& sandbox, Findings& findings) :
        m_findings(findings),
        m_host(sandbox, guardedPlugin(findings))
    {}
    ~GuardedHost()
    {
        if (const std::int64_t left = m_host.unload())
            m_findings.add(std::to_string(left) + " objects of the library were never released");
    }
    GuardedHost(const GuardedHost&) = delete;
    GuardedHost& operator=(const GuardedHost&) = delete;

    // These are false if the library is not there, or tells of a failure.
    bool load()
    {
        failing_calls::forgetThreads(); // the listener is the first of an engine
        return succeeds([this] { m_host.load(); });
    }
    bool askForManifests()
    {
        return m_host.isLoaded() && succeeds([this] { m_host.askForManifests(); });
    }
    bool refreshDialog() { return m_host.isLoaded() && dialog().refresh().failure.empty(); }
    bool apply(const SettingValues& values)
    {
        return m_host.isLoaded() && dialog().apply(values).failure.empty();
    }
    bool press(const std::string& button)
    {
        return m_host.isLoaded() && dialog().press(button).failure.empty();
    }
    bool push(int step) { return m_host.isLoaded() && m_host.push(0, step); }

    // The banners and buttons of the dialog as it was last drawn, a line each.
    [[nodiscard]] std::string dialogText() const { return m_host.dialogText(0); }

    [[nodiscard]] std::uint64_t results() const { return m_host.totals(0).results; }

private:
    template <class Call>
    static bool succeeds(Call call)
    {
        try
        {
            call();
            return true;
        }
        catch (const std::runtime_error&)
        {
            return false;
        }
    }

    SettingsDialog& dialog() { return m_host.dialog(0); }

    Findings& m_findings;
    DrivenHost m_host;
};

} // namespace tavo::devkit
