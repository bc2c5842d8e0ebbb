#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "utils/shm.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// The image of one frame: RGB, 3 bytes a pixel.
struct InputImage
{
    const std::uint8_t* pixels = nullptr; // not owned
    std::size_t lineSize = 0; // bytes from row to row, at least 3 * width
    std::uint32_t width = 0; // pixels
    std::uint32_t height = 0;
};

// One input message on its way to the manager application. What is encoded lies in memory that is
// kept from frame to frame; the pixels are not copied into it: they stay in the frame until the
// pieces are put together in the segment, so the road of a frame has one copy of them.
//
// Made by createInputMessage, taken by OrlixManagerInterface::sendInput. The frame must live until
// then. One thread at a time.
class MessageBuffer
{
public:
    // Bytes of the whole message; 0 when there is none.
    [[nodiscard]] std::size_t size() const { return m_size; }

    // The message in its order. Valid until the next change.
    [[nodiscard]] std::span<const ShmPiece> pieces() const { return m_pieces; }

    // For whoever encodes: the memory for all but the pixels.
    [[nodiscard]] std::span<char> memory() { return m_encoded; }

    // Twice the memory, for another attempt. Its content is undefined.
    void growMemory();

    // Takes a message: the first `encodedSize` bytes of memory(), and in between, at
    // `imageOffset`, the pixels of `image`.
    void set(std::size_t encodedSize, std::size_t imageOffset, const InputImage& image);

    void clear();

private:
    void add(const void* data, std::size_t size);

    // Enough for a device with a pipeline of a few models and a few masks.
    static constexpr std::size_t kInitialMemory = 16 * 1024;

    std::vector<char> m_encoded = std::vector<char>(kInitialMemory);
    std::vector<ShmPiece> m_pieces; // of m_encoded and of the frame
    std::size_t m_size = 0;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
