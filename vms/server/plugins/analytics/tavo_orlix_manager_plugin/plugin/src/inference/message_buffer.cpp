#include "inference/message_buffer.h"

#include "inference/protocol.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

void MessageBuffer::copyTo(char* target, CopyWay way) const
{
    SharedCopy copy(target, way);
    copy.append(m_encoded.data(), m_imageOffset);
    const std::size_t rowSize = std::size_t{m_image.width} * protocol::kChannels;
    if (m_image.lineSize == rowSize)
    {
        copy.append(m_image.pixels, m_imageSize);
    }
    else
    {
        for (std::size_t row = 0; row < m_image.height; ++row)
            copy.append(m_image.pixels + row * m_image.lineSize, rowSize);
    }
    copy.append(m_encoded.data() + m_imageOffset, m_encodedSize - m_imageOffset);
}

void MessageBuffer::growMemory()
{
    m_encoded = std::vector<char>(m_encoded.size() * 2);
}

void MessageBuffer::set(std::size_t encodedSize, std::size_t imageOffset, const InputImage& image)
{
    m_encodedSize = encodedSize;
    m_imageOffset = imageOffset;
    m_imageSize = std::size_t{image.width} * protocol::kChannels * image.height;
    m_image = image;
}

void MessageBuffer::clear()
{
    set(0, 0, InputImage{});
}

} // namespace tavo::vms_server_plugins::analytics::orlix
