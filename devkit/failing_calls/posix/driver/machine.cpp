#include "machine.h"

#include <filesystem>

#include <testing/platform.h>
#include <testing/programs.h>

#include "records/records.h"

namespace tavo::devkit
{

namespace
{

constexpr long kSleepMs = 30; // the loop makes its passes all the time
constexpr char kToken[] = "token";
constexpr char kManager[] = "home/tavo_orlix_manager/orlix_manager/";

constexpr char kCatalogue[] =
    R"({"models":[{"UUID":"m1","Name":"motion","File":"motion.bin","Encrypted":true,)"
    R"("RuntimeArchitectures":["application/x-onnx"],"NamedOutput":[{"Name":"bboxes;0:motion"}]},)"
    R"({"UUID":"m2","Name":"motion","File":"other.bin","Encrypted":true,)"
    R"("RuntimeArchitectures":["application/x-onnx"],"NamedOutput":[{"Name":"bboxes;0:motion"}]}],)"
    R"("pipelines":[{"uuid":"p1","name":"Motion","models":["m1"],"pipelines":)"
    R"([{"method":"detect","modelUUID":"m1","modelNMS":0.5}]},)"
    R"({"uuid":"p2","name":"More motion","models":["m2"],"pipelines":)"
    R"([{"method":"detect","modelUUID":"m2","modelNMS":0.5}]}]})";

bool contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

} // namespace

bool comesAbout(const std::function<bool()>& isSo, std::chrono::milliseconds limit)
{
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!isSo())
    {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

Machine::Machine(const std::string& options)
{
    failing_calls::limitSleep(kSleepMs);
    for (const char* const name : {"tmp", "ini", "files"})
        std::filesystem::create_directories(m_folder.path(name));
    test_support::setVariable(test_support::kTemporaryFolderVariable, m_folder.path("tmp"));
    test_support::setVariable("TAVO_INI_DIR", m_folder.path("ini"));
    m_folder.write("files/motion.bin", "what a model weighs");
    m_folder.write("files/other.bin", "and another one");
    m_folder.write("catalogue.json", kCatalogue);
    ServicesOptions services;
    services.catalogue = m_folder.path("catalogue.json");
    services.files = m_folder.path("files");
    services.archive = TAVO_APPLICATION_ARCHIVE;
    services.runtimes = TAVO_RUNTIME_PACKAGES;
    services.token = kToken;
    m_services = std::make_unique<Services>(services);
    const std::string base = "http://127.0.0.1:" + std::to_string(m_services->bind());
    m_server = std::thread([this]() { m_services->serve(); });
    m_folder.write(
        "ini/tavo_orlix_manager_plugin.ini",
        "CloudAPI=" + base + "/dev\nRuntimesStorageURL=" + base +
            "/runtimes\nOrlixManagerStorageURL=" + base + "/apps\n" + options);
    makeNew();
}

Machine::~Machine()
{
    m_services->stop();
    m_server.join();
}

void Machine::makeNew()
{
    std::filesystem::remove_all(m_folder.path("home"));
    std::filesystem::create_directories(m_folder.path("home"));
    m_store = makeMemoryRecordStore();
    seedRecords(
        *m_store,
        R"({"cloudSystemId":"system","cloudAuthToken":"token","server":{"id":"s","parameters":{}},)"
        R"("devices":[{"id":")" +
            defaultDeviceId(0) + R"(","name":"Gate","parameters":{}}]})",
        1);
}

bool Machine::helpToResults(LibraryHost& host, std::uint64_t before)
{
    static_cast<void>(host.pushFrame(m_step++));
    if (host.totals().results > before)
        return true;
    static_cast<void>(host.refreshDialog());
    const std::string& dialog = host.dialog();
    if (contains(dialog, "button libraryChoiceGeneric CPU\n"))
        static_cast<void>(host.press("libraryChoiceGeneric CPU"));
    else if (contains(dialog, "could not install the acceleration library"))
        static_cast<void>(host.press("reselectRuntimeButton"));
    else if (contains(dialog, "button modelDownloadRetryButton\n"))
        static_cast<void>(host.press("modelDownloadRetryButton"));
    else if (contains(dialog, "could not be installed") && contains(dialog, "clearCacheButton"))
        static_cast<void>(host.press("clearCacheButton"));
    return false;
}

bool Machine::bringUp(LibraryHost& host)
{
    const std::uint64_t before = host.totals().results;
    return host.load() && host.apply(UserSettings::defaults().valuesFor("")) &&
        comesAbout([&] { return helpToResults(host, before); });
}

std::string Machine::deviceRecord() const
{
    return m_store->find(RecordKind::device, defaultDeviceId(0)).value_or("");
}

std::string Machine::managerFile(const std::string& name) const
{
    return m_folder.read(kManager + name);
}

bool Machine::logContains(const std::string& text) const
{
    return contains(m_folder.read("home/tavo_orlix_manager/orlix_plugin_start.log"), text);
}

std::vector<std::uint32_t> Machine::processes(const std::string& program) const
{
    return test_support::runningPrograms(m_folder.path(kManager + ("bin/" + program)));
}

std::string Machine::temporaryFiles() const
{
    std::string names;
    for (const auto& entry : std::filesystem::directory_iterator(m_folder.path("tmp")))
        names += entry.path().filename().string() + " ";
    return names;
}

} // namespace tavo::devkit
