#include "content/mediainput.h"

#include <QFile>
#include <cmath>
#include <utility>

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/display.h>
}

namespace Nomly {

namespace {

// Probing reads at most this much of the file.
constexpr int64_t ProbeBytes = 5'000'000;
constexpr int64_t ProbeMicroseconds = 5'000'000;
// The demuxers of the sound and video kinds Nomly reads.
constexpr const char *ContainerDemuxers = "mov,mp4,m4a,3gp,3g2,mj2,matroska,webm,avi,mpegts,mpeg,mpegvideo,dv,asf,flv,"
                                          "mp3,aac,wav,w64,flac,ogg,aiff,caf,wv,ape,ac3,eac3,amr,mxf,nut";

} // namespace

void quietFFmpeg()
{
    static const bool quiet = [] {
        av_log_set_level(AV_LOG_QUIET);
        return true;
    }();
    Q_UNUSED(quiet);
}

std::optional<MediaInput> MediaInput::open(const QString &path, QDeadlineTimer deadline, std::stop_token stop)
{
    quietFFmpeg();
    MediaInput input;
    input.m_interrupt = std::make_unique<Interrupt>(Interrupt { deadline, std::move(stop) });
    AVFormatContext *context = avformat_alloc_context();
    if (!context)
        return std::nullopt;
    const auto due = [](void *opaque) {
        const auto *interrupt = static_cast<const Interrupt *>(opaque);
        return interrupt->stop.stop_requested() || interrupt->deadline.hasExpired() ? 1 : 0;
    };
    context->interrupt_callback = { due, input.m_interrupt.get() };
    context->probesize = ProbeBytes;
    context->max_analyze_duration = ProbeMicroseconds;
    // Only the file itself, read by the demuxer of a real container: a
    // playlist or concatenation script dressed as a sound file would make
    // the library fetch addresses or read other files of the user's.
    AVDictionary *options = nullptr;
    av_dict_set(&options, "protocol_whitelist", "file", 0);
    av_dict_set(&options, "format_whitelist", ContainerDemuxers, 0);
    const int opened = avformat_open_input(&context, QFile::encodeName(path).constData(), nullptr, &options);
    av_dict_free(&options);
    if (opened < 0)
        return std::nullopt; // the context is freed on failure
    input.m_context = context;
    if (avformat_find_stream_info(context, nullptr) < 0)
        return std::nullopt;
    return input;
}

MediaInput::MediaInput(MediaInput &&other) noexcept
    : m_interrupt(std::move(other.m_interrupt))
    , m_context(std::exchange(other.m_context, nullptr))
{}

MediaInput &MediaInput::operator=(MediaInput &&other) noexcept
{
    if (this != &other) {
        if (m_context)
            avformat_close_input(&m_context);
        m_interrupt = std::move(other.m_interrupt);
        m_context = std::exchange(other.m_context, nullptr);
    }
    return *this;
}

MediaInput::~MediaInput()
{
    if (m_context)
        avformat_close_input(&m_context);
}

bool MediaInput::interrupted() const
{
    return m_interrupt && (m_interrupt->stop.stop_requested() || m_interrupt->deadline.hasExpired());
}

std::optional<double> MediaInput::durationSeconds() const
{
    if (m_context->duration <= 0 || m_context->duration == AV_NOPTS_VALUE)
        return std::nullopt;
    const double seconds = double(m_context->duration) / AV_TIME_BASE;
    return std::isfinite(seconds) && seconds > 0 ? std::optional(seconds) : std::nullopt;
}

int MediaInput::videoStream() const
{
    const int index = av_find_best_stream(m_context, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    // A cover or a thumbnail is a picture, not a video.
    if (index < 0 || (m_context->streams[index]->disposition & AV_DISPOSITION_ATTACHED_PIC))
        return -1;
    return index;
}

int MediaInput::audioStream() const
{
    const int index = av_find_best_stream(m_context, AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
    return index < 0 ? -1 : index;
}

int MediaInput::videoRotation() const
{
    const int index = videoStream();
    if (index < 0)
        return 0;
    size_t size = 0;
    const uint8_t *matrix = av_stream_get_side_data(m_context->streams[index], AV_PKT_DATA_DISPLAYMATRIX, &size);
    if (!matrix || size < 9 * sizeof(int32_t))
        return 0;
    const double counterClockwise = av_display_rotation_get(reinterpret_cast<const int32_t *>(matrix));
    if (!std::isfinite(counterClockwise))
        return 0;
    const long quarters = std::lround(-counterClockwise / 90.0);
    return int(((quarters % 4) + 4) % 4 * 90);
}

} // namespace Nomly
