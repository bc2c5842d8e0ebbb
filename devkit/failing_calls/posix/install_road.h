#pragma once

#include <optional>

#include "road.h"

namespace tavo::devkit
{

// From a machine with nothing on it to the first result.
class InstallRoad : public Road
{
public:
    using Road::Road;

    [[nodiscard]] bool isUnloaded() const override { return true; }

    void attempt() override
    {
        m_machine.makeNew();
        start();
        static_cast<void>(comesTrue([this] { return hasResults(); }, 4s));
    }

    void recover() override
    {
        if (!m_host)
            start();
        if (!comesTrue([this] { return hasResults(); }, 10s))
            restart();
        m_host.reset();
        checkWhatIsLeft();
        start(); // with what is there
        if (!comesTrue([this] { return hasResults(); }))
            m_findings.add("the next start brings no results: " + m_host->dialogText());
        m_host.reset();
        checkWhatIsLeft();
    }

private:
    void start()
    {
        m_host.emplace(m_machine, m_findings);
        m_isUp = m_host->load() && m_host->apply(UserSettings::defaults().valuesFor(""));
    }

    [[nodiscard]] bool hasResults() { return m_isUp && m_machine.helpToResults(*m_host, 0); }

    // What leads out of where nothing else does, and where users are told to do it.
    void restart()
    {
        const std::string dialog = m_host->dialogText();
        const bool isTold = !m_isUp || dialog.find("could not be installed") != std::string::npos ||
            m_machine.logContains("Failed to create listening socket");
        if (!isTold)
            m_findings.add("it never comes to results: " + dialog);
        m_host.reset();
        start();
        if (!comesTrue([this] { return hasResults(); }))
            m_findings.add("not even a restart brings results: " + m_host->dialogText());
    }

    void checkWhatIsLeft()
    {
        for (const char* const program : {"brunmod", "brund"})
        {
            if (!comesTrue([&] { return m_machine.processes(program).empty(); }, 5s))
                m_findings.add(std::string(program) + " outlives the library");
        }
        if (const std::string names = m_machine.temporaryFiles(); !names.empty())
            m_findings.add("files are left in the temporary folder: " + names);
    }

    Machine m_machine;
    std::optional<GuardedHost> m_host;
    bool m_isUp = false;
};

} // namespace tavo::devkit
