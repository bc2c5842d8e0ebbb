#pragma once

#include <string>
#include <unordered_map>

#include "common/message_stream.h"
#include "engine/frame_analyser.h"
#include "engine/result_sender.h"
#include "utils/shm.h"

namespace tavo::devkit
{

// The engine's side of the link to the module: takes frames out of the segments that it names, one
// at a time, and sends what was found in them to the plugin. One thread.
class EngineLoop
{
public:
    // `module` is the link, on which the engine has said that it is ready. The others outlive this.
    EngineLoop(MessageStream module, FrameAnalyser& analyser, ResultSender& results);

    // Works until the module asks it to stop, or is gone.
    void run();

private:
    void handle(const TakeFrame& message);
    void handle(const ForgetSegment& message);
    void handle(const CommandMessage& message);
    void handle(const auto& other);

    void work(const std::string& segment);
    const vms_server_plugins::analytics::orlix::ShmView* viewOf(const std::string& segment);

    MessageStream m_module;
    FrameAnalyser& m_analyser;
    ResultSender& m_results;
    std::unordered_map<std::string, vms_server_plugins::analytics::orlix::ShmView> m_views;
    bool m_stopped = false;
};

} // namespace tavo::devkit
