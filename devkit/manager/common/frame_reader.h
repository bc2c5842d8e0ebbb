#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

namespace tavo::devkit
{

// Cuts a stream of bytes into frame records, however the bytes come in: a size of 4 bytes in
// machine order, then that many bytes. No frame is waited for and nothing is received here.
class FrameReader
{
public:
    // Frames whose body is larger than `maxBody` bytes are refused before memory is taken for them.
    explicit FrameReader(std::size_t maxBody) :
        m_maxBody(maxBody)
    {}

    // Where the next received bytes go, never empty. written() then says how many came.
    [[nodiscard]] std::span<char> room();
    void written(std::size_t count) { m_end += count; }

    // The body of the next whole frame, valid until room() is called; nothing if there is none.
    // To be called until there is none.
    [[nodiscard]] std::optional<std::span<const char>> next();

    // A frame of a size beyond the bound came: the stream is of no more use.
    [[nodiscard]] bool isRefused() const { return m_refused; }

private:
    const std::size_t m_maxBody;
    std::vector<char> m_buffer;
    std::size_t m_begin = 0; // first byte that no frame has taken
    std::size_t m_end = 0; // behind the last byte received
    std::size_t m_wanted = 0; // bytes of the frame that has begun, as far as its size is known
    bool m_refused = false;
};

} // namespace tavo::devkit
