#include "driven_host.h"

#include <algorithm>

#include "common/clock.h"
#include "dialogs/engine_dialog.h"
#include "media/video_frame.h"
#include "metadata/results.h"
#include "new_server.h"

namespace tavo::devkit
{

namespace
{

constexpr char kProducedFile[] = "produced.jsonl";
constexpr int kWidth = 320;
constexpr int kHeight = 240;
constexpr int kSide = 60;

PicturePtr pictureAt(int step)
{
    auto picture = std::make_shared<Picture>();
    picture->width = kWidth;
    picture->height = kHeight;
    picture->pixels.assign(kWidth * kHeight * 3, 20);
    const int left = step * 4 % (kWidth - kSide);
    for (int y = 90; y < 90 + kSide; ++y)
        std::fill_n(picture->pixels.begin() + (y * kWidth + left) * 3, kSide * 3, 230);
    return picture;
}

} // namespace

DrivenHost::DrivenHost(Sandbox& sandbox, LoadedEngine::MakePlugin makePlugin) :
    m_sandbox(sandbox),
    m_makePlugin(std::move(makePlugin)),
    m_sink(sandbox.folder().path(kProducedFile))
{}

void DrivenHost::load()
{
    RecordStore& store = m_sandbox.store();
    m_engine.emplace(TAVO_PLUGIN_FILE, store, m_makePlugin);
    m_engine->obtain(
        m_sandbox.folder().path("home"), sdk::makePtr<EngineHandler>(m_sink, m_console).get());
    for (int index = 0; index < m_sandbox.cameraCount(); ++index)
    {
        const MetadataSink::Origin origin{index, newDeviceId(index)};
        Camera& camera = *m_cameras.emplace_back(std::make_unique<Camera>());
        camera.agent = m_engine->obtainAgent(origin.deviceId);
        camera.agent->setHandler(
            sdk::makePtr<AgentHandler>(
                origin, AgentHandler::Receivers{m_sink, camera.statistics, m_console})
                .get());
        camera.dialog = std::make_unique<SettingsDialog>(
            camera.agent, origin, SettingValues{},
            SettingsDialog::Surroundings{store, m_sink, m_console});
    }
    m_isLoaded = true;
}

void DrivenHost::askForManifests()
{
    static_cast<void>(takeText(valueOrThrow("manifest", m_engine->plugin()->manifest())));
    static_cast<void>(takeText(valueOrThrow("manifest", m_engine->engine()->manifest())));
    for (const auto& camera : m_cameras)
        static_cast<void>(takeText(valueOrThrow("manifest", camera->agent->manifest())));
    const DialogAnswer settings = EngineDialog(m_engine->engine(), m_sink).refresh();
    if (!settings.failure.empty())
        throw std::runtime_error("the engine's settings: " + settings.failure);
}

std::int64_t DrivenHost::unload()
{
    m_isLoaded = false;
    for (const auto& camera : m_cameras)
    {
        camera->dialog.reset();
        if (camera->agent)
            camera->agent->finalize();
    }
    for (const auto& camera : m_cameras)
        camera->agent.reset();
    const std::int64_t left = m_engine ? m_engine->end() : 0;
    m_engine.reset();
    m_cameras.clear();
    return left;
}

CameraTotals DrivenHost::totals(int camera) const
{
    return m_isLoaded ? m_cameras[camera]->statistics.totals() : CameraTotals{};
}

std::string DrivenHost::dialogText(int camera) const
{
    std::string text;
    if (m_isLoaded)
    {
        for (const std::string& line : describeModel(m_cameras[camera]->dialog->lastModel()))
            text += line + "\n";
    }
    return text;
}

bool DrivenHost::push(int camera, int step)
{
    const auto frame = sdk::makePtr<VideoFrame>(pictureAt(step), wallClockUs());
    sdk::Result<void> result;
    m_cameras[camera]->agent->doPushDataPacket(&result, frame.get());
    const sdk::Ptr<const sdk::IString> message(result.errorMessage);
    return result.isOk();
}

std::string DrivenHost::produced()
{
    m_sink.flush();
    return m_sandbox.folder().read(kProducedFile);
}

} // namespace tavo::devkit
