#include "content/embeddedaudiometadata.h"

#include <QFile>
#include <QRegularExpression>
#include <QStringList>

#include <taglib/fileref.h>
#include <taglib/tpropertymap.h>

namespace Nomly {

namespace {

// The fields in the order their lines are written, with the property names
// under which the tag formats file them.
struct TagField
{
    const char *label;
    std::initializer_list<const char *> properties;
};

const TagField Title { "Title", { "TITLE" } };
const TagField Artist { "Artist", { "ARTIST" } };
const TagField AlbumArtist { "Album artist", { "ALBUMARTIST" } };
const TagField Album { "Album", { "ALBUM" } };
const TagField Genre { "Genre", { "GENRE" } };
const TagField ReleaseDate { "Release date", { "DATE", "YEAR", "ORIGINALDATE" } };
const TagField Composer { "Composer", { "COMPOSER" } };

// Runs of white space become one blank; empty counts as absent.
QString cleaned(const QString &value)
{
    static const QRegularExpression blanks(QStringLiteral("\\s+"));
    return QString(value).replace(blanks, QStringLiteral(" ")).trimmed();
}

QString firstValue(const TagLib::PropertyMap &properties, const TagField &field)
{
    for (const char *name : field.properties) {
        const auto found = properties.find(name);
        if (found == properties.end())
            continue;
        for (const TagLib::String &value : found->second) {
            if (const QString text = cleaned(QString::fromStdString(value.to8Bit(true))); !text.isEmpty())
                return text;
        }
    }
    return {};
}

} // namespace

std::optional<QString> embeddedAudioMetadataText(const QString &path)
{
    const TagLib::FileRef file(QFile::encodeName(path).constData(), false);
    if (file.isNull() || !file.file())
        return std::nullopt;
    const TagLib::PropertyMap properties = file.file()->properties();

    const QString title = firstValue(properties, Title);
    const QString artist = firstValue(properties, Artist);
    const QString albumArtist = firstValue(properties, AlbumArtist);
    const QString album = firstValue(properties, Album);
    const QString genre = firstValue(properties, Genre);
    const QString releaseDate = firstValue(properties, ReleaseDate);
    const QString composer = firstValue(properties, Composer);
    if (title.isEmpty() && artist.isEmpty() && albumArtist.isEmpty() && album.isEmpty() && genre.isEmpty()
        && releaseDate.isEmpty() && composer.isEmpty())
        return std::nullopt;

    QStringList lines { QStringLiteral("Embedded audio metadata") };
    const QString performer = artist.isEmpty() ? albumArtist : artist;
    if (!performer.isEmpty() && !title.isEmpty())
        lines.append(QStringLiteral("Preferred filename title: %1 - %2").arg(performer, title));
    const auto add = [&lines](const TagField &field, const QString &value) {
        if (!value.isEmpty())
            lines.append(QLatin1StringView(field.label) + QStringLiteral(": ") + value);
    };
    add(Title, title);
    add(Artist, artist);
    if (albumArtist.compare(artist, Qt::CaseInsensitive) != 0)
        add(AlbumArtist, albumArtist);
    add(Album, album);
    add(Genre, genre);
    add(ReleaseDate, releaseDate);
    add(Composer, composer);
    lines.append(QStringLiteral("Use this embedded track metadata as the primary naming signal for the audio file."));
    lines.append(QStringLiteral("If Preferred filename title is present, use it exactly as the filename title unless a "
                                "user instruction conflicts."));
    lines.append(QStringLiteral("Do not infer spoken-word content, a voice memo, meeting, podcast, lecture, or "
                                "transcript details unless a separate transcript is present."));
    return lines.join(u'\n');
}

} // namespace Nomly
