#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace tavo::devkit
{

// Writes a video. The file's name says in which container, and that which codec. One thread.
class VideoWriter
{
public:
    // `width` and `height` are those of the first picture; the video has them, made even.
    // Throws std::runtime_error when the file cannot be written.
    VideoWriter(const std::string& file, int width, int height);

    // Without finish the file may lack its end.
    ~VideoWriter();

    // RGB, 3 bytes a pixel, rows `lineSize` bytes apart; another size is scaled. `timeUs` is the
    // picture's place in the video, rising. Throws std::runtime_error.
    void write(const uint8_t* pixels, int width, int height, int lineSize, int64_t timeUs);

    // Writes what the encoder still holds and the file's end. Throws std::runtime_error.
    void finish();

private:
    struct Output;
    std::unique_ptr<Output> m_output;
};

} // namespace tavo::devkit
