#pragma once

#include <chrono>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace tavo::devkit
{

enum class FaultKind
{
    status, // answer with `status` and a short text
    noLength, // leave the length of the body out
    cut, // end the connection in the middle of the body
    wrongDigest, // tell the digest of something else
    noDigest,
    noKey, // leave the key of an encrypted model out
    slow, // send the body in small pieces with pauses
    reset, // end the connection before the first byte of the body
    late, // answer after a pause
    body, // answer with `text` instead of what was asked for
};

struct Fault
{
    std::string pathPart; // of the paths that it strikes
    FaultKind kind = FaultKind::status;
    int status = 503;
    std::string text;
    std::chrono::milliseconds pause{200};
};

// The faults that are switched on. Any thread may call.
class Faults
{
public:
    // {"path": "/models/", "kind": "cut"}, and where the kind has them "status", "text" and
    // "pauseMs". False for what makes no sense.
    bool switchOn(const std::string& json);
    void clear();

    // The one that was switched on last, of those that strike this path.
    [[nodiscard]] std::optional<Fault> of(const std::string& path) const;

private:
    mutable std::mutex m_mutex;
    std::vector<Fault> m_faults;
};

} // namespace tavo::devkit
