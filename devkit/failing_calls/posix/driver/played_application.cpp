#include "played_application.h"

#include <array>
#include <initializer_list>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "common/clock.h"
#include "inference/protocol.h"
#include "utils/mpack_tree.h"

namespace tavo::devkit
{

namespace orlix = vms_server_plugins::analytics::orlix;
namespace key = orlix::protocol::key;

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
            orlix::socket_serve(
                folder + "/" + orlix::protocol::kModuleSocketFile,
                [this](auto message, SocketHandle connection)
                {
                    if (!message.empty())
                        takeFrame(connection);
                },
                m_stop);
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
    orlix::MpackGrowableWriter reply;
    mpack_start_map(reply.writer(), m_former.empty() ? 1 : 2);
    if (!m_former.empty())
    {
        mpack_write_cstr(reply.writer(), key::kCloseSegment);
        mpack_write_cstr(reply.writer(), m_former.c_str());
        ++m_timesTold;
    }
    mpack_write_cstr(reply.writer(), key::kSegment);
    mpack_write_cstr(reply.writer(), m_segment.c_str());
    mpack_finish_map(reply.writer());
    reply.close();
    orlix::socket_send_message(
        connection, reply.bytes().data(), static_cast<std::uint32_t>(reply.bytes().size()));

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
    constexpr std::array<float, 4> kBox{0.1f, 0.1f, 0.5f, 0.5f};
    orlix::MpackGrowableWriter result;
    mpack_writer_t* const writer = result.writer();
    mpack_start_map(writer, 6);
    mpack_write_cstr(writer, key::kInputIndex);
    mpack_write_u64(writer, 0);
    mpack_write_cstr(writer, key::kTimestamp);
    mpack_write_u64(writer, static_cast<std::uint64_t>(wallClockUs()));
    mpack_write_cstr(writer, key::kWidth);
    mpack_write_i64(writer, 320);
    mpack_write_cstr(writer, key::kHeight);
    mpack_write_i64(writer, 240);
    mpack_write_cstr(writer, key::kBoxes);
    mpack_start_map(writer, 1);
    mpack_write_cstr(writer, "motion");
    mpack_write_bin(writer, reinterpret_cast<const char*>(kBox.data()), sizeof kBox);
    mpack_finish_map(writer);
    mpack_write_cstr(writer, key::kCounts);
    mpack_start_map(writer, 1);
    mpack_write_cstr(writer, "motion");
    mpack_write_u64(writer, 1);
    mpack_finish_map(writer);
    mpack_finish_map(writer);
    result.close();
    orlix::socket_send_once(
        m_pluginSocket, result.bytes().data(), static_cast<std::uint32_t>(result.bytes().size()));
}

} // namespace tavo::devkit
