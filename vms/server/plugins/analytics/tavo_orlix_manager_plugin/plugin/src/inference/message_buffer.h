#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "utils/copy_to_shared.h"

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
// message is put together in the segment, so the road of a frame has one copy of them.
//
// Made by createInputMessage, taken by OrlixManagerInterface::sendInput. The frame must live until
// then. One thread at a time.
class MessageBuffer
{
public:
    // Bytes of the whole message; 0 when there is none.
    [[nodiscard]] std::size_t size() const { return m_encodedSize + m_imageSize; }

    // Puts the message together: size() bytes, the image's rows packed.
    void copyTo(char* target, CopyWay way) const;

    // For whoever encodes: the memory for all but the pixels.
    [[nodiscard]] std::span<char> memory() { return m_encoded; }

    // Twice the memory, for another attempt. Its content is undefined.
    void growMemory();

    // Takes a message: the first `encodedSize` bytes of memory(), and in between, at
    // `imageOffset`, the pixels of `image`.
    void set(std::size_t encodedSize, std::size_t imageOffset, const InputImage& image);

    void clear();

private:
    // Enough for a device with a pipeline of a few models and a few masks.
    static constexpr std::size_t kInitialMemory = 16 * 1024;

    std::vector<char> m_encoded = std::vector<char>(kInitialMemory);
    std::size_t m_encodedSize = 0;
    std::size_t m_imageOffset = 0;
    std::size_t m_imageSize = 0;
    InputImage m_image;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
