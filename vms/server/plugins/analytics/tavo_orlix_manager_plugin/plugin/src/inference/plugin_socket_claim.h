#pragma once

#include <atomic>
#include <functional>
#include <stop_token>
#include <string>

#include "base/message_board.h"
#include "utils/file_lock.h"
#include "utils/throttle.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// An engine's claim to its temporary folder, where sockets and decrypted models have fixed names:
// of two engines with one folder the second would take the first one's results. It is a file's lock
// beside the plugin socket, held from before the listener listens until this ends, which is when
// the application has ended: who takes over finds neither.
class PluginSocketClaim
{
public:
    // `messageBoard` outlives this object.
    explicit PluginSocketClaim(MessageBoard& messageBoard) :
        m_messageBoard(messageBoard)
    {}

    // Waits until nobody else has the claim to this socket, and asks each second. Who waits says so
    // on the board and in the log, at once and then every minute. Then calls `whenAlone`, before
    // the claim is settled. Where there can be no lock it is not called, and nothing is waited for:
    // what is wrong shows when listening. False if `stop` came first.
    [[nodiscard]] bool wait(
        const std::string& socketPath, const std::stop_token& stop,
        const std::function<void()>& whenAlone);

    // Before that no application may be started. Any thread.
    [[nodiscard]] bool isSettled() const { return m_isSettled; }

private:
    [[nodiscard]] bool ask(const std::string& path, const std::function<void()>& whenAlone);
    void tellOfAnother(const std::string& path);

    MessageBoard& m_messageBoard;
    FileLock m_lock;
    Throttle m_repetitions{std::chrono::minutes(1)};
    bool m_hasTold = false;
    std::atomic<bool> m_isSettled{false};
};

} // namespace tavo::vms_server_plugins::analytics::orlix
