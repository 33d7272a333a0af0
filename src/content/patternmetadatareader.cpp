#include "content/patternmetadatareader.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QUrl>
#include <memory>

#include <fcntl.h>
#include <poppler-qt6.h>
#include <sys/stat.h>

#include "content/exiffacts.h"
#include "content/mediafacts.h"
#include "content/officefacts.h"
#include "naming/builtinextensions.h"
#include "naming/dateformats.h"
#include "naming/detectedfields.h"
#include "naming/fieldcatalogue.h"
#include "naming/namingpattern.h"
#include "naming/textfacts.h"
#include "naming/valuevariants.h"
#include "platform/extendedattributes.h"
#include "platform/fileidentity.h"

namespace Nomly {

namespace {

using Fields = QHash<QString, QString>;

// The gate every group of fields passes: only fields the readers own, trimmed,
// none empty; a later group overwrites an earlier one.
void merge(Fields &into, const Fields &group)
{
    for (auto it = group.cbegin(); it != group.cend(); ++it) {
        const QString name = normalizedFieldName(it.key());
        const QString value = it.value().trimmed();
        if (isLocallyReadFieldName(name) && !value.isEmpty())
            into.insert(name, value);
    }
}

QString readText(const QString &path, qint64 limit)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.read(limit));
}

std::optional<QDateTime> birthTime(const QString &path)
{
    struct statx info
    {};

    if (::statx(AT_FDCWD, QFile::encodeName(path).constData(), 0, STATX_BTIME, &info) != 0
        || !(info.stx_mask & STATX_BTIME))
        return std::nullopt;
    return QDateTime::fromMSecsSinceEpoch(qint64(info.stx_btime.tv_sec) * 1000 + info.stx_btime.tv_nsec / 1000000,
                                          Qt::UTC);
}

// What kind of content the file holds, by its extension's family; a
// container that holds either, by the streams found in it.
QString kindType(const QString &extension, const QStringList &imageExtensions, const PatternFileMetadata &metadata)
{
    static const QStringList Video { QStringLiteral("mp4"), QStringLiteral("mov"), QStringLiteral("m4v"),
                                     QStringLiteral("mkv"), QStringLiteral("avi"), QStringLiteral("mpg"),
                                     QStringLiteral("mpeg") };
    static const QStringList Audio { QStringLiteral("mp3"),  QStringLiteral("m4a"), QStringLiteral("wav"),
                                     QStringLiteral("flac"), QStringLiteral("ogg"), QStringLiteral("aac") };
    if (imageExtensions.contains(extension) && extension != u"pdf")
        return QStringLiteral("image");
    if (BuiltInExtensions::audioOrVideo().contains(extension))
        return BuiltInExtensions::kindForFile(metadata);
    if (Video.contains(extension))
        return QStringLiteral("video");
    if (Audio.contains(extension))
        return QStringLiteral("audio");
    return {};
}

// The document's attributes, and its page count into `pages`.
Fields pdfAttributes(const QString &path, QString &pages)
{
    Fields fields;
    static const bool silenced = [] {
        Poppler::setDebugErrorFunction([](const QString &, const QVariant &) {}, QVariant());
        return true;
    }();
    Q_UNUSED(silenced);
    const std::unique_ptr<Poppler::Document> document = Poppler::Document::load(path);
    if (!document || document->isLocked())
        return fields;
    if (document->numPages() > 0)
        pages = QString::number(document->numPages());
    fields.insert(QStringLiteral("author"), document->info(QStringLiteral("Author")));
    fields.insert(QStringLiteral("publisher"), document->info(QStringLiteral("Creator")));
    const QDateTime created = document->date(QStringLiteral("CreationDate"));
    if (created.isValid())
        fields.insert(QStringLiteral("document_date"),
                      DateFormats::format(created.toUTC(), QStringLiteral("yyyy-MM-dd")));
    const Poppler::Document::PdfVersion version = document->getPdfVersion();
    fields.insert(QStringLiteral("version"), QStringLiteral("PDF %1.%2").arg(version.major).arg(version.minor));
    return fields;
}

