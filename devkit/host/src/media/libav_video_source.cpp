#include <stdexcept>

#include "common/shown_address.h"
#include "media/libav.h"
#include "media/pacing.h"
#include "media/video_source.h"

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

void check(int code, const std::string& url)
{
    if (code < 0)
        throw std::runtime_error(shownAddress(url) + ": " + libavErrorText(code));
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

class LibavVideoSource : public VideoSource
{
public:
    LibavVideoSource(const std::string& url, std::optional<FrameSize> size, std::stop_token stop);

    std::shared_ptr<Picture> next() override;
    int64_t pictureDurationUs() const override;

private:
    [[nodiscard]] bool feedDecoder();
    [[nodiscard]] int64_t placeUs() const;
    [[nodiscard]] std::shared_ptr<Picture> convert();

private:
    std::stop_token m_stop; // before the input, which asks it to its end
    const std::optional<FrameSize> m_size;
    Input m_input;
    int m_index = -1;
    CodecContext m_decoder;
    Packet m_packet{av_packet_alloc()};
    Frame m_frame{av_frame_alloc()};
    Scaler m_scaler; // another one when a picture's shape changes
    PicturePool m_pool;
    bool m_draining = false;
};

// Gives the decoder the stream's next packet, or the word that there is none. False when it has
// had that already.
bool LibavVideoSource::feedDecoder()
{
    if (m_draining)
        return false;
    while (av_read_frame(m_input.get(), m_packet.get()) >= 0)
    {
        const bool isOurs = m_packet->stream_index == m_index;
        if (isOurs)
        {
            // A broken packet costs its pictures.
            avcodec_send_packet(m_decoder.get(), m_packet.get());
        }
        av_packet_unref(m_packet.get());
        if (isOurs)
            return true;
    }
    m_draining = true;
    avcodec_send_packet(m_decoder.get(), nullptr);
    return true;
}

int64_t LibavVideoSource::placeUs() const
{
    const AVStream& stream = *m_input->streams[m_index];
    const int64_t pts = m_frame->best_effort_timestamp;
    if (pts == AV_NOPTS_VALUE)
        return -1;
    const int64_t start = stream.start_time == AV_NOPTS_VALUE ? 0 : stream.start_time;
    return std::max<int64_t>(av_rescale_q(pts - start, stream.time_base, {1, 1'000'000}), 0);
}

std::shared_ptr<Picture> LibavVideoSource::convert()
{
    const int width = m_size ? m_size->width : m_frame->width;
    const int height = m_size ? m_size->height : m_frame->height;
    m_scaler.reset(sws_getCachedContext(
        m_scaler.release(), m_frame->width, m_frame->height, AVPixelFormat(m_frame->format), width,
        height, AV_PIX_FMT_RGB24, SWS_BILINEAR, nullptr, nullptr, nullptr));
    if (!m_scaler)
        return nullptr;
    std::shared_ptr<Picture> picture = m_pool.take(width, height);
    uint8_t* const planes[] = {picture->pixels.data()};
    const int lineSizes[] = {picture->lineSize()};
    sws_scale(
        m_scaler.get(), m_frame->data, m_frame->linesize, 0, m_frame->height, planes, lineSizes);
    picture->mediaUs = placeUs();
    return picture;
}

LibavVideoSource::LibavVideoSource(
    const std::string& url, std::optional<FrameSize> size, std::stop_token stop) :
    m_stop(std::move(stop)),
    m_size(size)
{
    quietLibav();
    m_input = openInput(url, &m_stop);
    check(avformat_find_stream_info(m_input.get(), nullptr), url);
    const AVCodec* codec = nullptr;
    m_index = av_find_best_stream(m_input.get(), AVMEDIA_TYPE_VIDEO, -1, -1, &codec, 0);
    check(m_index, url);
    m_decoder = openDecoder(codec, *m_input->streams[m_index], url);
}

std::shared_ptr<Picture> LibavVideoSource::next()
{
    while (!m_stop.stop_requested())
    {
        const int code = avcodec_receive_frame(m_decoder.get(), m_frame.get());
        if (code == 0)
        {
            std::shared_ptr<Picture> picture = convert();
            av_frame_unref(m_frame.get());
            return picture;
        }
        if (code != AVERROR(EAGAIN) || !feedDecoder())
            return nullptr;
    }
    return nullptr;
}

int64_t LibavVideoSource::pictureDurationUs() const
{
    constexpr int64_t kUnknownUs = 40'000;
    const AVRational rate = m_input->streams[m_index]->avg_frame_rate;
    return rate.num > 0 && rate.den > 0 ? av_rescale(1'000'000, rate.den, rate.num) : kUnknownUs;
}

} // namespace

std::unique_ptr<VideoSource> openDecodedVideo(
    const std::string& url, std::optional<FrameSize> size, std::stop_token stop)
{
    return std::make_unique<LibavVideoSource>(url, size, std::move(stop));
}

} // namespace tavo::devkit
