#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "common/frame_reader.h"

namespace tavo::devkit
{
namespace
{

std::string record(const std::string& body)
{
    const auto size = static_cast<std::uint32_t>(body.size());
    return std::string(reinterpret_cast<const char*>(&size), sizeof size) + body;
}

// What comes out when the stream arrives in pieces of `piece` bytes.
std::vector<std::string> readInPieces(
    FrameReader& reader, const std::string& stream, std::size_t piece)
{
    std::vector<std::string> bodies;
    for (std::size_t at = 0; at < stream.size();)
    {
        const std::span<char> room = reader.room();
        const std::size_t count = std::min({piece, room.size(), stream.size() - at});
        std::memcpy(room.data(), stream.data() + at, count);
        reader.written(count);
        at += count;
        while (const auto body = reader.next())
            bodies.emplace_back(body->begin(), body->end());
        if (reader.isRefused())
            break;
    }
    return bodies;
}

TEST(FrameReader, recordsComeOutHoweverTheyCameIn)
{
    const std::vector<std::string> bodies = {
        "first", "", std::string(5000, 'x'), "y", std::string(65536, 'z'), "last"};
    std::string stream;
    for (const std::string& body : bodies)
        stream += record(body);
    for (const std::size_t piece : {1, 3, 4, 5, 1000, 4096, 100'000})
    {
        SCOPED_TRACE(piece);
        FrameReader reader(65536);
        EXPECT_EQ(readInPieces(reader, stream, piece), bodies);
        EXPECT_FALSE(reader.isRefused());
    }
}

TEST(FrameReader, aSizeBeyondTheBoundIsRefusedBehindWholeRecords)
{
    FrameReader reader(10);
    const std::string stream = record("good") + record(std::string(11, 'x'));
    EXPECT_EQ(readInPieces(reader, stream, 1000), std::vector<std::string>{"good"});
    EXPECT_TRUE(reader.isRefused());
    EXPECT_LT(reader.room().size(), 4096u); // no memory was taken for it
}

} // namespace
} // namespace tavo::devkit
