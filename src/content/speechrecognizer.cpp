#include "content/speechrecognizer.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <algorithm>
#include <mutex>

#include <pocketsphinx.h>
#include <sphinxbase/err.h>

#include "content/transcriptreliability.h"
#include "platform/logcategories.h"

namespace Nomly {

namespace {

// How much sound goes to the decoder at once: small enough that a deadline
// or a stop is noticed within a fraction of a second.
constexpr size_t SamplesPerFeed = SpeechRecognizer::SampleRate / 4;

struct ModelFiles
{
    QString acousticModel;
    QString languageModel;
    QString dictionary;
};

QStringList modelRoots()
{
    const QString overridden = qEnvironmentVariable("NOMLY_POCKETSPHINX_MODEL_DIR");
    if (!overridden.isEmpty())
        return { overridden };
    return QStandardPaths::locateAll(
        QStandardPaths::GenericDataLocation, QStringLiteral("pocketsphinx/model"), QStandardPaths::LocateDirectory);
}

// The layout the model packages install: "en-us/en-us/" (acoustic model),
// "en-us/en-us.lm.bin" and "en-us/cmudict-en-us.dict".
std::optional<ModelFiles> modelFilesIn(const QString &folder)
{
    const QString name = QFileInfo(folder).fileName();
    ModelFiles files { folder + u'/' + name,
                       folder + u'/' + name + QStringLiteral(".lm.bin"),
                       folder + QStringLiteral("/cmudict-") + name + QStringLiteral(".dict") };
    if (!QFileInfo(files.acousticModel + QStringLiteral("/mdef")).isFile() || !QFileInfo(files.languageModel).isFile()
        || !QFileInfo(files.dictionary).isFile())
        return std::nullopt;
    return files;
}

std::optional<ModelFiles> modelFilesFor(const QString &locale)
{
    const QStringList parts = normalizedSpeechLocale(locale).toLower().split(u'_');
    if (parts.first().isEmpty())
        return std::nullopt;
    for (const QString &root : modelRoots()) {
        const QDir dir(root);
        const QStringList names = parts.size() > 1
            ? QStringList { parts[0] + u'-' + parts[1] }
            : dir.entryList({ parts[0] + QStringLiteral("-*") }, QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
        for (const QString &name : names) {
            if (auto files = modelFilesIn(dir.filePath(name)))
                return files;
        }
    }
    return std::nullopt;
}

// The library reports every step of loading and decoding on stderr unless
// told otherwise, and its log is global.
void silenceLibraryLog()
{
    static std::once_flag once;
    std::call_once(once, [] { err_set_logfp(nullptr); });
}

} // namespace

struct SpeechRecognizer::Engine
{
    cmd_ln_t *config = nullptr;
    ps_decoder_t *decoder = nullptr;

    Engine() = default;
    Engine(const Engine &) = delete;
    Engine &operator=(const Engine &) = delete;

    ~Engine()
    {
        if (decoder)
            ps_free(decoder);
        if (config)
            cmd_ln_free_r(config);
    }
};

SpeechRecognizer::SpeechRecognizer(std::unique_ptr<Engine> engine, QString locale)
    : m_engine(std::move(engine))
    , m_locale(std::move(locale))
{}

SpeechRecognizer::SpeechRecognizer(SpeechRecognizer &&) noexcept = default;

SpeechRecognizer &SpeechRecognizer::operator=(SpeechRecognizer &&) noexcept = default;

SpeechRecognizer::~SpeechRecognizer() = default;

std::optional<SpeechRecognizer> SpeechRecognizer::forLocale(const QString &locale)
{
    const std::optional<ModelFiles> files = modelFilesFor(locale);
    if (!files)
        return std::nullopt;
    silenceLibraryLog();
    const QByteArray acoustic = QFile::encodeName(files->acousticModel);
    const QByteArray language = QFile::encodeName(files->languageModel);
    const QByteArray dictionary = QFile::encodeName(files->dictionary);
    auto engine = std::make_unique<Engine>();
    engine->config = cmd_ln_init(nullptr,
                                 ps_args(),
                                 TRUE,
                                 "-hmm",
                                 acoustic.constData(),
                                 "-lm",
                                 language.constData(),
                                 "-dict",
                                 dictionary.constData(),
                                 nullptr);
    if (engine->config) {
        // The library keeps its log and parts of its model loading in
        // globals without a lock; recognisers are made on worker threads.
        static std::mutex loading;
        const std::lock_guard<std::mutex> guard(loading);
        engine->decoder = ps_init(engine->config);
    }
    if (!engine->decoder) {
        qCWarning(lcProcessing) << "Local speech recognition could not load the model for locale=" << locale << "from"
                                << QFileInfo(files->acousticModel).path();
        return std::nullopt;
    }
    return SpeechRecognizer(std::move(engine), normalizedSpeechLocale(locale));
}

SpeechRecognition SpeechRecognizer::recognize(const PCMAudio &audio16k, QDeadlineTimer deadline, std::stop_token stop)
{
    SpeechRecognition result;
    if (audio16k.sampleRate != SampleRate || !m_engine) {
        qCWarning(lcProcessing) << "Local speech recognition needs sound at" << SampleRate << "Hz, got"
                                << audio16k.sampleRate;
        return result;
    }
    ps_decoder_t *decoder = m_engine->decoder;
    if (ps_start_utt(decoder) < 0)
        return result;
    const std::vector<int16_t> &samples = audio16k.samples;
    for (size_t at = 0; at < samples.size(); at += SamplesPerFeed) {
        if (deadline.hasExpired() || stop.stop_requested()) {
            result.timedOut = true;
            break;
        }
        const size_t count = std::min(SamplesPerFeed, samples.size() - at);
        if (ps_process_raw(decoder, samples.data() + at, count, FALSE, FALSE) < 0)
            break;
    }
    // Ending the utterance settles the search over what was fed, so an
    // interrupted decode still answers its best hypothesis so far.
    ps_end_utt(decoder);
    int32 score = 0;
    if (const char *hypothesis = ps_get_hyp(decoder, &score))
        result.text = QString::fromUtf8(hypothesis);
    return result;
}

} // namespace Nomly
