#include "engine/engine_loop.h"

#include <exception>
#include <optional>
#include <span>
#include <utility>
#include <variant>

#include "utils/clock.h"
#include "utils/log.h"

namespace tavo::devkit
{

namespace orlix = vms_server_plugins::analytics::orlix;

namespace
{

constexpr int kTickMs = 1000; // nothing is missed without it: every change comes on the link

} // namespace

EngineLoop::EngineLoop(MessageStream module, FrameAnalyser& analyser, ResultSender& results) :
    m_module(std::move(module)),
    m_analyser(analyser),
    m_results(results)
{}

void EngineLoop::run()
{
    while (!m_stopped)
    {
        WatchedSocket watched{m_module.socket()};
        wait_for_any({&watched, 1}, kTickMs);
        if (!watched.isReady)
            continue;
        if (!m_module.receive())
        {
            orlix::log_info("The module has gone. Stopping.\n");
            return;
        }
        while (const std::optional<Message> message = m_module.next())
            std::visit([this](const auto& typed) { handle(typed); }, *message);
    }
    orlix::log_info("Stopping.\n");
}

void EngineLoop::handle(const TakeFrame& message)
{
    try
    {
        work(message.segment);
    }
    catch (const std::exception& error) // OpenCV's, or out of memory: it costs this frame
    {
        orlix::log_error("Error! Frame could not be analysed: %s\n", error.what());
    }
    if (!m_module.send(FrameDone{message.segment}))
        m_stopped = true;
}

void EngineLoop::handle(const ForgetSegment& message)
{
    m_views.erase(message.segment);
}

void EngineLoop::handle(const CommandMessage& message)
{
    if (message.command == protocol::Command::stop)
        m_stopped = true;
    if (message.command == protocol::Command::referenceRun)
        m_analyser.takeReference();
}

void EngineLoop::handle(const auto&)
{
    orlix::log_info("Warning! Message of the module not understood.\n");
}

void EngineLoop::work(const std::string& segment)
{
    const std::uint64_t begin = orlix::time_now_us();
    const orlix::ShmView* const view = viewOf(segment);
    if (!view)
        return;
    std::uint32_t size = 0;
    const char* data = nullptr;
    if (!orlix::shm_read_attached(*view, size, data))
        return;
    const std::optional<InputFrame> frame = decodeInputFrame({data, size});
    if (!frame)
        return;
    const Result result = m_analyser.analyse(*frame);
    m_results.send({encodeResult(result), frame->inputIndex, frame->timestampUs});
    orlix::log_debug(
        "Input %zu: %dx%d, classes: %zu, events: %zu, %zu us\n", std::size_t(frame->inputIndex),
        frame->rgb.size.width, frame->rgb.size.height, result.objects.size(), result.events.size(),
        std::size_t(orlix::time_now_us() - begin));
}

const orlix::ShmView* EngineLoop::viewOf(const std::string& name)
{
    const auto known = m_views.find(name);
    if (known != m_views.end())
        return &known->second;
    orlix::ShmSegment segment;
    orlix::shm_from_name(segment, name);
    if (!orlix::shm_open(segment))
        return nullptr;
    std::uint32_t size = 0;
    const char* data = nullptr;
    orlix::ShmView view = orlix::shm_read(segment, size, data);
    orlix::shm_close(segment);
    if (!orlix::shm_is_attached(view))
        return nullptr;
    return &m_views.emplace(name, std::move(view)).first->second;
}

} // namespace tavo::devkit
