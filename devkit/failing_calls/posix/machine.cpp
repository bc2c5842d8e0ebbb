#include "machine.h"

namespace tavo::devkit
{

namespace
{

constexpr long kSleepMs = 30; // the loop makes its passes all the time

// What a user presses where the dialog has such a text.
constexpr struct
{
    const char* text;
    const char* button;
} kHelp[] = {
    {"button libraryChoiceGeneric CPU\n", "libraryChoiceGeneric CPU"},
    {"could not install the acceleration library", "reselectRuntimeButton"},
    {"button modelDownloadRetryButton\n", "modelDownloadRetryButton"},
    {"could not be installed", "clearCacheButton"},
};

} // namespace

Machine::Machine(const std::vector<std::string>& options) :
    Sandbox({"Gate"})
{
    failing_calls::limitSleep(kSleepMs);
    startServices(
        {{"motion.bin", "what a model weighs", true}, {"other.bin", "and another one", true}},
        options);
}

bool Machine::helpToResults(GuardedHost& host, std::uint64_t before)
{
    static_cast<void>(host.push(m_step++));
    if (host.results() > before)
        return true;
    static_cast<void>(host.refreshDialog());
    const std::string dialog = host.dialogText();
    for (const auto& [text, button] : kHelp)
    {
        if (dialog.find(text) == std::string::npos || dialog.find(button) == std::string::npos)
            continue;
        static_cast<void>(host.press(button));
        break;
    }
    return false;
}

bool Machine::bringUp(GuardedHost& host)
{
    return host.load() && host.apply(UserSettings::defaults().valuesFor("")) &&
        comesTrue([&] { return helpToResults(host, 0); });
}

bool Machine::logContains(const std::string& text) const
{
    const std::string log = folder().read("home/tavo_orlix_manager/orlix_plugin_start.log");
    return log.find(text) != std::string::npos;
}

} // namespace tavo::devkit
