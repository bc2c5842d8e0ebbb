#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "inference/protocol.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// The small messages to the application, encoded without an allocation. None of them can fail.
class SmallMessage
{
public:
    [[nodiscard]] static SmallMessage announcement(std::uint64_t deviceNumber, std::uint64_t size);
    [[nodiscard]] static SmallMessage completion();
    [[nodiscard]] static SmallMessage command(protocol::Command command);

    [[nodiscard]] const char* data() const { return m_bytes.data(); }
    [[nodiscard]] std::uint32_t size() const { return m_size; }

private:
    template <typename Write>
    explicit SmallMessage(Write write);

    std::array<char, 64> m_bytes;
    std::uint32_t m_size = 0;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
