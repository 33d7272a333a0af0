#include "ai/remoteconfig.h"

namespace Nomly {

namespace {

QStringList words(const char16_t *text)
{
    return QString::fromUtf16(text).split(u' ', Qt::SkipEmptyParts);
}

} // namespace

QStringList RemoteConfig::supportedExtensions() const
{
    QStringList all = imageExtensions + designExtensions + documentExtensions + videoExtensions + audioExtensions;
    for (QString &extension : all)
        extension = extension.toLower();
    all.removeDuplicates();
    return all;
}

QStringList RemoteConfig::builtInImageExtensions()
{
    return words(u"png jpg jpeg jpe webp avif gif bmp dib tiff tif heic heics heif svg pdf jp2 jpf jpx j2k j2c exr "
                 u"tga ico icns pbm pgm ppm pfm cr2 cr3 nef arw dng orf raf rw2 pef srw sr2 raw");
}

QStringList RemoteConfig::builtInDesignExtensions()
{
    return words(u"sketch fig ai psd");
}

QStringList RemoteConfig::builtInDocumentExtensions()
{
    return words(
        u"txt md json eml csv tsv log xml yaml yml srt vtt rtf odt ods odp pages numbers key doc docx docm "
        u"dotx dotm ppt pptx pptm potx potm ppsx ppsm xls xlsx xlsm xltx xltm html htm xhtml epub mbox ass ssa");
}

QStringList RemoteConfig::builtInVideoExtensions()
{
    // The last, common on Linux, join the lists the service sends.
    return words(u"mp4 mov qt m4v mpeg mpg m2v 3gp 3gpp 3g2 3gp2 dv ts mts m2ts vob mkv avi ogv");
}

QStringList RemoteConfig::builtInAudioExtensions()
{
    return words(u"mp3 m4a wav flac ogg webm mpga opus oga aac wma");
}

} // namespace Nomly
