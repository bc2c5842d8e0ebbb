#include "inference/input_reply.h"
#include "fuzz_target.h"

using namespace tavo::vms_server_plugins::analytics::orlix;

namespace
{

void checkName(const InputReply& reply, const std::optional<std::string_view>& name)
{
    FUZZ_CHECK(!name || name->size() <= protocol::kMaxNameBytes);
    FUZZ_CHECK(!name || name->empty() || reply.error() == mpack_ok);
    FUZZ_CHECK(!name || name->find('\0') == std::string_view::npos);
}

} // namespace

// The application's answer to an announcement.
void tavo::fuzz::run(std::string_view text)
{
    InputReply reply(text);
    checkName(reply, reply.closedSegment());
    checkName(reply, reply.segment());

    InputReply numbered(text);
    const std::uint64_t number = numbered.closedSegmentAsNumber();
    FUZZ_CHECK(numbered.error() == mpack_ok || number == 0);
}
