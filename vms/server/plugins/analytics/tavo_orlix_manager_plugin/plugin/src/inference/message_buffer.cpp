#include "inference/message_buffer.h"

#include "inference/protocol.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

void MessageBuffer::growMemory()
{
    clear();
    m_encoded = std::vector<char>(m_encoded.size() * 2);
}

void MessageBuffer::set(std::size_t encodedSize, std::size_t imageOffset, const InputImage& image)
{
    clear();
    add(m_encoded.data(), imageOffset);
    const std::size_t rowSize = std::size_t{image.width} * protocol::kChannels;
    if (image.lineSize == rowSize)
        add(image.pixels, rowSize * image.height);
    else
        for (std::size_t row = 0; row < image.height; ++row)
            add(image.pixels + row * image.lineSize, rowSize);
    add(m_encoded.data() + imageOffset, encodedSize - imageOffset);
}

void MessageBuffer::clear()
{
    m_pieces.clear();
    m_size = 0;
}

void MessageBuffer::add(const void* data, std::size_t size)
{
    if (size == 0)
        return;
    m_pieces.push_back({data, size});
    m_size += size;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