// The repository, branch and commit of the checkout holding the file.
Fields gitFields(const QString &path)
{
    Fields fields;
    QDir folder = QFileInfo(path).absoluteDir();
    QString gitDir;
    for (int depth = 0; depth < 64; ++depth) {
        const QFileInfo dotGit(folder.filePath(QStringLiteral(".git")));
        if (dotGit.isDir()) {
            gitDir = dotGit.filePath();
            break;
        }
        if (dotGit.isFile()) {
            static const QRegularExpression pointer(QStringLiteral("gitdir:\\s*(.+)"));
            const QString target = pointer.match(readText(dotGit.filePath(), 4096)).captured(1).trimmed();
            if (!target.isEmpty())
                gitDir = QDir(folder).absoluteFilePath(target);
            break;
        }
        if (!folder.cdUp())
            break;
    }
    if (gitDir.isEmpty())
        return fields;
    static const QRegularExpression url(QStringLiteral("(?m)^\\s*url\\s*=\\s*(.+?)\\s*$"));
    // A remote address may carry a user name and token; names never do.
    const QString remote = url.match(readText(gitDir + u"/config", 65536)).captured(1);
    const QUrl parsed(remote);
    fields.insert(QStringLiteral("repository"),
                  parsed.isValid() && !parsed.scheme().isEmpty() ? parsed.toString(QUrl::RemoveUserInfo) : remote);
    const QString head = readText(gitDir + u"/HEAD", 4096).trimmed();
    static const QRegularExpression hash(QStringLiteral("^[0-9a-fA-F]{7,40}$"));
    if (head.startsWith(u"ref: refs/heads/")) {
        const QString ref = head.mid(5);
        fields.insert(QStringLiteral("branch"), ref.mid(11));
        QString commit = readText(gitDir + u'/' + ref, 256).trimmed();
        if (commit.isEmpty()) {
            for (const QString &line : readText(gitDir + u"/packed-refs", 1'000'000).split(u'\n')) {
                if (line.endsWith(u' ' + ref))
                    commit = line.section(u' ', 0, 0);
            }
        }
        if (hash.match(commit).hasMatch())
            fields.insert(QStringLiteral("commit_hash"), commit);
    } else if (hash.match(head).hasMatch()) {
        fields.insert(QStringLiteral("commit_hash"), head);
    }
    return fields;
}

struct NamedFact
{
    const char16_t *name;
    QString PatternFileMetadata::*member;
};

constexpr NamedFact NamedFacts[] = {
    { u"extension", &PatternFileMetadata::fileExtension },
    { u"size", &PatternFileMetadata::size },
    { u"created_date", &PatternFileMetadata::createdDate },
    { u"modified_date", &PatternFileMetadata::modifiedDate },
    { u"parent_folder", &PatternFileMetadata::parentFolder },
    { u"width", &PatternFileMetadata::width },
    { u"height", &PatternFileMetadata::height },
    { u"resolution", &PatternFileMetadata::resolution },
    { u"orientation", &PatternFileMetadata::orientation },
    { u"pages", &PatternFileMetadata::pages },
    { u"currency", &PatternFileMetadata::currency },
    { u"capture_date", &PatternFileMetadata::captureDate },
    { u"capture_time", &PatternFileMetadata::captureTime },
    { u"camera_make", &PatternFileMetadata::cameraMake },
    { u"camera_model", &PatternFileMetadata::cameraModel },
    { u"lens_model", &PatternFileMetadata::lensModel },
    { u"focal_length", &PatternFileMetadata::focalLength },
    { u"focal_length_35mm", &PatternFileMetadata::focalLength35mm },
    { u"aperture", &PatternFileMetadata::aperture },
    { u"shutter_speed", &PatternFileMetadata::shutterSpeed },
    { u"exposure_compensation", &PatternFileMetadata::exposureCompensation },
    { u"iso", &PatternFileMetadata::iso },
    { u"white_balance", &PatternFileMetadata::whiteBalance },
    { u"flash", &PatternFileMetadata::flash },
    { u"duration", &PatternFileMetadata::duration },
    { u"recording_date", &PatternFileMetadata::recordingDate },
    { u"frame_rate", &PatternFileMetadata::frameRate },
    { u"codec", &PatternFileMetadata::codec },
    { u"bitrate", &PatternFileMetadata::bitrate },
    { u"audio_codec", &PatternFileMetadata::audioCodec },
};

} // namespace

