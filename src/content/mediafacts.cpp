#include "content/mediafacts.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QRegularExpression>
#include <array>
#include <cmath>
#include <initializer_list>
#include <memory>

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/display.h>
}

#include <taglib/fileref.h>
#include <taglib/tpropertymap.h>

#include "naming/dateformats.h"
#include "naming/valuevariants.h"

namespace Nomly {

namespace {

// Probing reads at most this much of the file, for at most this long.
constexpr int64_t ProbeBytes = 5'000'000;
constexpr int ProbeMilliseconds = 5'000;

QString codecName(const AVCodecParameters *parameters)
{
    switch (parameters->codec_id) {
    case AV_CODEC_ID_H264:
        return QStringLiteral("H.264");
    case AV_CODEC_ID_HEVC:
        return QStringLiteral("HEVC");
    case AV_CODEC_ID_MPEG4:
        return QStringLiteral("MPEG-4");
    case AV_CODEC_ID_AAC:
        return QStringLiteral("AAC");
    case AV_CODEC_ID_MJPEG:
        return QStringLiteral("MJPEG");
    default:
        break;
    }
    // The container's four characters where it names them, else the codec.
    if (parameters->codec_tag != 0) {
        const uint32_t tag = parameters->codec_tag;
        const char chars[4] = { char(tag & 0xff), char((tag >> 8) & 0xff), char((tag >> 16) & 0xff), char(tag >> 24) };
        const QString text = QString::fromLatin1(chars, 4).trimmed();
        if (std::all_of(text.cbegin(), text.cend(), [](QChar c) { return c.isPrint(); }) && !text.isEmpty())
            return text;
    }
    return QString::fromLatin1(avcodec_get_name(parameters->codec_id)).toUpper();
}

QString metadataValue(AVDictionary *dictionary, const char *key)
{
    const AVDictionaryEntry *entry = av_dict_get(dictionary, key, nullptr, 0);
    return entry ? QString::fromUtf8(entry->value).trimmed() : QString();
}

// The naming fields the container's own tags fill, each from the first of
// its keys that is there (FFmpeg compares keys in any case). Matroska, WebM
// and QuickTime files keep their title here, where the tag reader below does
// not look.
struct ContainerTag
{
    const char *field;
    std::initializer_list<const char *> keys;
};

const std::array<ContainerTag, 7> ContainerTags { {
    { "artist", { "artist" } },
    { "track_title", { "title" } },
    { "album", { "album" } },
    { "label", { "label", "publisher", "organization" } },
    { "genre", { "genre" } },
    { "musical_key", { "initialkey", "TKEY" } },
    { "bpm", { "bpm", "TBPM" } },
} };

const QRegularExpression &yearExpression()
{
    static const QRegularExpression year(QStringLiteral("\\b(19\\d{2}|20\\d{2})\\b"));
    return year;
}

void readContainerTags(AVDictionary *dictionary, PatternFileMetadata &metadata)
{
    for (const ContainerTag &tag : ContainerTags) {
        for (const char *key : tag.keys) {
            const QString value = metadataValue(dictionary, key);
            if (!value.isEmpty()) {
                metadata.detectedFields.insert(QString::fromLatin1(tag.field), value);
                break;
            }
        }
    }
    const QString year = yearExpression().match(metadataValue(dictionary, "date")).captured(1);
    if (!year.isEmpty())
        metadata.detectedFields.insert(QStringLiteral("release_year"), year);
}

// Whether the stream is a picture, not a video: a cover or a thumbnail.
bool isVideo(const AVStream *stream)
{
    return !(stream->disposition & AV_DISPOSITION_ATTACHED_PIC);
}

// Ends the probe of a file that keeps it waiting.
int interruptWhenLate(void *deadline)
{
    return static_cast<QDeadlineTimer *>(deadline)->hasExpired() ? 1 : 0;
}

// The file opened and its streams found, within the probe's bounds; null
// when it cannot be read.
using ProbedFile = std::unique_ptr<AVFormatContext, void (*)(AVFormatContext *)>;

ProbedFile probed(const QString &path, QDeadlineTimer &deadline)
{
    const auto close = [](AVFormatContext *context) { avformat_close_input(&context); };
    AVFormatContext *context = avformat_alloc_context();
    if (!context)
        return ProbedFile(nullptr, close);
    context->interrupt_callback = { &interruptWhenLate, &deadline };
    context->probesize = ProbeBytes;
    context->max_analyze_duration = int64_t(ProbeMilliseconds) * 1000;
    if (avformat_open_input(&context, QFile::encodeName(path).constData(), nullptr, nullptr) < 0)
        return ProbedFile(nullptr, close); // the context is freed on failure
    ProbedFile file(context, close);
    if (avformat_find_stream_info(context, nullptr) < 0)
        return ProbedFile(nullptr, close);
    return file;
}

void readStreams(const QString &path, const QString &datePattern, PatternFileMetadata &metadata)
{
    QDeadlineTimer deadline(ProbeMilliseconds);
    const ProbedFile file = probed(path, deadline);
    if (!file)
        return;
    AVFormatContext *context = file.get();
    if (context->duration > 0) {
        const double seconds = double(context->duration) / AV_TIME_BASE;
        metadata.durationSeconds = seconds;
        metadata.duration = MediaText::duration(seconds);
    }
    if (context->bit_rate > 0)
        metadata.bitrate = MediaText::bitrate(double(context->bit_rate));
    const int video = av_find_best_stream(context, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (video >= 0 && isVideo(context->streams[video])) {
        const AVStream *stream = context->streams[video];
        int width = stream->codecpar->width;
        int height = stream->codecpar->height;
        // A clip filmed upright is stored on its side with a rotation.
        size_t size = 0;
        const uint8_t *matrix = av_stream_get_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, &size);
        if (matrix && size >= 9 * sizeof(int32_t)) {
            const double rotation = std::abs(av_display_rotation_get(reinterpret_cast<const int32_t *>(matrix)));
            if (std::lround(rotation) % 180 == 90)
                std::swap(width, height);
        }
        if (width >= 1 && height >= 1) {
            metadata.width = QString::number(width);
            metadata.height = QString::number(height);
            metadata.resolution = metadata.width + u'x' + metadata.height;
        }
        const AVRational rate = stream->avg_frame_rate.num > 0 ? stream->avg_frame_rate : stream->r_frame_rate;
        if (rate.num > 0 && rate.den > 0)
            metadata.frameRate = MediaText::frameRate(av_q2d(rate));
        metadata.codec = codecName(stream->codecpar);
    }
    const int audio = av_find_best_stream(context, AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
    if (audio >= 0)
        metadata.audioCodec = codecName(context->streams[audio]->codecpar);

    for (const char *key : { "com.apple.quicktime.creationdate", "creation_time", "date" }) {
        const QString text = metadataValue(context->metadata, key);
        if (const auto when = DateFormats::parseWide(text)) {
            metadata.recordingDate = DateFormats::format(*when, datePattern);
            metadata.detectedFields.insert(QStringLiteral("recording_date"), metadata.recordingDate);
            break;
        }
    }
    readContainerTags(context->metadata, metadata);
}

// The file's tags where the tag reader knows its format; what it finds wins
// over the container's tags. The whole property map, for the basic tag
// leaves out tempo, key and label.
void readTags(const QString &path, PatternFileMetadata &metadata)
{
    const TagLib::FileRef file(QFile::encodeName(path).constData(), false);
    if (file.isNull() || !file.file())
        return;
    const TagLib::PropertyMap properties = file.file()->properties();
    const auto first = [&properties](const char *key) -> QString {
        const auto found = properties.find(key);
        if (found == properties.end() || found->second.isEmpty())
            return {};
        return QString::fromStdString(found->second.front().to8Bit(true)).trimmed();
    };
    const auto put = [&metadata](const char *name, const QString &value) {
        if (!value.isEmpty())
            metadata.detectedFields.insert(QString::fromLatin1(name), value);
    };
    put("artist", first("ARTIST"));
    put("track_title", first("TITLE"));
    put("album", first("ALBUM"));
    QString label = first("LABEL");
    if (label.isEmpty())
        label = first("ORGANIZATION");
    if (label.isEmpty())
        label = first("PUBLISHER");
    put("label", label);
    put("genre", first("GENRE"));
    put("musical_key", first("INITIALKEY"));
    put("bpm", first("BPM"));
    put("release_year", yearExpression().match(first("DATE")).captured(1));
}

} // namespace

namespace MediaText {

QString duration(double seconds)
{
    const long long total = std::max(0LL, std::llround(seconds));
    const long long hours = total / 3600;
    const long long minutes = (total % 3600) / 60;
    const long long rest = total % 60;
    if (total >= 3600)
        return QStringLiteral("%1h%2m%3s")
            .arg(hours)
            .arg(minutes, 2, 10, QLatin1Char('0'))
            .arg(rest, 2, 10, QLatin1Char('0'));
    if (total >= 60)
        return QStringLiteral("%1m%2s").arg(minutes).arg(rest, 2, 10, QLatin1Char('0'));
    return QStringLiteral("%1s").arg(rest);
}

QString bitrate(double bitsPerSecond)
{
    if (!std::isfinite(bitsPerSecond) || bitsPerSecond <= 0)
        return {};
    if (bitsPerSecond >= 1'000'000)
        return formatDecimal(bitsPerSecond / 1'000'000, 1) + u"Mbps";
    if (bitsPerSecond >= 1000)
        return QString::number(std::llround(bitsPerSecond / 1000)) + u"Kbps";
    return QString::number(std::llround(bitsPerSecond)) + u"bps";
}

QString frameRate(double framesPerSecond)
{
    return formatDecimal(framesPerSecond, 2) + u"fps";
}

} // namespace MediaText

namespace {

void quietFFmpeg()
{
    static const bool quiet = [] {
        av_log_set_level(AV_LOG_QUIET);
        return true;
    }();
    Q_UNUSED(quiet);
}

} // namespace

void readMediaFacts(const QString &path, const QString &datePattern, PatternFileMetadata &metadata)
{
    quietFFmpeg();
    readStreams(path, datePattern, metadata);
    readTags(path, metadata);
}

bool carriesVideo(const QString &path)
{
    quietFFmpeg();
    QDeadlineTimer deadline(ProbeMilliseconds);
    const ProbedFile file = probed(path, deadline);
    if (!file)
        return false;
    const int video = av_find_best_stream(file.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    return video >= 0 && isVideo(file->streams[video]);
}

} // namespace Nomly
