#pragma once

#include <memory>
#include <string>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavdevice/avdevice.h>
#include <libavformat/avformat.h>
#include <libavutil/imgutils.h>
#include <libswscale/swscale.h>
}

// Owners for libav's objects, and what it says.

namespace tavo::devkit
{

struct LibavDeleter
{
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(SwsContext* context) const { sws_freeContext(context); }
};

using CodecContext = std::unique_ptr<AVCodecContext, LibavDeleter>;
using Frame = std::unique_ptr<AVFrame, LibavDeleter>;
using Packet = std::unique_ptr<AVPacket, LibavDeleter>;
using Scaler = std::unique_ptr<SwsContext, LibavDeleter>;

// Leaves what fails for good to the exceptions, and broken pictures to the eye.
inline void quietLibav()
{
    av_log_set_level(AV_LOG_FATAL);
}

[[nodiscard]] inline std::string libavErrorText(int code)
{
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, text, sizeof(text));
    return text;
}

} // namespace tavo::devkit
