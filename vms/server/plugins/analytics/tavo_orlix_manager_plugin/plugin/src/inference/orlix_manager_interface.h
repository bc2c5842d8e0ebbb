#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <string_view>
#include <unordered_map>

#include "base/assigned_model.h"
#include "base/message_board.h"
#include "base/outcome.h"
#include "inference/attached_segments.h"
#include "inference/exchange_line.h"
#include "inference/manager_state.h"
#include "inference/message_buffer.h"
#include "inference/small_message.h"
#include "remote/host_rest_client.h"
#include "utils/clock.h"
#include "utils/copy_choice.h"
#include "utils/json.h"
#include "utils/pipes.h"
#include "utils/process.h"
#include "utils/retry_pause.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// The engine's one handle on the manager application: its process, its settings file, and the
// sending of frames and commands to it over the module socket.
//
// Threads: start, stop, checkRunning and updateSettings belong to the runtime loop's thread.
// line, sendInput, sendReferenceRun and state may be called from any thread. The external processor
// files may be read from any thread.
class OrlixManagerInterface
{
public:
    // `messageBoard` is not owned and outlives this object. Nothing is started once `stop` was
    // requested.
    OrlixManagerInterface(
        const std::string& workingDirectory, MessageBoard* messageBoard, std::stop_token stop = {});

    // Detaches all segments. Does not ask the application to stop: what is left of it ends with its
    // job, and what is left of decrypted models is deleted.
    ~OrlixManagerInterface();

    OrlixManagerInterface(const OrlixManagerInterface&) = delete;
    OrlixManagerInterface& operator=(const OrlixManagerInterface&) = delete;

    // False after a crash where the ini file forbids to start again.
    [[nodiscard]] bool mayStart() const;

    // Decrypts what is encrypted and starts the application; the state tells the outcome, and a
    // failure is on the board and leaves neither process nor decrypted copy. Does nothing but log
    // if it may not.
    void start(const AssignedModels& assignedModels, const std::string& pluginSocketPath);

    // Whether the last start found that a model or its key is missing.
    [[nodiscard]] bool lacksFiles() const { return m_lacksFiles; }

    // Asks the application to stop, waits 5 seconds, then kills it and waits one more; deletes
    // decrypted copies. Does nothing when no process is there.
    void stop(const AssignedModels& assignedModels);

    // Looks whether the process lives, reports a crash on the board with what the application
    // wrote to its standard error, ends what it has left running, deletes decrypted copies, and
    // takes the report back once a restarted application has stayed up for more than 10 seconds.
    // `provider` may be null: the host is then not told.
    ManagerState checkRunning(
        const UtilityProviderPtr& provider, std::uint64_t nowMs = time_now_ms());

    // Fire and forget, each on a connection of its own.
    void sendReferenceRun();
    void sendStop();

    // Where cameras wait for their turn to make a message and send it.
    [[nodiscard]] ExchangeLine& line() { return m_line; }

    // Hands an input message over: announces it on the module socket, writes it into the segment
    // that the reply names, and confirms. True if it was handed over; every failure has logged why
    // and costs this one frame. `written` is called before the application learns that the message
    // is there: what it notes is noted when the result comes. Reads the frame's pixels, which
    // therefore still live; the buffer stays the caller's. Waits a second for a reply at most.
    bool sendInput(
        const MessageBuffer& message, std::uint64_t deviceNumber,
        const std::function<void()>& written = [] {});

    // Writes etc/settings.json if a model or its change stamp differs from the last call's, or if
    // `force`; true if it was rewritten, and the application then needs a restart. `document` is
    // the array of model objects. What the disk refuses is told once on the board and kept.
    [[nodiscard]] bool updateSettings(
        MutableJsonDocument document, const AssignedModels& assignedModels, bool force);

    // Tries again what was refused, when its time has come; true if it was rewritten now.
    [[nodiscard]] bool retrySettings();

    // False from a write that the disk refused to the next one that succeeds: until then the
    // application has what it had.
    [[nodiscard]] bool settingsAreWritten() const { return !m_unwrittenSettings; }

    // Null if the file is missing, which is a normal case, or broken, which is told on the board
    // and in the log until it is mended or gone.
    [[nodiscard]] JsonDocument loadExternalPreprocessors() const;
    [[nodiscard]] JsonDocument loadExternalPostprocessors() const;

    [[nodiscard]] ManagerState state() const { return m_state.load(std::memory_order_relaxed); }

    // Consecutive starts without a deliberate stop; 0 before the first.
    [[nodiscard]] std::uint64_t startCount() const { return m_startCount; }

private:
    // The steps of start; each false has put its reason on the board, and taken all back.
    [[nodiscard]] bool filesAreThere(const AssignedModel& model);
    bool keyMissing(const AssignedModel& model);
    [[nodiscard]] bool decryptModel(const AssignedModel& model);
    bool startFailed(const std::string& text);
    Outcome writeDecryptedCopy(
        std::string_view key, const std::string& modelPath, const std::string& copyPath);
    void spawn();

    void deleteDecryptedCopies();
    void forgetCrash(const UtilityProviderPtr& provider);
    void reportCrash(ExitCode exitCode);
    void send(protocol::Command command);
    [[nodiscard]] bool writeSettings();

    ProcessRecord m_process;
    const std::string m_rootFolder;
    const std::string m_moduleSocketPath;
    PipeEnd m_stderrPipe; // what the application writes to its standard error
    MessageBoard* const m_messageBoard; // not owned
    const std::stop_token m_stop;
    std::atomic<ManagerState> m_state{ManagerState::Stopped};
    std::uint64_t m_startCount = 0;
    bool m_lacksFiles = false;
    bool m_hasCrashed = false; // since the last deliberate stop
    std::set<std::string> m_decryptedCopies; // paths; deleted by the job too, if this dies
    std::uint64_t m_startTimeMs = 0; // wall clock of the last successful start
    // By model id, the change stamp as of the last update of the settings.
    std::unordered_map<std::string, std::string> m_changeTable;
    std::optional<std::string> m_unwrittenSettings; // the text
    RetryPause m_settingsPause;
    bool m_settingsFailureTold = false;
    const SmallMessage m_completionMessage = SmallMessage::completion();
    ExchangeLine m_line;
    AttachedSegments m_segments; // provides its own locking, as the next
    CopyChoice m_copyChoice;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
