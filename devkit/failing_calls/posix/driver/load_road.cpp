// The library is loaded, asked what a host asks when nothing is installed yet, and unloaded.

#include <temporary_folder.h>

#include "library_host.h"
#include "records/records.h"
#include "roads.h"

namespace tavo::devkit
{

namespace
{

class LoadRoad : public Road
{
public:
    explicit LoadRoad(Findings& findings) :
        Road(findings)
    {
        for (const char* const name : {"tmp", "home", "ini"})
            std::filesystem::create_directories(m_folder.path(name));
        // Without an ini file: the parser of such loses memory where it is refused some.
        test_support::setVariable(test_support::kTemporaryFolderVariable, m_folder.path("tmp"));
        test_support::setVariable("TAVO_INI_DIR", m_folder.path("ini"));
        seedRecords(*m_store, R"({"cloudAuthToken":"","server":{"id":"s","parameters":{}}})", 1);
    }

    [[nodiscard]] unsigned callers() const override { return failing_calls::kAllCallers; }

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
        LibraryHost host(m_folder.path(), *m_store, m_findings);
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
        check(host.pushFrame(0), "frame");
        return failure;
    }

    vms_server_plugins::analytics::orlix::TemporaryFolder m_folder;
    std::unique_ptr<RecordStore> m_store = makeMemoryRecordStore();
};

} // namespace

std::unique_ptr<Road> makeLoadRoad(Findings& findings)
{
    return std::make_unique<LoadRoad>(findings);
}

} // namespace tavo::devkit
