#include "ai/recognizedaudiotrack.h"

#include <QRegularExpression>
#include <array>

namespace Nomly {

namespace {

constexpr qsizetype MaxValueLength = 160;
constexpr qsizetype MaxTitleLength = 120;

const std::array<const char16_t *, 7> AbsentValues {
    u"unknown", u"n/a", u"na", u"none", u"nil", u"null", u"not available",
};

// A model title holding one of these names a piece of music, not what the
// video shows.
const std::array<const char16_t *, 12> MusicContexts {
    u"music video",       u"lyric video",       u"song clip",         u"music clip",
    u"performance clip",  u"live performance",  u"band performance",  u"concert",
    u"music performance", u"dance performance", u"stage performance", u"official video",
};

std::optional<QString> cleanedValue(QString value)
{
    value = value.simplified();
    qsizetype begin = 0;
    qsizetype end = value.size();
    const auto trimmed
        = [](QChar c) { return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r' || c == u'"' || c == u'\''; };
    while (begin < end && trimmed(value.at(begin)))
        ++begin;
    while (end > begin && trimmed(value.at(end - 1)))
        --end;
    value = value.mid(begin, end - begin);
    if (value.isEmpty())
        return std::nullopt;
    const QString lower = value.toLower();
    for (const char16_t *absent : AbsentValues) {
        if (lower == QStringView(absent))
            return std::nullopt;
    }
    return value.left(MaxValueLength);
}

// Lower case, with everything but letters and digits made a blank and the
// ends padded, so that containment compares whole words.
QString lowerWords(const QString &text)
{
    QString words = text.toLower();
    for (QChar &c : words) {
        if (!c.isLetterOrNumber())
            c = u' ';
    }
    return u' ' + words.simplified() + u' ';
}

bool containsWords(const QString &words, const QString &phrase)
{
    const QString wanted = lowerWords(phrase);
    return wanted.trimmed().isEmpty() ? false : words.contains(wanted);
}

bool namesMusicContext(const QString &title, const RecognizedAudioTrackMetadata &track)
{
    const QString words = lowerWords(title);
    if (words.trimmed().isEmpty())
        return true;
    for (const char16_t *context : MusicContexts) {
        if (containsWords(words, QString::fromUtf16(context)))
            return true;
    }
    const QString trackTitle = track.recognizedTrackTitle.value_or(QString());
    return track.artist && containsWords(words, *track.artist) && !containsWords(words, trackTitle);
}

bool isRejected(const QString &title, const AnalyzeRequest &request)
{
    if (!request.rejectedTitles)
        return false;
    const QString lower = title.toLower();
    for (const QString &rejected : *request.rejectedTitles) {
        if (rejected.toLower() == lower)
            return true;
    }
    return false;
}

void fill(ImageAnalysis &analysis, const char *key, const std::optional<QString> &value)
{
    const QString name = QString::fromLatin1(key);
    if (value && analysis.detectedFields.value(name).trimmed().isEmpty())
        analysis.detectedFields.insert(name, *value);
}

} // namespace

RecognizedAudioTrackMetadata recognizedAudioTrackMetadata(const QString &text)
{
    QMap<QString, QString> values; // lower-case label to its first value
    for (const QString &line : text.split(u'\n')) {
        const qsizetype colon = line.indexOf(u':');
        if (colon <= 0)
            continue;
        const QString label = line.left(colon).trimmed().toLower();
        if (const std::optional<QString> value = cleanedValue(line.mid(colon + 1)); value && !values.contains(label))
            values.insert(label, *value);
    }
    const auto value = [&values](std::initializer_list<const char *> labels) -> std::optional<QString> {
        for (const char *label : labels) {
            const auto found = values.constFind(QString::fromLatin1(label));
            if (found != values.cend())
                return *found;
        }
        return std::nullopt;
    };

    RecognizedAudioTrackMetadata track;
    track.trackTitle = value({ "title" });
    track.artist = value({ "artist", "subtitle", "album artist" });
    track.preferredFilenameTitle = value({ "preferred filename title" });
    track.preferredMusicVideoTitle = value({ "preferred music video title" });
    track.recognizedTrackTitle = value({ "recognized audio track title", "title" });
    track.album = value({ "album" });
    track.genre = value({ "genres", "genre" });
    static const QRegularExpression year(QStringLiteral("\\b(19\\d{2}|20\\d{2})\\b"));
    if (const std::optional<QString> date = value({ "release date" })) {
        if (const QString found = year.match(*date).captured(1); !found.isEmpty())
            track.releaseYear = found;
    }
    return track;
}

ImageAnalysis withRecognizedTrack(ImageAnalysis analysis, const AnalyzeRequest &request)
{
    if (analysis.error || !request.text)
        return analysis;
    const QString kind = request.contentKind.value_or(QString());
    const bool video = kind == u"video";
    if (!video && kind != u"audio")
        return analysis;
    const RecognizedAudioTrackMetadata track = recognizedAudioTrackMetadata(*request.text);
    if (track.isEmpty())
        return analysis;

    fill(analysis, "artist", track.artist);
    fill(analysis, "track_title", track.recognizedTrackTitle);
    fill(analysis, "album", track.album);
    fill(analysis, "genre", track.genre);
    fill(analysis, "release_year", track.releaseYear);

    std::optional<QString> replacement;
    if (video) {
        const QString modelTitle = analysis.title.value_or(QString());
        if (namesMusicContext(modelTitle, track))
            replacement = track.preferredMusicVideoTitle ? track.preferredMusicVideoTitle : track.recognizedTrackTitle;
    } else {
        replacement = track.preferredFilenameTitle;
    }
    if (replacement && !replacement->isEmpty() && replacement->size() <= MaxTitleLength
        && !isRejected(*replacement, request) && !request.regenerate.value_or(false))
        analysis.title = *replacement;
    return analysis;
}

} // namespace Nomly