QList<std::pair<QString, QString>> PatternMetadataReader::namedValues(const PatternFileMetadata &metadata)
{
    QList<std::pair<QString, QString>> values;
    for (const NamedFact &fact : NamedFacts) {
        const QString &value = metadata.*fact.member;
        if (!value.isEmpty())
            values.append({ QString::fromUtf16(fact.name), value });
    }
    QStringList detected = metadata.detectedFields.keys();
    detected.sort();
    for (const QString &name : std::as_const(detected)) {
        // A fact already listed above wins over its copy in the map.
        const bool listed
            = std::any_of(values.cbegin(), values.cend(), [&name](const auto &entry) { return entry.first == name; });
        if (!listed)
            values.append({ name, metadata.detectedFields.value(name) });
    }
    return values;
}

PatternFileMetadata PatternMetadataReader::read(const QString &path, const PatternMetadataOptions &options)
{
    PatternFileMetadata metadata;
    const QFileInfo file(path);
    const QString extension = file.suffix().toLower();
    metadata.fileExtension = extension;
    metadata.fileExtensionOriginal = file.suffix();
    const QString datePattern = DateFormats::patternForName(options.dateFormat);
    // A FIFO named like a document would block the reader for good.
    if (mayBlockOnRead(path))
        return metadata;

    const bool image = (options.imageExtensions.contains(extension) && extension != u"pdf") || extension == u"psd";
    if (image)
        readExifFacts(path, datePattern, metadata);
    if (BuiltInExtensions::video().contains(extension) || BuiltInExtensions::audio().contains(extension))
        readMediaFacts(path, datePattern, metadata);

    if (const auto born = birthTime(path))
        metadata.createdDate = DateFormats::format(born->toLocalTime(), datePattern);
    if (file.lastModified().isValid())
        metadata.modifiedDate = DateFormats::format(file.lastModified(), datePattern);
    const qint64 bytes = options.sizeBytes.value_or(file.size());
    if (bytes > 0) {
        metadata.sizeBytes = bytes;
        metadata.size = automaticSizeText(bytes);
    }
    metadata.parentFolder = file.absoluteDir().dirName();
    const int width = metadata.width.toInt();
    const int height = metadata.height.toInt();
    if (width > 0 && height > 0)
        metadata.orientation = width == height ? QStringLiteral("Square")
            : width > height                   ? QStringLiteral("Landscape")
                                               : QStringLiteral("Portrait");

    Fields detected = metadata.detectedFields;
    merge(detected, { { QStringLiteral("type"), kindType(extension, options.imageExtensions, metadata) } });
    if (extension == u"pdf")
        merge(detected, pdfAttributes(path, metadata.pages));
    merge(detected, officeDocumentFields(path, extension));
    if (const auto origin = ExtendedAttributes::read(path, "user.xdg.origin.url"); origin && origin.value())
        merge(detected,
              { { QStringLiteral("source"), TextFacts::sourceOfOrigin(QString::fromUtf8(*origin.value())) } });
    const QString fileName = file.fileName();
    const QString bundlePlist = file.isDir()                   ? file.filePath() + u"/Contents/Info.plist"
        : (fileName == u"Info.plist" || extension == u"plist") ? file.filePath()
                                                               : QString();
    if (!bundlePlist.isEmpty())
        merge(detected, TextFacts::bundlePlist(readText(bundlePlist, MaxTextBytes)));
    if (fileName == u"package.json" || fileName == u"Package.swift" || fileName.toLower() == u"pyproject.toml"
        || fileName.toLower() == u"cargo.toml" || extension == u"gemspec")
        merge(detected, TextFacts::codeProject(fileName, readText(path, MaxTextBytes)));
    static const QStringList SourceExtensions { QStringLiteral("swift"),  QStringLiteral("js"),  QStringLiteral("jsx"),
                                                QStringLiteral("ts"),     QStringLiteral("tsx"), QStringLiteral("vue"),
                                                QStringLiteral("svelte"), QStringLiteral("mjs") };
    if (SourceExtensions.contains(extension))
        merge(detected, TextFacts::sourceCode(readText(path, MaxTextBytes)));
    merge(detected, gitFields(path));
    // A mailbox's first message heads it.
    if (extension == u"eml" || extension == u"mbox")
        merge(detected, TextFacts::mailHeaders(readText(path, MaxTextBytes)));
    if (extension == u"svg")
        merge(detected, TextFacts::design(readText(path, MaxTextBytes)));
    merge(detected, { { QStringLiteral("export_scale"), TextFacts::exportScale(file.completeBaseName()) } });
    metadata.detectedFields = DetectedFields::normalized(detected);
    return metadata;
}

} // namespace Nomly
