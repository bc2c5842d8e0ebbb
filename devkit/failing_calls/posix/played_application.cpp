#include "played_application.h"

#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "common/clock.h"
#include "common/messages.h"
#include "engine/result.h"

namespace tavo::devkit
{

namespace orlix = vms_server_plugins::analytics::orlix;

namespace
{

constexpr off_t kSegmentSize = 1024 * 1024;

void makeSegment(const std::string& name)
{
    const int segment = shm_open(("/" + name).c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (segment < 0 || ftruncate(segment, kSegmentSize) != 0)
        throw std::runtime_error("no segment");
    close(segment);
}

void removeSegment(const std::string& name)
{
    shm_unlink(("/" + name).c_str());
}

} // namespace

PlayedApplication::PlayedApplication(const std::string& folder) :
    m_pluginSocket(folder + "/" + orlix::protocol::kPluginSocketFile),
    m_thread(
        [this, folder]
        {
            const std::string path = folder + "/" + orlix::protocol::kModuleSocketFile;
            const SocketHandle listening = orlix::socket_listen(path);
            orlix::ReceiveBuffer buffer;
            while (!m_stop && listening != orlix::kInvalidSocket)
            {
                const SocketHandle connection = orlix::socket_accept_message(listening, buffer);
                if (connection == orlix::kInvalidSocket)
                    continue;
                if (!buffer.message().empty())
                    takeFrame(connection);
                orlix::socket_close(connection);
            }
            orlix::socket_close(listening);
            orlix::socket_unlink(path);
        })
{}

PlayedApplication::~PlayedApplication()
{
    m_stop = true;
    m_thread.join();
    if (!m_segment.empty())
        removeSegment(m_segment);
}

void PlayedApplication::takeFrame(SocketHandle connection)
{
    if (m_segment.empty())
    {
        m_segment =
            "failing_calls_" + std::to_string(getpid()) + "_" + std::to_string(++m_segmentCount);
        makeSegment(m_segment);
    }
    m_timesTold += m_former.empty() ? 0 : 1;
    const std::vector<char> reply = encode(InputReply{m_former, m_segment});
    orlix::socket_send_message(connection, reply.data(), static_cast<std::uint32_t>(reply.size()));

    orlix::ReceiveBuffer completion;
    orlix::socket_receive_message(connection, completion, orlix::MessagePlace::sole);
    const bool isDone = !completion.message().empty();
    // A reply that was lost lets go of nothing; after one that was taken the name is unknown.
    if (isDone || m_timesTold == 2)
    {
        m_former.clear();
        m_timesTold = 0;
    }
    if (!isDone)
        return;
    removeSegment(m_segment);
    m_former = std::exchange(m_segment, {});
    sendResult();
}

void PlayedApplication::sendResult()
{
    Result result;
    result.timestampUs = static_cast<std::uint64_t>(wallClockUs());
    result.imageSize = {320, 240};
    result.objects["motion"].push_back({{32, 24, 128, 96}, {}, {}});
    result.counts["motion"] = 1;
    const std::vector<char> bytes = encodeResult(result);
    orlix::socket_send_once(m_pluginSocket, bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

} // namespace tavo::devkit
