#include "naming/builtinextensions.h"

namespace Nomly {

namespace {

QStringList listOf(QStringView spaceSeparated)
{
    QStringList list;
    for (QStringView entry : spaceSeparated.split(u' ', Qt::SkipEmptyParts))
        list.append(entry.toString());
    return list;
}

} // namespace

const QStringList &BuiltInExtensions::image()
{
    static const QStringList list = listOf(
        u"png jpg jpeg jpe webp avif gif bmp dib tiff tif heic heics heif svg pdf jp2 jpf jpx j2k j2c exr tga ico "
        u"icns pbm pgm ppm pfm cr2 cr3 nef arw dng orf raf rw2 pef srw sr2 raw");
    return list;
}

const QStringList &BuiltInExtensions::design()
{
    static const QStringList list = listOf(u"sketch fig ai psd");
    return list;
}

const QStringList &BuiltInExtensions::document()
{
    static const QStringList list = listOf(
        u"txt md json eml csv tsv log xml yaml yml srt vtt rtf odt ods odp pages numbers key doc docx docm dotx "
        u"dotm ppt pptx pptm potx potm ppsx ppsm xls xlsx xlsm xltx xltm html htm xhtml epub mbox ass ssa");
    return list;
}

// With the containers common on Linux after the shared ones.
const QStringList &BuiltInExtensions::video()
{
    static const QStringList list
        = listOf(u"mp4 mov qt m4v mpeg mpg m2v 3gp 3gpp 3g2 3gp2 dv ts mts m2ts vob mkv avi ogv");
    return list;
}

const QStringList &BuiltInExtensions::audio()
{
    static const QStringList list = listOf(u"mp3 m4a wav flac ogg webm mpga opus oga aac wma");
    return list;
}

const QStringList &BuiltInExtensions::audioOrVideo()
{
    static const QStringList list = listOf(u"webm");
    return list;
}

QString BuiltInExtensions::kindForExtension(const QString &extension)
{
    const QString lowered = extension.toLower();
    if (design().contains(lowered))
        return QStringLiteral("design");
    if (image().contains(lowered))
        return QStringLiteral("image");
    if (video().contains(lowered))
        return QStringLiteral("video");
    if (audio().contains(lowered))
        return QStringLiteral("audio");
    if (document().contains(lowered))
        return QStringLiteral("document");
    return QStringLiteral("file");
}

QString BuiltInExtensions::kindForFile(const PatternFileMetadata &metadata)
{
    if (audioOrVideo().contains(metadata.fileExtension) && !metadata.codec.isEmpty())
        return QStringLiteral("video");
    return kindForExtension(metadata.fileExtension);
}

} // namespace Nomly
