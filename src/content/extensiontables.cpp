#include "content/extensiontables.h"

#include <QFileInfo>
#include <QMimeDatabase>
#include <QMimeType>
#include <array>
#include <utility>

#include "platform/fileidentity.h"

namespace Nomly {

namespace {

QStringList words(const char16_t *text)
{
    return QString::fromUtf16(text).split(u' ', Qt::SkipEmptyParts);
}

constexpr std::array<std::pair<const char16_t *, const char16_t *>, 30> MediaMimeTypes { {
    { u"mp4", u"video/mp4" },
    { u"m4v", u"video/mp4" },
    { u"mov", u"video/quicktime" },
    { u"qt", u"video/quicktime" },
    { u"3gp", u"video/3gpp" },
    { u"3gpp", u"video/3gpp" },
    { u"3g2", u"video/3gpp2" },
    { u"3gp2", u"video/3gpp2" },
    { u"mpeg", u"video/mpeg" },
    { u"mpg", u"video/mpeg" },
    { u"m2v", u"video/mpeg2" },
    { u"dv", u"video/x-dv" },
    { u"ts", u"video/mp2t" },
    { u"mts", u"video/mp2t" },
    { u"m2ts", u"video/mp2t" },
    { u"vob", u"video/dvd" },
    { u"mp3", u"audio/mpeg" },
    { u"mpga", u"audio/mpeg" },
    { u"m4a", u"audio/mp4" },
    { u"wav", u"audio/wav" },
    { u"flac", u"audio/flac" },
    { u"ogg", u"audio/ogg" },
    { u"webm", u"audio/webm" },
    // Kinds common on Linux.
    { u"mkv", u"video/x-matroska" },
    { u"avi", u"video/x-msvideo" },
    { u"ogv", u"video/ogg" },
    { u"opus", u"audio/opus" },
    { u"oga", u"audio/ogg" },
    { u"aac", u"audio/aac" },
    { u"wma", u"audio/x-ms-wma" },
} };

} // namespace

const QStringList &extensionsOf(ExtensionSet set)
{
    static const std::array<QStringList, 18> Sets {
        words(u"txt md eml log xml yaml yml"),
        words(u"srt vtt"),
        words(u"json"),
        words(u"csv tsv"),
        words(u"rtf"),
        words(u"odt ods odp"),
        words(u"docx docm dotx dotm"),
        words(u"xlsx xlsm xltx xltm"),
        words(u"pptx pptm potx potm ppsx ppsm"),
        words(u"doc ppt xls"),
        words(u"pages numbers key"),
        words(u"mp4 mov qt m4v 3gp 3gpp 3g2 3gp2 mpeg mpg m2v dv ts mts m2ts vob mkv avi ogv"),
        words(u"mp3 m4a wav flac ogg webm mpga opus oga aac wma"),
        words(u"avif bmp gif heic heif jpg jpeg png tif tiff webp"),
        words(u"html htm xhtml"),
        words(u"epub"),
        words(u"mbox"),
        words(u"ass ssa"),
    };
    return Sets.at(static_cast<size_t>(set));
}

QString mediaMimeType(const QString &extension)
{
    for (const auto &[name, mime] : MediaMimeTypes) {
        if (extension == QStringView(name))
            return QString::fromUtf16(mime);
    }
    return {};
}

QString normalizedExtension(QString extension)
{
    extension = extension.trimmed();
    while (extension.startsWith(u'.'))
        extension.remove(0, 1);
    while (extension.endsWith(u'.'))
        extension.chop(1);
    return extension.toLower();
}

QString documentMimeType(const QString &extension)
{
    static const QMimeDatabase database;
    const QList<QMimeType> types = database.mimeTypesForFileName(QStringLiteral("file.") + extension);
    return types.isEmpty() ? QStringLiteral("text/plain") : types.first().name();
}

QString dispatchExtension(const QString &path)
{
    // The file name's own last dot decides; a name ending in blanks or dots
    // ("report.PDF. ") still has its extension found.
    QString name = QFileInfo(path).fileName().trimmed();
    while (name.endsWith(u'.'))
        name.chop(1);
    const qsizetype dot = name.lastIndexOf(u'.');
    return dot <= 0 ? QString() : normalizedExtension(name.mid(dot + 1));
}

QString contentExtension(const QString &path)
{
    if (QString extension = dispatchExtension(path); !extension.isEmpty())
        return extension;
    // Only a regular file is opened to look at its first bytes.
    if (!leadsToRegularFile(path))
        return {};
    const QMimeType type = QMimeDatabase().mimeTypeForFile(path, QMimeDatabase::MatchContent);
    if (type.inherits(QStringLiteral("application/pdf")))
        return QStringLiteral("pdf");
    if (type.inherits(QStringLiteral("message/rfc822")))
        return QStringLiteral("eml");
    if (type.inherits(QStringLiteral("application/mbox")))
        return QStringLiteral("mbox");
    const QString name = type.name();
    if (name.startsWith(u"image/") || name.startsWith(u"audio/") || name.startsWith(u"video/")) {
        // The first of the type's own suffixes that a reader here knows.
        for (const QString &suffix : type.suffixes()) {
            const QString candidate = normalizedExtension(suffix);
            if (isIn(ExtensionSet::Video, candidate) || isIn(ExtensionSet::Audio, candidate)
                || isIn(ExtensionSet::EmbeddedImage, candidate))
                return candidate;
        }
        return {};
    }
    if (type.inherits(QStringLiteral("text/plain")))
        return QStringLiteral("txt");
    return {};
}

} // namespace Nomly
