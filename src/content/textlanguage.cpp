#include "content/textlanguage.h"

#include <QFileInfo>
#include <QTemporaryFile>
#include <algorithm>
#include <memory>
#include <mutex>

#include <libexttextcat/constants.h>
#include <libexttextcat/textcat.h>

#include "platform/logcategories.h"

namespace Nomly {

namespace {

const QString FingerprintFolder = QStringLiteral("/usr/share/libexttextcat");

struct Language
{
    const char16_t *fingerprint;
    const char16_t *code;
    const char16_t *name;
};

// The languages told apart. The library ships fingerprints for many more,
// among them close relatives and dialects of common languages (Scots beside
// English, Rusyn beside Russian) that would split a plain English or Russian
// text between two answers; a fingerprint is named after its language tag.
constexpr Language Languages[] = {
    { u"af", u"af", u"Afrikaans" },    { u"am", u"am", u"Amharic" },      { u"ar", u"ar", u"Arabic" },
    { u"hy", u"hy", u"Armenian" },     { u"az", u"az", u"Azerbaijani" },  { u"eu", u"eu", u"Basque" },
    { u"be", u"be", u"Belarusian" },   { u"bn", u"bn", u"Bengali" },      { u"bs", u"bs", u"Bosnian" },
    { u"bg", u"bg", u"Bulgarian" },    { u"my", u"my", u"Burmese" },      { u"ca", u"ca", u"Catalan" },
    { u"zh-Hans", u"zh", u"Chinese" }, { u"zh-Hant", u"zh", u"Chinese" }, { u"hr", u"hr", u"Croatian" },
    { u"cs", u"cs", u"Czech" },        { u"da", u"da", u"Danish" },       { u"nl", u"nl", u"Dutch" },
    { u"en", u"en", u"English" },      { u"et", u"et", u"Estonian" },     { u"fi", u"fi", u"Finnish" },
    { u"fr", u"fr", u"French" },       { u"gl", u"gl", u"Galician" },     { u"ka", u"ka", u"Georgian" },
    { u"de", u"de", u"German" },       { u"el", u"el", u"Greek" },        { u"gu", u"gu", u"Gujarati" },
    { u"he", u"he", u"Hebrew" },       { u"hi", u"hi", u"Hindi" },        { u"hu", u"hu", u"Hungarian" },
    { u"is", u"is", u"Icelandic" },    { u"id", u"id", u"Indonesian" },   { u"ga", u"ga", u"Irish" },
    { u"it", u"it", u"Italian" },      { u"ja", u"ja", u"Japanese" },     { u"kn", u"kn", u"Kannada" },
    { u"kk", u"kk", u"Kazakh" },       { u"km", u"km", u"Khmer" },        { u"ko", u"ko", u"Korean" },
    { u"lo", u"lo", u"Lao" },          { u"lv", u"lv", u"Latvian" },      { u"lt", u"lt", u"Lithuanian" },
    { u"mk", u"mk", u"Macedonian" },   { u"ms", u"ms", u"Malay" },        { u"ml", u"ml", u"Malayalam" },
    { u"mr", u"mr", u"Marathi" },      { u"mn", u"mn", u"Mongolian" },    { u"ne", u"ne", u"Nepali" },
    { u"nb", u"nb", u"Norwegian" },    { u"fa", u"fa", u"Persian" },      { u"pl", u"pl", u"Polish" },
    { u"pt", u"pt", u"Portuguese" },   { u"pa", u"pa", u"Punjabi" },      { u"ro", u"ro", u"Romanian" },
    { u"ru", u"ru", u"Russian" },      { u"sr-Cyrl", u"sr", u"Serbian" }, { u"sr-Latn", u"sr", u"Serbian" },
    { u"si", u"si", u"Sinhala" },      { u"sk", u"sk", u"Slovak" },       { u"sl", u"sl", u"Slovenian" },
    { u"es", u"es", u"Spanish" },      { u"sw", u"sw", u"Swahili" },      { u"sv", u"sv", u"Swedish" },
    { u"tl", u"tl", u"Tagalog" },      { u"ta", u"ta", u"Tamil" },        { u"th", u"th", u"Thai" },
    { u"bo", u"bo", u"Tibetan" },      { u"tr", u"tr", u"Turkish" },      { u"uk", u"uk", u"Ukrainian" },
    { u"ur", u"ur", u"Urdu" },         { u"vi", u"vi", u"Vietnamese" },   { u"cy", u"cy", u"Welsh" },
};

const Language *languageOf(const char *fingerprint)
{
    const QString wanted = QString::fromUtf8(fingerprint);
    const auto found = std::find_if(std::begin(Languages), std::end(Languages), [&](const Language &language) {
        return wanted == QStringView(language.fingerprint);
    });
    return found == std::end(Languages) ? nullptr : found;
}

struct HandleRelease
{
    void operator()(void *handle) const { textcat_Done(handle); }
};

// Loading the fingerprints reads dozens of files, and a classification
// writes into buffers of the handle, so there is one handle, behind a lock,
// made on first use.
struct Classifier
{
    std::mutex lock;
    std::unique_ptr<void, HandleRelease> handle;
    candidate_t *candidates = nullptr;
    bool tried = false;

