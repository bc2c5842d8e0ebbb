#include <tavo/sdk/helpers/uuid.h>

#include <array>
#include <charconv>
#include <cstring>
#include <mutex>
#include <span>

#include <tavo/sdk/helpers/random_bytes.h>

namespace tavo::sdk
{

namespace
{

constexpr size_t kMinTextSize = 32;

// The letter r stands where one would expect the carriage return, as in the host.
constexpr std::string_view kSkipped = "\t\n r-{}";

// Asks the system for many bytes at once: new ids are made on the road of a result, where a system
// call for each would be the larger part of the work.
class RandomUuidSource
{
public:
    Uuid next()
    {
        Uuid result;
        const std::lock_guard lock(m_mutex);
        if (m_unused.empty())
        {
            fillWithRandomBytes(m_bytes);
            m_unused = m_bytes;
        }
        std::memcpy(result.bytes, m_unused.data(), sizeof result.bytes);
        m_unused = m_unused.subspan(sizeof result.bytes);
        return result;
    }

private:
    std::mutex m_mutex; // leaf, over all below
    std::array<std::uint8_t, 16 * 16> m_bytes;
    std::span<const std::uint8_t> m_unused; // of these
};

} // namespace

Uuid uuidFromText(const char* text)
{
    return text ? uuidFromText(std::string_view(text)) : Uuid{};
}

Uuid uuidFromText(std::string_view text)
{
    if (text.size() < kMinTextSize)
        return {};

    Uuid result;
    size_t byteCount = 0;
    for (size_t i = 0; i < text.size(); ++i)
    {
        if (kSkipped.find(text[i]) != std::string_view::npos)
            continue;
        if (byteCount == sizeof result.bytes || i + 1 == text.size())
            return {};
        const char* const pair = text.data() + i++;
        if (std::from_chars(pair, pair + 2, result.bytes[byteCount++], 16).ptr != pair + 2)
            return {};
    }
    return byteCount == sizeof result.bytes ? result : Uuid{};
}

Uuid randomUuid()
{
    static RandomUuidSource source;
    Uuid result = source.next();
    result.bytes[6] = static_cast<std::uint8_t>((result.bytes[6] & 0x0F) | 0x40); // version 4
    result.bytes[8] = static_cast<std::uint8_t>((result.bytes[8] & 0x3F) | 0x80); // variant
    return result;
}

std::string toText(const Uuid& uuid)
{
    constexpr char kDigits[] = "0123456789abcdef";
    constexpr size_t kTextSize = 36;

    std::string text;
    text.reserve(kTextSize);
    for (size_t i = 0; i < sizeof uuid.bytes; ++i)
    {
        if (i == 4 || i == 6 || i == 8 || i == 10)
            text += '-';
        text += kDigits[uuid.bytes[i] >> 4];
        text += kDigits[uuid.bytes[i] & 0x0F];
    }
    return text;
}

} // namespace tavo::sdk
