#include "frame_consumer.h"

#include <csignal>
#include <cstring>
#include <stdexcept>

#include <sched.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <mpack.h>

#include "inference/protocol.h"
#include "utils/shm.h"

namespace tavo::bench
{

namespace orlix = vms_server_plugins::analytics::orlix;
namespace protocol = orlix::protocol;

struct FrameConsumer::Shared
{
    std::atomic<std::uint64_t> connectionsEnded{0};
    std::atomic<std::uint64_t> sum{0}; // of what was read, so that it is read
};

namespace
{

constexpr std::uint32_t kSegmentPayload = 3840 * 2160 * 3 + 64 * 1024;

std::string encodedReply(const std::string& segmentName)
{
    char bytes[128];
    mpack_writer_t writer;
    mpack_writer_init(&writer, bytes + 4, sizeof bytes - 4);
    mpack_start_map(&writer, 1);
    mpack_write_cstr(&writer, protocol::key::kSegment);
    mpack_write_cstr(&writer, segmentName.c_str());
    mpack_finish_map(&writer);
    const auto size = static_cast<std::uint32_t>(mpack_writer_buffer_used(&writer));
    mpack_writer_destroy(&writer);
    std::memcpy(bytes, &size, sizeof size);
    return {bytes, size + 4};
}

std::uint64_t sumOf(const orlix::ShmView& view)
{
    std::uint32_t size = 0;
    const char* data = nullptr;
    orlix::shm_read_attached(view, size, data);
    std::uint64_t sum = 0;
    for (std::uint32_t i = 0; i + sizeof sum <= size; i += sizeof sum)
    {
        std::uint64_t word = 0;
        std::memcpy(&word, data + i, sizeof word);
        sum += word;
    }
    return sum;
}

} // namespace

void stayOn(Processor processor)
{
    cpu_set_t allowed;
    if (sched_getaffinity(0, sizeof allowed, &allowed) != 0)
        return;
    cpu_set_t chosen;
    CPU_ZERO(&chosen);
    for (int i = 0; i < CPU_SETSIZE; ++i)
    {
        if (!CPU_ISSET(i, &allowed))
            continue;
        CPU_ZERO(&chosen);
        CPU_SET(i, &chosen);
        if (processor == Processor::first)
            break;
    }
    sched_setaffinity(0, sizeof chosen, &chosen);
}

FrameConsumer::FrameConsumer(const std::string& folder, std::chrono::microseconds delay) :
    m_socketPath(folder + "/" + protocol::kModuleSocketFile),
    m_delay(delay)
{
    orlix::ShmSegment segment;
    orlix::shm_create_random(segment, kSegmentPayload);
    m_segmentName = segment.name;
    void* const memory =
        mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    const int listeningSocket = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, m_socketPath.c_str(), sizeof address.sun_path - 1);
    if (memory == MAP_FAILED || listeningSocket < 0 ||
        bind(listeningSocket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        listen(listeningSocket, 16) != 0)
    {
        throw std::runtime_error("no consumer");
    }
    m_shared = new (memory) Shared;
    m_child = fork();
    if (m_child == 0)
        run(listeningSocket);
    close(listeningSocket);
    orlix::shm_close(segment);
}

FrameConsumer::~FrameConsumer()
{
    kill(m_child, SIGKILL);
    waitpid(m_child, nullptr, 0);
    orlix::ShmSegment segment;
    orlix::shm_from_name(segment, m_segmentName);
    orlix::shm_remove(segment);
    munmap(m_shared, sizeof(Shared));
}

void FrameConsumer::run(int listeningSocket)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    stayOn(Processor::last);
    orlix::ShmSegment segment;
    orlix::shm_from_name(segment, m_segmentName);
    orlix::shm_open(segment);
    const orlix::ShmView view = orlix::shm_attach(segment);
    const std::string reply = encodedReply(m_segmentName);
    for (;;)
    {
        const int connection = accept4(listeningSocket, nullptr, nullptr, SOCK_CLOEXEC);
        char message[256];
        if (recv(connection, message, sizeof message, 0) > 0)
        {
            if (m_delay.count() > 0)
                usleep(static_cast<useconds_t>(m_delay.count()));
            send(connection, reply.data(), reply.size(), MSG_NOSIGNAL);
        }
        if (recv(connection, message, sizeof message, 0) > 0)
            m_shared->sum += sumOf(view);
        close(connection);
        ++m_shared->connectionsEnded;
    }
}

void FrameConsumer::waitUntilAsleep()
{
    ++m_waitedFor;
    while (m_shared->connectionsEnded < m_waitedFor)
        usleep(100);
    usleep(500); // back into its accept
}

} // namespace tavo::bench
