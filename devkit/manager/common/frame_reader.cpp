#include "common/frame_reader.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace tavo::devkit
{
namespace
{

constexpr std::size_t kHeader = sizeof(std::uint32_t);

// All messages here are a few dozen bytes, so one receive takes a whole one.
constexpr std::size_t kInitialBuffer = 1024;

} // namespace

std::span<char> FrameReader::room()
{
    if (m_begin > 0)
    {
        std::copy(m_buffer.begin() + m_begin, m_buffer.begin() + m_end, m_buffer.begin());
        m_end -= m_begin;
        m_begin = 0;
    }
    const std::size_t wanted = std::max({kInitialBuffer, m_wanted, m_end + 1});
    if (wanted > m_buffer.size())
        m_buffer.resize(wanted);
    return std::span(m_buffer).subspan(m_end);
}

std::optional<std::span<const char>> FrameReader::next()
{
    if (m_refused || m_end - m_begin < kHeader)
        return std::nullopt;
    std::uint32_t size = 0;
    std::memcpy(&size, m_buffer.data() + m_begin, kHeader);
    m_refused = size > m_maxBody;
    m_wanted = kHeader + size;
    if (m_refused || m_end - m_begin < m_wanted)
        return std::nullopt;
    const auto body = std::span<const char>(m_buffer).subspan(m_begin + kHeader, size);
    m_begin += m_wanted;
    m_wanted = 0;
    return body;
}

} // namespace tavo::devkit