    ~Classifier()
    {
        if (handle)
            textcat_ReleaseClassifyFullOutput(handle.get(), candidates);
    }

    void *ready()
    {
        if (tried)
            return handle.get();
        tried = true;
        // The library reads its list of fingerprints from a file; ours names
        // only the languages above that are installed, as one missing file
        // fails the whole load.
        QByteArray list;
        for (const Language &language : Languages) {
            const QString file = QString::fromUtf16(language.fingerprint) + QStringLiteral(".lm");
            if (QFileInfo::exists(FingerprintFolder + u'/' + file))
                list += file.toUtf8() + ' ' + QString::fromUtf16(language.fingerprint).toUtf8() + '\n';
        }
        QTemporaryFile conf;
        if (list.isEmpty() || !conf.open() || conf.write(list) != list.size() || !conf.flush()) {
            qCWarning(lcProcessing).noquote() << "Language recognition is off: no fingerprints in" << FingerprintFolder;
            return nullptr;
        }
        const QByteArray prefix = (FingerprintFolder + u'/').toUtf8();
        handle.reset(special_textcat_Init(conf.fileName().toUtf8().constData(), prefix.constData()));
        if (!handle) {
            qCWarning(lcProcessing).noquote()
                << "Language recognition is off: the fingerprints in" << FingerprintFolder << "could not be read";
            return nullptr;
        }
        candidates = textcat_GetClassifyFullOutput(handle.get());
        return handle.get();
    }
};

Classifier &classifier()
{
    static Classifier shared;
    return shared;
}

// The library reports every language whose distance to the text lies within
// a small band above the best one. A rival at the best distance counts as
// much as the winner, one at the edge of the band not at all; the winner's
// share of the total is its confidence.
double confidenceOf(const candidate_t *candidates, int count)
{
    const double best = candidates[0].score;
    const double band = best * (THRESHOLDVALUE - 1.0);
    double total = 1.0;
    for (int i = 1; i < count; ++i) {
        const double weight = band > 0 ? (best + band - candidates[i].score) / band : 1.0;
        total += std::clamp(weight, 0.0, 1.0);
    }
    return 1.0 / total;
}

} // namespace

bool TextLanguage::isAvailable()
{
    Classifier &shared = classifier();
    const std::lock_guard guard(shared.lock);
    return shared.ready() != nullptr;
}

std::optional<LanguageGuess> TextLanguage::dominant(QStringView text)
{
    // Punctuation and figures alone match some fingerprint all the same.
    if (std::none_of(text.begin(), text.end(), [](QChar c) { return c.isLetter(); }))
        return std::nullopt;
    const QByteArray bytes = text.toUtf8();
    Classifier &shared = classifier();
    const std::lock_guard guard(shared.lock);
    void *handle = shared.ready();
    if (!handle)
        return std::nullopt;
    // Fewer than one answer means the text was too short or matched too many
    // languages equally well.
    const int count = textcat_ClassifyFull(handle, bytes.constData(), size_t(bytes.size()), shared.candidates);
    if (count < 1)
        return std::nullopt;
    const Language *language = languageOf(shared.candidates[0].name);
    if (!language)
        return std::nullopt;
    return LanguageGuess { QString::fromUtf16(language->code),
                           QString::fromUtf16(language->name),
                           confidenceOf(shared.candidates, count) };
}

std::optional<QString> TextLanguage::languageName(const QString &text)
{
    constexpr qsizetype MinimumLength = 40;
    constexpr qsizetype ReadLength = 4000;
    constexpr double MinimumConfidence = 0.35;
    const QString trimmed = text.trimmed();
    if (trimmed.size() < MinimumLength)
        return std::nullopt;
    QStringView head = QStringView(trimmed).left(ReadLength);
    // A character cut in half would reach the library as a broken byte.
    if (head.size() == ReadLength && head.back().isHighSurrogate())
        head.chop(1);
    const std::optional<LanguageGuess> guess = dominant(head);
    if (!guess || guess->confidence < MinimumConfidence)
        return std::nullopt;
    return guess->name;
}

} // namespace Nomly
