#include "device.h"

#include "metadata/results.h"

namespace tavo::devkit
{

Device::Device(
    MetadataSink::Origin origin, std::string source, SettingValues userValues,
    Surroundings surroundings) :
    m_origin(std::move(origin)),
    m_source(std::move(source)),
    m_surroundings(surroundings),
    m_agent(m_surroundings.engine.obtainAgent(m_origin.deviceId))
{
    m_handler = sdk::makePtr<AgentHandler>(
        m_origin,
        AgentHandler::Receivers{
            m_surroundings.sink, m_statistics, m_surroundings.console, m_surroundings.annotator});
    m_agent->setHandler(m_handler.get());
    const sdk::Ptr<const sdk::IString> manifest(valueOrThrow("manifest", m_agent->manifest()));
    m_handler->pushManifest(manifest.get());
    m_dialog = std::make_unique<SettingsDialog>(
        m_agent, m_origin, std::move(userValues),
        SettingsDialog::Surroundings{
            m_surroundings.store, m_surroundings.sink, m_surroundings.console,
            m_surroundings.showDialog});

    std::vector<FrameObserver*> observers;
    for (FrameObserver* const observer :
         {static_cast<FrameObserver*>(m_surroundings.annotator), m_surroundings.observer})
    {
        if (observer)
            observers.push_back(observer);
    }
    m_camera = std::make_unique<Camera>(
        m_origin, m_agent, m_statistics, std::move(observers), m_surroundings.console);
}

Device::~Device()
{
    end();
}

void Device::start()
{
    (void)takeManifestChange(); // the one that it started with
    m_dialog->apply();
    m_camera->start();
    m_surroundings.feeds.attach(m_source, *m_camera);
    m_isRunning = true;
}

void Device::stop()
{
    if (!m_isRunning)
        return;
    m_isRunning = false;
    m_surroundings.feeds.detach(m_source, *m_camera);
    m_camera->stop();
}

void Device::end()
{
    if (!m_agent)
        return;
    stop();
    m_dialog->close();
    m_camera.reset();
    m_agent->finalize();
    m_agent.reset();
}

} // namespace tavo::devkit
