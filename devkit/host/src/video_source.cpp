#include "video_source.h"

#include <stdexcept>

#include "libav.h"
#include "pacing.h"

namespace tavo::devkit
{

namespace
{

struct InputDeleter
{
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};

using Input = std::unique_ptr<AVFormatContext, InputDeleter>;

// Asked by libav in the middle of its waits.
int isStopRequested(void* stop)
{
    return static_cast<std::stop_token*>(stop)->stop_requested() ? 1 : 0;
}

void check(int code, const std::string& what)
{
    if (code < 0)
        throw std::runtime_error(what + ": " + libavErrorText(code));
}

bool isMachineCamera(const std::string& url)
{
    return url.starts_with("/dev/video");
}

// What libav cannot tell from the name itself; null where it can.
const AVInputFormat* formatOf(const std::string& url)
{
    if (!isMachineCamera(url))
        return nullptr;
    avdevice_register_all();
    return av_find_input_format("v4l2");
}

Input openInput(const std::string& url, std::stop_token* stop)
{
    AVFormatContext* context = avformat_alloc_context();
    if (!context)
        throw std::bad_alloc();
    context->interrupt_callback = {&isStopRequested, stop};

    AVDictionary* options = nullptr;
    // Over TCP a picture arrives whole or not at all. Other protocols leave both entries alone.
    av_dict_set(&options, "rtsp_transport", "tcp", 0);
    av_dict_set(&options, "timeout", "10000000", 0); // us
    const int code = avformat_open_input(&context, url.c_str(), formatOf(url), &options);
    av_dict_free(&options);
    check(code, url); // a failed opening has freed the context
    return Input(context);
}

CodecContext openDecoder(const AVCodec* codec, const AVStream& stream, const std::string& url)
{
    CodecContext decoder(avcodec_alloc_context3(codec));
    if (!decoder)
        throw std::bad_alloc();
    check(avcodec_parameters_to_context(decoder.get(), stream.codecpar), url);
    decoder->pkt_timebase = stream.time_base;
    check(avcodec_open2(decoder.get(), codec, nullptr), url);
    return decoder;
}

} // namespace

struct VideoSource::Stream
{
    std::stop_token stop; // before the input, which asks it to its end
    std::optional<FrameSize> size;
    Input input;
    int index = -1;
    CodecContext decoder;
    Packet packet{av_packet_alloc()};
    Frame frame{av_frame_alloc()};
    Scaler scaler; // another one when a picture's shape changes
    PicturePool pool;
    bool draining = false;

    [[nodiscard]] bool feedDecoder();
    [[nodiscard]] int64_t placeUs() const;
    [[nodiscard]] std::shared_ptr<Picture> convert();
};

// Gives the decoder the stream's next packet, or the word that there is none. False when it has had
// that already.
bool VideoSource::Stream::feedDecoder()
{
    if (draining)
        return false;
    while (av_read_frame(input.get(), packet.get()) >= 0)
    {
        const bool isOurs = packet->stream_index == index;
        if (isOurs)
            avcodec_send_packet(decoder.get(), packet.get()); // a broken packet costs its pictures
        av_packet_unref(packet.get());
        if (isOurs)
            return true;
    }
    draining = true;
    avcodec_send_packet(decoder.get(), nullptr);
    return true;
}

int64_t VideoSource::Stream::placeUs() const
{
    const AVStream& stream = *input->streams[index];
    const int64_t pts = frame->best_effort_timestamp;
    if (pts == AV_NOPTS_VALUE)
        return -1;
    const int64_t start = stream.start_time == AV_NOPTS_VALUE ? 0 : stream.start_time;
    return std::max<int64_t>(av_rescale_q(pts - start, stream.time_base, {1, 1'000'000}), 0);
}

std::shared_ptr<Picture> VideoSource::Stream::convert()
{
    const int width = size ? size->width : frame->width;
    const int height = size ? size->height : frame->height;
    scaler.reset(sws_getCachedContext(
        scaler.release(), frame->width, frame->height, AVPixelFormat(frame->format), width, height,
        AV_PIX_FMT_RGB24, SWS_BILINEAR, nullptr, nullptr, nullptr));
    if (!scaler)
        return nullptr;
    const std::shared_ptr<Picture> picture = pool.take(width, height);
    uint8_t* const planes[] = {picture->pixels.data()};
    const int lineSizes[] = {picture->lineSize()};
    sws_scale(scaler.get(), frame->data, frame->linesize, 0, frame->height, planes, lineSizes);
    picture->mediaUs = placeUs();
    return picture;
}

VideoSource::VideoSource(
    const std::string& url, std::optional<FrameSize> size, std::stop_token stop) :
    m_stream(std::make_unique<Stream>())
{
    Stream& stream = *m_stream;
    quietLibav();
    stream.stop = std::move(stop);
    stream.size = size;
    stream.input = openInput(url, &stream.stop);
    check(avformat_find_stream_info(stream.input.get(), nullptr), url);
    const AVCodec* codec = nullptr;
    stream.index = av_find_best_stream(stream.input.get(), AVMEDIA_TYPE_VIDEO, -1, -1, &codec, 0);
    check(stream.index, url);
    stream.decoder = openDecoder(codec, *stream.input->streams[stream.index], url);
}

VideoSource::~VideoSource() = default;

std::shared_ptr<Picture> VideoSource::next()
{
    Stream& stream = *m_stream;
    while (!stream.stop.stop_requested())
    {
        const int code = avcodec_receive_frame(stream.decoder.get(), stream.frame.get());
        if (code == 0)
        {
            std::shared_ptr<Picture> picture = stream.convert();
            av_frame_unref(stream.frame.get());
            return picture;
        }
        if (code != AVERROR(EAGAIN) || !stream.feedDecoder())
            return nullptr;
    }
    return nullptr;
}

int64_t VideoSource::pictureDurationUs() const
{
    constexpr int64_t kUnknownUs = 40'000;
    const AVRational rate = m_stream->input->streams[m_stream->index]->avg_frame_rate;
    return rate.num > 0 && rate.den > 0 ? av_rescale(1'000'000, rate.den, rate.num) : kUnknownUs;
}

bool isLive(const std::string& url)
{
    return isMachineCamera(url) ||
        (url.find("://") != std::string::npos && !url.starts_with("file:"));
}

} // namespace tavo::devkit
