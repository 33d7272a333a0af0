#include "content/pcmaudio.h"

#include <QFile>
#include <QScopeGuard>
#include <QtEndian>
#include <algorithm>
#include <cmath>
#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswresample/swresample.h>
}

#include "content/mediainput.h"

namespace Nomly {

namespace {

// Guards the buffer against a file that states absurd rates or lengths.
constexpr double MaxDecodedSeconds = 4 * 60 * 60;
constexpr double SeekLeadSeconds = 1.0;

struct CodecContextDeleter
{
    void operator()(AVCodecContext *context) const { avcodec_free_context(&context); }
};

struct ResamplerDeleter
{
    void operator()(SwrContext *context) const { swr_free(&context); }
};

struct FrameDeleter
{
    void operator()(AVFrame *frame) const { av_frame_free(&frame); }
};

struct PacketDeleter
{
    void operator()(AVPacket *packet) const { av_packet_free(&packet); }
};

using CodecContext = std::unique_ptr<AVCodecContext, CodecContextDeleter>;
using Resampler = std::unique_ptr<SwrContext, ResamplerDeleter>;
using Frame = std::unique_ptr<AVFrame, FrameDeleter>;
using Packet = std::unique_ptr<AVPacket, PacketDeleter>;

Failure failure(const char *message)
{
    return Failure { QString::fromLatin1(message) };
}

// Collects resampled sound from the window's start up to its length.
class Collector
{
public:
    Collector(PCMAudio &audio, double startSeconds, size_t wanted)
        : m_audio(audio)
        , m_start(startSeconds)
        , m_wanted(wanted)
    {}

    bool full() const { return m_audio.samples.size() >= m_wanted; }

