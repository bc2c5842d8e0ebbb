#pragma once

#include "road.h"

namespace tavo::devkit
{

// The library is loaded, asked what a host asks when nothing is installed yet, and unloaded.
class LoadRoad : public Road
{
public:
    using Road::Road;

    [[nodiscard]] bool isUnloaded() const override { return true; }

    void attempt() override { static_cast<void>(go()); }

    void recover() override
    {
        const std::string failure = go();
        if (!failure.empty())
            m_findings.add("afterwards, with nothing failing, there is no " + failure);
    }

private:
    // Gives what did not come about.
    std::string go()
    {
        GuardedHost host(m_sandbox, m_findings);
        std::string failure;
        const auto check = [&failure](bool isOk, const char* what)
        {
            if (!isOk && failure.empty())
                failure = what;
        };
        check(host.load(), "agent");
        check(host.askForManifests(), "manifest");
        check(host.refreshDialog(), "dialog");
        check(host.apply(UserSettings::defaults().valuesFor("")), "setting");
        check(host.press("selectAllButton"), "button");
        check(host.push(0), "frame");
        return failure;
    }

    // Without an ini file: the parser of such loses memory where it is refused some.
    Sandbox m_sandbox{{"Gate"}, /*token*/ ""};
};

} // namespace tavo::devkit
