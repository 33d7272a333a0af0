#include "content/videoframesampler.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUuid>
#include <algorithm>
#include <cerrno>
#include <cstring>

#include <unistd.h>

#include "content/imagecompressionservice.h"
#include "content/videoframereader.h"
#include "platform/logcategories.h"

namespace Nomly {

namespace {

constexpr double ShortestDuration = 0.1;
constexpr double EdgeMargin = 0.05;
constexpr qint64 HeaderBytes = 64;
constexpr qint64 ShortestHeader = 12;

QString secondsText(double seconds)
{
    return QString::number(seconds, 'f', 2) + u's';
}

VideoFrameSamples generated(
    const QString &path, int count, int target, double quality, QDeadlineTimer deadline, std::stop_token stop)
{
    Result<VideoFrameReader> opened = VideoFrameReader::open(path, deadline, std::move(stop));
    if (!opened) {
        if (opened.failure().code == VideoFrameReader::NoVideoTrack)
            qCInfo(lcProcessing).noquote() << "No video track found:" << path;
        else
            qCWarning(lcProcessing).noquote() << "Failed to inspect video:" << path << opened.error();
        return {};
    }
    VideoFrameReader &reader = opened.value();
    const std::optional<double> duration = reader.durationSeconds();
    if (!duration) {
        qCWarning(lcProcessing).noquote() << "Invalid video duration:" << path;
        return {};
    }
    VideoFrameSamples samples;
    for (const double seconds : VideoFrameSampler::timestamps(*duration, count)) {
        const Result<DecodedVideoFrame> frame = reader.frameAt(seconds, VideoFrameSampler::ToleranceSeconds, target);
        std::optional<QByteArray> jpeg;
        if (frame)
            jpeg = ImageCompressionService::resizeImage(frame.value().image, target, quality);
        if (!jpeg) {
            qCWarning(lcProcessing).noquote()
                << "Failed to extract video frame at" << secondsText(seconds) + u':' << path
                << (frame ? QStringLiteral("JPEG encoding failed") : frame.error());
            if (reader.interrupted())
                break;
            continue;
        }
        samples.frames.append(VideoFramePreview { *jpeg, frame.value().seconds });
    }
    if (samples.frames.isEmpty()) {
        qCWarning(lcProcessing).noquote() << "No usable video frames generated:" << path;
        return {};
    }
    samples.durationSeconds = duration;
    return samples;
}

// The extension a movie's header names when it names another than the
// file's own: "mov" for a QuickTime brand, else "mp4".
std::optional<QString> headerExtension(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    const QByteArray header = file.read(HeaderBytes);
    if (header.size() < ShortestHeader || header.mid(4, 4) != "ftyp")
        return std::nullopt;
    const QString brands = QString::fromLatin1(header.mid(8)).toLower();
    const QString extension = brands.contains(u"qt") ? QStringLiteral("mov") : QStringLiteral("mp4");
    if (QFileInfo(path).suffix().toLower() == extension)
        return std::nullopt;
    return extension;
}

// The file under the extension its header names, in a folder of its own
// that is removed before returning.
VideoFrameSamples aliasRecovered(
    const QString &path, int count, int target, double quality, QDeadlineTimer deadline, std::stop_token stop)
{
    const std::optional<QString> extension = headerExtension(path);
    if (!extension)
        return {};
    const QString folderPath
        = QDir(QDir::tempPath())
              .filePath(QStringLiteral("NomlyVideoPreview-") + QUuid::createUuid().toString(QUuid::WithoutBraces));
    if (!QDir().mkpath(folderPath)) {
        qCWarning(lcProcessing).noquote() << "Failed to create video preview alias:"
                                          << "cannot create" << folderPath;
        return {};
    }
    QDir folder(folderPath);
    const QString alias = folder.filePath(QFileInfo(path).completeBaseName() + u'.' + *extension);
    VideoFrameSamples samples;
    // A hard link costs nothing; across file systems a symbolic link does
    // the same. Never a copy: a large video would fill the temporary folder
    // and outlive a killed process.
    const bool linked = ::link(QFile::encodeName(path).constData(), QFile::encodeName(alias).constData()) == 0;
    const QString linkError = linked ? QString() : QString::fromLocal8Bit(std::strerror(errno));
    QFile original(QFileInfo(path).absoluteFilePath());
    if (linked || original.link(alias)) {
        samples = generated(alias, count, target, quality, deadline, std::move(stop));
    } else {
        qCWarning(lcProcessing).noquote()
            << "Failed to create video preview alias:" << linkError + u';' << original.errorString();
    }
    folder.removeRecursively();
    if (!samples.frames.isEmpty())
        qCInfo(lcProcessing).noquote() << "Recovered video preview via" << *extension << "alias:" << path;
    return samples;
}

VideoFrameSamples thumbnailRecovered(const QString &path, int target, double quality)
{
    const std::optional<QImage> thumbnail = ImageCompressionService::desktopThumbnail(path);
    if (!thumbnail) {
        qCInfo(lcProcessing).noquote() << "Desktop video thumbnail failed:"
                                       << "no fresh thumbnail in the cache for" << path;
        return {};
    }
    const std::optional<QByteArray> jpeg = ImageCompressionService::resizeImage(*thumbnail, target, quality);
    if (!jpeg) {
        qCWarning(lcProcessing).noquote() << "Desktop thumbnail could not be encoded:" << path;
        return {};
    }
    qCInfo(lcProcessing).noquote() << "Recovered video preview via desktop thumbnail:" << path;
    return VideoFrameSamples { { VideoFramePreview { *jpeg, 0 } }, std::nullopt };
}

} // namespace

QList<double> VideoFrameSampler::fractions(int count)
{
    switch (count) {
    case 1:
        return { 0.5 };
    case 2:
        return { 0.25, 0.75 };
    case 3:
        return { 0.15, 0.5, 0.85 };
    case 4:
        return { 0.1, 0.35, 0.6, 0.85 };
    default:
        if (count < 1)
            return {};
        return { 0.08, 0.28, 0.5, 0.72, 0.92 };
    }
}

QList<double> VideoFrameSampler::timestamps(double durationSeconds, int count)
{
    const double duration = std::max(durationSeconds, ShortestDuration);
    const double latest = std::max(duration - EdgeMargin, EdgeMargin);
    QList<double> positions;
    for (const double fraction : fractions(count))
        positions.append(std::clamp(duration * fraction, EdgeMargin, latest));
    return positions;
}

VideoFrameSamples VideoFrameSampler::sample(
    const QString &path, int count, int target, double quality, std::stop_token stop)
{
    if (count < 1)
        return {};
    if (!QFileInfo::exists(path)) {
        qCWarning(lcProcessing).noquote() << "Video file not found:" << path;
        return {};
    }
    const QDeadlineTimer deadline(TimeLimitMs);
    VideoFrameSamples samples = generated(path, count, target, quality, deadline, stop);
    if (samples.frames.isEmpty() && !stop.stop_requested())
        samples = aliasRecovered(path, count, target, quality, deadline, stop);
    if (samples.frames.isEmpty() && !stop.stop_requested())
        samples = thumbnailRecovered(path, target, quality);
    return samples;
}

} // namespace Nomly