    // Samples of a frame that begins at `frameSeconds`; those before the
    // window's start are dropped, as the seek lands on an earlier packet.
    void add(const int16_t *samples, int count, double frameSeconds)
    {
        int skip = 0;
        if (frameSeconds < m_start) {
            skip = int(std::min<double>(count, std::floor((m_start - frameSeconds) * m_audio.sampleRate)));
        }
        const size_t room = m_wanted - std::min(m_wanted, m_audio.samples.size());
        const size_t taken = std::min<size_t>(room, size_t(std::max(0, count - skip)));
        m_audio.samples.insert(m_audio.samples.end(), samples + skip, samples + skip + taken);
    }

private:
    PCMAudio &m_audio;
    double m_start;
    size_t m_wanted;
};

} // namespace

Result<PCMAudio> decodeAudio(
    const QString &path, AudioWindow window, int sampleRate, QDeadlineTimer deadline, std::stop_token stop)
{
    if (sampleRate < 1000 || sampleRate > 192'000)
        return failure("unsupported sample rate");
    const std::optional<MediaInput> input = MediaInput::open(path, deadline, stop);
    if (!input)
        return failure("the file cannot be read as sound");
    const int index = input->audioStream();
    if (index < 0)
        return failure("the file has no sound track");
    AVFormatContext *format = input->context();
    AVStream *stream = format->streams[index];
    const AVCodec *codec = avcodec_find_decoder(stream->codecpar->codec_id);
    if (!codec)
        return failure("the sound's codec is not supported");
    CodecContext decoder(avcodec_alloc_context3(codec));
    if (!decoder || avcodec_parameters_to_context(decoder.get(), stream->codecpar) < 0
        || avcodec_open2(decoder.get(), codec, nullptr) < 0)
        return failure("the sound's codec is not supported");
    if (decoder->ch_layout.nb_channels < 1 || decoder->sample_rate < 1)
        return failure("the sound track states no channels or rate");

    // A track may change its rate or layout part-way (joined recordings,
    // broadcasts switching to surround); the resampler follows each change.
    Resampler resampler;
    int inRate = 0;
    AVSampleFormat inFormat = AV_SAMPLE_FMT_NONE;
    AVChannelLayout inLayout {};
    const auto layoutKept = qScopeGuard([&inLayout] { av_channel_layout_uninit(&inLayout); });
    const auto resampling = [&](AVChannelLayout &layout, int sampleFormat, int rate) -> bool {
        if (resampler && rate == inRate && sampleFormat == inFormat
            && av_channel_layout_compare(&layout, &inLayout) == 0)
            return true;
        AVChannelLayout mono = AV_CHANNEL_LAYOUT_MONO;
        SwrContext *made = nullptr;
        if (layout.nb_channels < 1 || rate < 1
            || swr_alloc_set_opts2(
                   &made, &mono, AV_SAMPLE_FMT_S16, sampleRate, &layout, AVSampleFormat(sampleFormat), rate, 0, nullptr)
                < 0)
            return false;
        resampler.reset(made);
        av_channel_layout_uninit(&inLayout);
        if (swr_init(resampler.get()) < 0 || av_channel_layout_copy(&inLayout, &layout) < 0) {
            resampler.reset();
            return false;
        }
        inRate = rate;
        inFormat = AVSampleFormat(sampleFormat);
        return true;
    };
    if (!resampling(decoder->ch_layout, decoder->sample_fmt, decoder->sample_rate))
        return failure("the sound cannot be resampled");

    // Timestamps count from the stream's own origin, which a broadcast
    // recording puts hours in.
    const double origin
        = stream->start_time != AV_NOPTS_VALUE ? double(stream->start_time) * av_q2d(stream->time_base) : 0.0;
    const double start = std::max(0.0, window.startSeconds);
    if (start > 0) {
        // Landing a little early lets decoders that carry state from frame
        // to frame (MP3's reservoir) settle before the window begins.
        const double landing = std::max(0.0, start - SeekLeadSeconds);
        const int64_t target = av_rescale_q(
            int64_t((landing + origin) * AV_TIME_BASE), AVRational { 1, AV_TIME_BASE }, stream->time_base);
        // A file that cannot seek is read from its start; the collector
        // drops what lies before the window.
        if (av_seek_frame(format, index, target, AVSEEK_FLAG_BACKWARD) >= 0)
            avcodec_flush_buffers(decoder.get());
    }

    PCMAudio audio;
    audio.sampleRate = sampleRate;
    audio.startSeconds = start;
    audio.fileDurationSeconds = input->durationSeconds();
    const double length = std::clamp(window.lengthSeconds.value_or(MaxDecodedSeconds), 0.0, MaxDecodedSeconds);
    const size_t wanted = size_t(std::ceil(length * sampleRate));
    audio.samples.reserve(std::min<size_t>(wanted, size_t(sampleRate) * 600));
    Collector collector(audio, start, wanted);

    Packet packet(av_packet_alloc());
    Frame frame(av_frame_alloc());
    if (!packet || !frame)
        return failure("out of memory");
    std::vector<int16_t> converted;
    double nextSeconds = 0;
    const auto drain = [&]() -> bool {
        while (avcodec_receive_frame(decoder.get(), frame.get()) >= 0) {
            const double frameSeconds = frame->best_effort_timestamp != AV_NOPTS_VALUE
                ? double(frame->best_effort_timestamp) * av_q2d(stream->time_base) - origin
                : nextSeconds;
            if (!resampling(frame->ch_layout, frame->format, frame->sample_rate))
                return false;
            const int room = swr_get_out_samples(resampler.get(), frame->nb_samples);
            if (room < 0)
                return false;
            converted.resize(size_t(room));
            uint8_t *out = reinterpret_cast<uint8_t *>(converted.data());
            const int count = swr_convert(
                resampler.get(), &out, room, const_cast<const uint8_t **>(frame->extended_data), frame->nb_samples);
            if (count < 0)
                return false;
            nextSeconds = frameSeconds + double(frame->nb_samples) / inRate;
            collector.add(converted.data(), count, frameSeconds);
            av_frame_unref(frame.get());
            if (collector.full())
                return true;
        }
        return true;
    };

    while (!collector.full()) {
        if (input->interrupted())
            return failure("decoding the sound took too long");
        const int read = av_read_frame(format, packet.get());
        if (read < 0)
            break;
        if (packet->stream_index == index) {
            // A damaged packet is skipped: the rest of the sound still counts.
            if (avcodec_send_packet(decoder.get(), packet.get()) >= 0 && !drain())
                return failure("the sound cannot be resampled");
        }
        av_packet_unref(packet.get());
    }
    if (input->interrupted())
        return failure("decoding the sound took too long");
    if (!collector.full() && avcodec_send_packet(decoder.get(), nullptr) >= 0)
        drain();
    if (audio.samples.empty())
        return failure("the file holds no decodable sound in the window");
    return audio;
}

Result<> writeWave(const PCMAudio &audio, const QString &path)
{
    const quint32 dataBytes = quint32(std::min<size_t>(audio.samples.size() * 2, 0xfff00000u));
    QByteArray header;
    const auto put32 = [&header](quint32 value) {
        const quint32 little = qToLittleEndian(value);
        header.append(reinterpret_cast<const char *>(&little), 4);
    };
    const auto put16 = [&header](quint16 value) {
        const quint16 little = qToLittleEndian(value);
        header.append(reinterpret_cast<const char *>(&little), 2);
    };
    header.append("RIFF", 4);
    put32(36 + dataBytes);
    header.append("WAVEfmt ", 8);
    put32(16);
    put16(1); // integer samples
    put16(1); // one channel
    put32(quint32(audio.sampleRate));
    put32(quint32(audio.sampleRate) * 2);
    put16(2);
    put16(16);
    header.append("data", 4);
    put32(dataBytes);

    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly))
        return Failure { file.errorString() };
    std::vector<int16_t> little(audio.samples.begin(), audio.samples.begin() + dataBytes / 2);
    qToLittleEndian<int16_t>(little.data(), qsizetype(little.size()), little.data());
    const bool written = file.write(header) == header.size()
        && file.write(reinterpret_cast<const char *>(little.data()), qint64(dataBytes)) == qint64(dataBytes)
        && file.flush();
    if (!written) {
        const QString reason = file.errorString();
        file.close();
        file.remove();
        return Failure { reason };
    }
    return {};
}

} // namespace Nomly
