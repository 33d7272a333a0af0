#include "content/embeddedaudiometadata.h"

#include <QFile>
#include <QRegularExpression>
#include <QStringList>
#include <algorithm>
#include <array>

extern "C" {
#include <libavformat/avformat.h>
}

#include <taglib/fileref.h>
#include <taglib/tpropertymap.h>

#include "content/mediainput.h"

namespace Nomly {

namespace {

// The fields in the order their lines are written, with the property names
// under which the tag formats file them.
// Containers the tag reader doesn't know (Matroska, WebM, AVI) keep them
// in FFmpeg's metadata under the container key.
struct TagField
{
    const char *label;
    std::initializer_list<const char *> properties;
    const char *containerKey;
};

const TagField Title { "Title", { "TITLE" }, "title" };
const TagField Artist { "Artist", { "ARTIST" }, "artist" };
const TagField AlbumArtist { "Album artist", { "ALBUMARTIST" }, "album_artist" };
const TagField Album { "Album", { "ALBUM" }, "album" };
const TagField Genre { "Genre", { "GENRE" }, "genre" };
const TagField ReleaseDate { "Release date", { "DATE", "YEAR", "ORIGINALDATE" }, "date" };
const TagField Composer { "Composer", { "COMPOSER" }, "composer" };
const std::array<const TagField *, 7> Fields { &Title, &Artist, &AlbumArtist, &Album, &Genre, &ReleaseDate, &Composer };

// Reading the container's tags takes at most this long.
constexpr int ContainerProbeMilliseconds = 3'000;

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

using FieldValues = std::array<QString, Fields.size()>;

bool allEmpty(const FieldValues &values)
{
    return std::all_of(values.cbegin(), values.cend(), [](const QString &value) { return value.isEmpty(); });
}

FieldValues taggedValues(const QString &path)
{
    FieldValues values;
    const TagLib::FileRef file(QFile::encodeName(path).constData(), false);
    if (file.isNull() || !file.file())
        return values;
    const TagLib::PropertyMap properties = file.file()->properties();
    for (size_t i = 0; i < Fields.size(); ++i)
        values[i] = firstValue(properties, *Fields[i]);
    return values;
}

FieldValues containerValues(const QString &path)
{
    FieldValues values;
    const std::optional<MediaInput> input = MediaInput::open(path, QDeadlineTimer(ContainerProbeMilliseconds));
    if (!input)
        return values;
    for (size_t i = 0; i < Fields.size(); ++i) {
        if (const AVDictionaryEntry *entry
            = av_dict_get(input->context()->metadata, Fields[i]->containerKey, nullptr, 0))
            values[i] = cleaned(QString::fromUtf8(entry->value));
    }
    return values;
}

} // namespace

std::optional<QString> embeddedAudioMetadataText(const QString &path)
{
    FieldValues values = taggedValues(path);
    if (allEmpty(values))
        values = containerValues(path);
    if (allEmpty(values))
        return std::nullopt;
    const auto &[title, artist, albumArtist, album, genre, releaseDate, composer] = values;

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
