#include "sandbox.h"

#include <filesystem>
#include <stdexcept>

#include <testing/platform.h>
#include <testing/programs.h>
#include <testing/test_program.h>

#include "common/json.h"
#include "new_server.h"
#include "records/records.h"

namespace tavo::devkit
{

namespace
{

std::string catalogueOf(const std::vector<Sandbox::Model>& models)
{
    JsonMaker json;
    JsonNode modelList = json.addList("models");
    JsonNode pipelineList = json.addList("pipelines");
    for (std::size_t i = 0; i < models.size(); ++i)
    {
        const std::string id = "m" + std::to_string(i + 1);
        JsonNode model = modelList.pushObject();
        model.add("UUID", id)
            .add("Name", "motion")
            .add("File", models[i].file)
            .add("Encrypted", models[i].isEncrypted);
        model.addList("RuntimeArchitectures").push("application/x-onnx");
        model.addList("NamedOutput").pushObject().add("Name", "bboxes;0:motion");

        JsonNode pipeline = pipelineList.pushObject();
        pipeline.add("uuid", "p" + std::to_string(i + 1))
            .add("name", "Motion " + std::to_string(i + 1));
        pipeline.addList("models").push(id);
        pipeline.addList("pipelines")
            .pushObject()
            .add("method", "detect")
            .add("modelUUID", id)
            .add("modelNMS", 0.5);
    }
    return json.text();
}

} // namespace

Sandbox::Sandbox(const std::vector<std::string>& cameras, std::string token) :
    m_cameraCount(static_cast<int>(cameras.size())),
    m_token(std::move(token))
{
    for (const char* const name : {"tmp", "ini", "files"})
        std::filesystem::create_directories(m_folder.path(name));
    test_support::setVariable(test_support::kTemporaryFolderVariable, m_folder.path("tmp"));
    test_support::setVariable("TAVO_INI_DIR", m_folder.path("ini"));
    m_folder.write(kRecordsFile, newServerRecords(m_token, cameras));
    makeNew();
}

Sandbox::~Sandbox()
{
    if (m_services)
        m_services->stop();
    if (m_server.joinable())
        m_server.join();
}

void Sandbox::startServices(
    const std::vector<Model>& models, const std::vector<std::string>& options)
{
    for (const Model& model : models)
        m_folder.write("files/" + model.file, model.content);
    m_folder.write("catalogue.json", catalogueOf(models));
    ServicesOptions services;
    services.catalogue = m_folder.path("catalogue.json");
    services.files = m_folder.path("files");
    services.archive = TAVO_APPLICATION_ARCHIVE;
    services.runtimes = TAVO_RUNTIME_PACKAGES;
    services.token = m_token;
    m_services = std::make_unique<Services>(services);
    m_port = m_services->bind();
    if (m_port < 0)
        throw std::runtime_error("no port for the services");
    m_server = std::thread([this] { m_services->serve(); });
    m_folder.write(std::string("ini/") + kIniFile, iniText(m_services->url(), options));
}

void Sandbox::makeNew()
{
    std::filesystem::remove_all(m_folder.path("home"));
    std::filesystem::create_directories(m_folder.path("home"));
    m_store = makeMemoryRecordStore();
    seedRecords(*m_store, m_folder.read(kRecordsFile), m_cameraCount);
}

std::string Sandbox::serverRecord() const
{
    return m_store->find(RecordKind::server, kServerRecordId).value_or("");
}

std::string Sandbox::deviceRecord(int camera) const
{
    return m_store->find(RecordKind::device, newDeviceId(camera)).value_or("");
}

std::string Sandbox::settingsRecord(int camera) const
{
    return m_store->find(RecordKind::settings, newDeviceId(camera)).value_or("");
}

std::string Sandbox::inManager(const std::string& name)
{
    return "home/tavo_orlix_manager/orlix_manager/" + name;
}

std::vector<std::uint32_t> Sandbox::processes(const std::string& program) const
{
    return test_support::runningPrograms(
        m_folder.path(inManager("bin/" + test_support::programFile(program))));
}

std::string Sandbox::temporaryFiles() const
{
    std::string names;
    for (const auto& entry : std::filesystem::directory_iterator(m_folder.path("tmp")))
        names += entry.path().filename().string() + " ";
    return names;
}

} // namespace tavo::devkit
