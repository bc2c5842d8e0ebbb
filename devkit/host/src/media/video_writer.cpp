#include "media/video_writer.h"

#include <algorithm>
#include <stdexcept>

#include "media/libav.h"

extern "C" {
#include <libavutil/opt.h>
}

namespace tavo::devkit
{

namespace
{

void check(int code, const std::string& what)
{
    if (code < 0)
        throw std::runtime_error(what + ": " + libavErrorText(code));
}

struct OutputDeleter
{
    void operator()(AVFormatContext* context) const
    {
        avio_closep(&context->pb);
        avformat_free_context(context);
    }
};

AVPixelFormat chooseFormat(const AVCodec& codec)
{
    if (!codec.pix_fmts)
        return AV_PIX_FMT_YUV420P;
    for (const AVPixelFormat* format = codec.pix_fmts; *format != AV_PIX_FMT_NONE; ++format)
    {
        if (*format == AV_PIX_FMT_YUV420P)
            return *format;
    }
    return codec.pix_fmts[0];
}

} // namespace

struct VideoWriter::Output
{
    std::string file;
    std::unique_ptr<AVFormatContext, OutputDeleter> context;
    CodecContext encoder;
    AVStream* stream = nullptr; // the context's
    Frame frame{av_frame_alloc()};
    Packet packet{av_packet_alloc()};
    Scaler scaler;
    int64_t firstUs = -1;
    int64_t lastPts = -1; // in the encoder's time base, like the next
    int64_t step = 1; // between the last two pictures

    void openEncoder(int width, int height);
    void encode(const AVFrame* next);
};

void VideoWriter::Output::openEncoder(int width, int height)
{
    const AVOutputFormat* const format = context->oformat;
    const AVCodecID id = av_guess_codec(format, nullptr, file.c_str(), nullptr, AVMEDIA_TYPE_VIDEO);
    const AVCodec* const codec = avcodec_find_encoder(id);
    if (!codec)
        throw std::runtime_error(file + ": there is no encoder for this kind of file");
    encoder.reset(avcodec_alloc_context3(codec));
    encoder->width = std::max(2, width & ~1);
    encoder->height = std::max(2, height & ~1);
    encoder->pix_fmt = chooseFormat(*codec);
    // Containers that know only one distance between pictures would fill finer ones with nothing.
    encoder->time_base =
        format->flags & AVFMT_VARIABLE_FPS ? AVRational{1, 1000} : AVRational{1, 25};
    encoder->thread_count = 1;
    encoder->flags |= AV_CODEC_FLAG_QSCALE; // for codecs that go by it, a good quality
    encoder->global_quality = FF_QP2LAMBDA * 4;
    if (format->flags & AVFMT_GLOBALHEADER)
        encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    av_opt_set(encoder->priv_data, "preset", "veryfast", 0); // where the codec has such a thing
    check(avcodec_open2(encoder.get(), codec, nullptr), file);
}

// Null ends the stream.
void VideoWriter::Output::encode(const AVFrame* next)
{
    check(avcodec_send_frame(encoder.get(), next), file);
    while (true)
    {
        const int code = avcodec_receive_packet(encoder.get(), packet.get());
        if (code == AVERROR(EAGAIN) || code == AVERROR_EOF)
            return;
        check(code, file);
        // Some containers show the last picture only for as long as it says.
        packet->duration = step;
        av_packet_rescale_ts(packet.get(), encoder->time_base, stream->time_base);
        packet->stream_index = stream->index;
        check(av_interleaved_write_frame(context.get(), packet.get()), file);
    }
}

VideoWriter::VideoWriter(const std::string& file, int width, int height) :
    m_output(std::make_unique<Output>())
{
    Output& output = *m_output;
    quietLibav();
    output.file = file;
    AVFormatContext* context = nullptr;
    check(avformat_alloc_output_context2(&context, nullptr, nullptr, file.c_str()), file);
    output.context.reset(context);
    output.openEncoder(width, height);
    output.stream = avformat_new_stream(context, nullptr);
    if (!output.stream)
        throw std::bad_alloc();
    output.stream->time_base = output.encoder->time_base;
    check(avcodec_parameters_from_context(output.stream->codecpar, output.encoder.get()), file);
    check(avio_open(&context->pb, file.c_str(), AVIO_FLAG_WRITE), file);
    check(avformat_write_header(context, nullptr), file);

    output.frame->format = output.encoder->pix_fmt;
    output.frame->width = output.encoder->width;
    output.frame->height = output.encoder->height;
    check(av_frame_get_buffer(output.frame.get(), 0), file);
}

VideoWriter::~VideoWriter() = default;

void VideoWriter::write(const uint8_t* pixels, int width, int height, int lineSize, int64_t timeUs)
{
    Output& output = *m_output;
    AVFrame& frame = *output.frame;
    output.scaler.reset(sws_getCachedContext(
        output.scaler.release(), width, height, AV_PIX_FMT_RGB24, frame.width, frame.height,
        AVPixelFormat(frame.format), SWS_BILINEAR, nullptr, nullptr, nullptr));
    if (!output.scaler)
        throw std::runtime_error(output.file + ": no way to this codec's colours");
    check(av_frame_make_writable(&frame), output.file);
    const uint8_t* const planes[] = {pixels};
    const int lineSizes[] = {lineSize};
    sws_scale(output.scaler.get(), planes, lineSizes, 0, height, frame.data, frame.linesize);

    if (output.firstUs < 0)
        output.firstUs = timeUs;
    const int64_t pts =
        av_rescale_q(timeUs - output.firstUs, {1, 1'000'000}, output.encoder->time_base);
    frame.pts = std::max(pts, output.lastPts + 1);
    if (output.lastPts >= 0)
        output.step = frame.pts - output.lastPts;
    output.lastPts = frame.pts;
    frame.quality = output.encoder->global_quality;
    output.encode(&frame);
}

void VideoWriter::finish()
{
    m_output->encode(nullptr);
    check(av_write_trailer(m_output->context.get()), m_output->file);
}

} // namespace tavo::devkit
