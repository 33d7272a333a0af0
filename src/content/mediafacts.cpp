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
}

#include <taglib/fileref.h>
#include <taglib/tpropertymap.h>

#include "content/mediainput.h"
#include "naming/dateformats.h"
#include "naming/valuevariants.h"

namespace Nomly {

namespace {

// Reading the facts takes at most this long.
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

void readStreams(const QString &path, const QString &datePattern, PatternFileMetadata &metadata)
{
    const std::optional<MediaInput> file = MediaInput::open(path, QDeadlineTimer(ProbeMilliseconds));
    if (!file)
        return;
    AVFormatContext *context = file->context();
    if (const std::optional<double> seconds = file->durationSeconds()) {
        metadata.durationSeconds = *seconds;
        metadata.duration = MediaText::duration(*seconds);
    }
    if (context->bit_rate > 0)
        metadata.bitrate = MediaText::bitrate(double(context->bit_rate));
    const int video = file->videoStream();
    if (video >= 0) {
        const AVStream *stream = context->streams[video];
        int width = stream->codecpar->width;
        int height = stream->codecpar->height;
        // A clip filmed upright is stored on its side with a rotation.
        if (file->videoRotation() % 180 == 90)
            std::swap(width, height);
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
    const int audio = file->audioStream();
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

void readMediaFacts(const QString &path, const QString &datePattern, PatternFileMetadata &metadata)
{
    readStreams(path, datePattern, metadata);
    readTags(path, metadata);
}

bool carriesVideo(const QString &path)
{
    const std::optional<MediaInput> file = MediaInput::open(path, QDeadlineTimer(ProbeMilliseconds));
    return file && file->videoStream() >= 0;
}

} // namespace Nomly
