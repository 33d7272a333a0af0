#include "cli/inspectcommand.h"

#include <QCommandLineParser>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>
#include <QLocale>
#include <algorithm>
#include <cmath>

#include "ai/audioevidence.h"
#include "ai/remoteconfigservice.h"
#include "cli/clioutput.h"
#include "cli/commandparsing.h"
#include "content/audiounderstanding.h"
#include "content/fileextractionservice.h"
#include "content/localspeechtranscriber.h"
#include "content/nocataloguesongrecognizer.h"
#include "content/patternmetadatareader.h"
#include "content/pdfpagerenderer.h"
#include "content/picturereader.h"
#include "content/textrecognizer.h"
#include "content/videoaudiocontext.h"
#include "content/videoframesampler.h"
#include "history/filehashservice.h"
#include "platform/userdefaults.h"

namespace Nomly {

namespace {

// Pages rendered for recognition: large enough for small print.
constexpr int OcrPageLongEdge = 2000;
// A video as a hosted model sees it.
constexpr int HostedVideoFrames = 5;
constexpr int HostedFrameEdge = 1024;
constexpr double HostedFrameQuality = 0.6;
constexpr int PlainTextLines = 6;

const char *kindName(AIAnalyzeInputKind kind)
{
    switch (kind) {
    case AIAnalyzeInputKind::Image:
        return "image";
    case AIAnalyzeInputKind::Text:
        return "text";
    case AIAnalyzeInputKind::Document:
        return "document";
    case AIAnalyzeInputKind::Video:
        return "video";
    case AIAnalyzeInputKind::Audio:
        return "audio";
    }
    return "unknown";
}

// What the command reports of one file.
struct Inspection
{
    QString path;
    FileExtractionResult extraction = FileExtractionResult::unsupported();
    // Read from the picture when the file has no text of its own.
    std::optional<QString> recognizedText;
    std::optional<QString> contentHash;
    QList<std::pair<QString, QString>> facts;
    // What is heard in a sound, and what each route would make of it.
    std::optional<QJsonObject> sound;
    // The frames a hosted model would see of a video, and its sound track.
    std::optional<QJsonObject> video;
};

const char *evidenceName(AudioEvidenceSource source)
{
    switch (source) {
    case AudioEvidenceSource::EmbeddedMetadata:
        return "embedded metadata";
    case AudioEvidenceSource::SongRecognition:
        return "song recognition";
    case AudioEvidenceSource::SoundClassification:
        return "sound classification";
    case AudioEvidenceSource::LocalTranscript:
        return "local transcript";
    case AudioEvidenceSource::None:
        break;
    }
    return "none";
}

QJsonObject routeJson(const AudioEvidence &evidence)
{
    QJsonObject route { { QStringLiteral("evidence"), QString::fromLatin1(evidenceName(evidence.source)) },
                        { QStringLiteral("upload"), evidence.upload } };
    if (evidence.text)
        route.insert(QStringLiteral("text"), *evidence.text);
    return route;
}

QJsonObject soundJson(const FileAudioAnalysisPayload &payload, const SongRecognizer &recognizer)
{
    const QStringList languages = QLocale::system().uiLanguages();
    const QString localeName = QLocale::system().name();
    const QString language = languages.isEmpty() ? localeName : languages.first();
    AudioEvidenceRoute cloud { false, false, false, language, languages, localeName };
    AudioEvidenceRoute local = cloud;
    local.local = true;
    const AudioEvidence hosted = gatherAudioEvidence(payload, cloud, recognizer);
    const AudioEvidence onDevice = gatherAudioEvidence(payload, local, recognizer);
    QJsonObject sound { { QStringLiteral("cloud"), routeJson(hosted) },
                        { QStringLiteral("local"), routeJson(onDevice) } };
    if (hosted.durationSeconds)
        sound.insert(QStringLiteral("durationSeconds"), *hosted.durationSeconds);

    QJsonArray labels;
    for (const AudioSoundAnalysisLabel &label : AudioUnderstanding::soundLabels(payload.originalPath)) {
        labels.append(QJsonObject { { QStringLiteral("label"), label.identifier },
                                    { QStringLiteral("peak"), label.peakConfidence },
                                    { QStringLiteral("average"), label.averageConfidence },
                                    { QStringLiteral("windows"), label.occurrenceCount } });
    }
    sound.insert(QStringLiteral("labels"), labels);

    // The local route's own transcript is the one shown; only where its
    // evidence came from elsewhere is the sound heard again, for the reason.
    if (onDevice.source == AudioEvidenceSource::LocalTranscript) {
        sound.insert(QStringLiteral("transcript"), onDevice.text.value_or(QString()));
        return sound;
    }
    LocalSpeechRequest request;
    request.path = payload.originalPath;
    request.filename = payload.filename;
    request.durationSeconds = hosted.durationSeconds;
    request.language = language;
    request.preferredLanguages = languages;
    request.localeName = localeName;
    const LocalSpeechTranscript heard = LocalSpeechTranscriber::transcribe(request);
    if (heard.text)
        sound.insert(QStringLiteral("transcript"), *heard.text);
    else
        sound.insert(QStringLiteral("transcriptRefused"), heard.reason);
    return sound;
}

QJsonObject videoJson(const QString &path, const SongRecognizer &recognizer)
{
    const VideoFrameSamples samples
        = VideoFrameSampler::sample(path, HostedVideoFrames, HostedFrameEdge, HostedFrameQuality);
    QJsonArray times;
    QList<QImage> frames;
    for (const VideoFramePreview &frame : samples.frames) {
        times.append(frame.timestampSeconds);
        frames.append(QImage::fromData(frame.data, "JPEG"));
    }
    QJsonObject video { { QStringLiteral("frameSeconds"), times },
                        { QStringLiteral("soundTrack"), VideoAudioContext::contextText(path, recognizer) } };
    if (samples.durationSeconds)
        video.insert(QStringLiteral("durationSeconds"), *samples.durationSeconds);
    if (const std::optional<QString> text = TextRecognizer::recognize(frames))
        video.insert(QStringLiteral("frameText"), *text);
    return video;
}

Inspection inspect(const QString &path,
                   const ExtractionOptions &options,
                   const PatternMetadataOptions &factOptions,
                   const SongRecognizer &recognizer)
{
    Inspection out;
    out.path = path;
    out.extraction = FileExtractionService::extract(path, options);
    if (const AIAnalyzeInput *input = out.extraction.analyzeInput()) {
        if (input->kind() == AIAnalyzeInputKind::Image) {
            // Decoded at the size pages are read at, not at full size.
            const Result<QImage> picture = PictureReader::read(path, QSize(OcrPageLongEdge, OcrPageLongEdge));
            if (picture)
                out.recognizedText = TextRecognizer::recognize(picture.value());
        } else if (const auto *sound = input->get<FileAudioAnalysisPayload>()) {
            out.sound = soundJson(*sound, recognizer);
        } else if (input->kind() == AIAnalyzeInputKind::Video) {
            out.video = videoJson(path, recognizer);
        } else if (const auto *document = input->get<FileDocumentAnalysisPayload>(); document && !document->text) {
            out.recognizedText
                = TextRecognizer::recognize(renderedPdfPages(path, document->previewPageIndices, OcrPageLongEdge));
        }
    }
    if (QFileInfo::exists(path)) {
        out.contentHash = FileHashService::hash(path);
        out.facts = PatternMetadataReader::namedValues(PatternMetadataReader::read(path, factOptions));
    }
    return out;
}

QJsonObject toJson(const Inspection &inspection)
{
    QJsonObject object { { QStringLiteral("path"), inspection.path } };
    const FileExtractionResult &result = inspection.extraction;
    switch (result.kind()) {
    case FileExtractionResult::Kind::Failed:
        object.insert(QStringLiteral("status"), QStringLiteral("failed"));
        object.insert(QStringLiteral("failure"), result.failureReason());
        break;
    case FileExtractionResult::Kind::Unsupported:
        object.insert(QStringLiteral("status"), QStringLiteral("unsupported"));
        break;
    case FileExtractionResult::Kind::Input: {
        const AIAnalyzeInput &input = *result.analyzeInput();
        object.insert(QStringLiteral("status"), QStringLiteral("input"));
        object.insert(QStringLiteral("kind"), QString::fromLatin1(kindName(input.kind())));
        std::visit(
            [&object](const auto &payload) {
                using Payload = std::decay_t<decltype(payload)>;
                if constexpr (!std::is_same_v<Payload, FileImageAnalysisPayload>) {
                    object.insert(QStringLiteral("mimeType"), payload.mimeType);
                    const std::optional<QString> text = payload.text;
                    if (text) {
                        object.insert(QStringLiteral("text"), *text);
                        object.insert(QStringLiteral("textLength"), text->size());
                    }
                }
                if constexpr (std::is_same_v<Payload, FileDocumentAnalysisPayload>) {
                    object.insert(QStringLiteral("pageCount"), payload.pageCount);
                    QJsonArray pages;
                    for (const int index : payload.previewPageIndices)
                        pages.append(index);
                    object.insert(QStringLiteral("previewPageIndices"), pages);
                }
            },
            input.payload());
        break;
    }
    }
    if (inspection.recognizedText)
        object.insert(QStringLiteral("recognizedText"), *inspection.recognizedText);
    if (inspection.sound)
        object.insert(QStringLiteral("sound"), *inspection.sound);
    if (inspection.video)
        object.insert(QStringLiteral("video"), *inspection.video);
    if (inspection.contentHash)
        object.insert(QStringLiteral("contentHash"), *inspection.contentHash);
    if (!inspection.facts.isEmpty()) {
        QJsonObject facts;
        for (const auto &[name, value] : inspection.facts)
            facts.insert(name, value);
        object.insert(QStringLiteral("fields"), facts);
    }
    return object;
}

void printText(const QString &label, const QString &text)
{
    CliOutput::line(QStringLiteral("  %1: %2 characters").arg(label).arg(text.size()));
    const QStringList lines = text.split(u'\n');
    for (qsizetype i = 0; i < std::min<qsizetype>(lines.size(), PlainTextLines); ++i)
        CliOutput::line(QStringLiteral("    ") + lines.at(i));
    if (lines.size() > PlainTextLines)
        CliOutput::line(QStringLiteral("    ..."));
}

QString percent(double value)
{
    return QString::number(std::lround(std::clamp(value, 0.0, 1.0) * 100)) + u'%';
}

QString seconds(double value)
{
    return QString::number(value, 'f', value < 10 ? 2 : 1) + u's';
}

void printSound(const QJsonObject &sound)
{
    QStringList labels;
    for (const QJsonValue &value : sound.value(QStringLiteral("labels")).toArray()) {
        const QJsonObject label = value.toObject();
        labels.append(QStringLiteral("%1 %2").arg(label.value(QStringLiteral("label")).toString(),
                                                  percent(label.value(QStringLiteral("peak")).toDouble())));
    }
    if (sound.contains(QStringLiteral("durationSeconds")))
        CliOutput::line(QStringLiteral("  duration: ")
                        + seconds(sound.value(QStringLiteral("durationSeconds")).toDouble()));
    CliOutput::line(QStringLiteral("  sound labels: ")
                    + (labels.isEmpty() ? QStringLiteral("none") : labels.join(QStringLiteral(", "))));
    if (sound.contains(QStringLiteral("transcript")))
        printText(QStringLiteral("transcript"), sound.value(QStringLiteral("transcript")).toString());
    else
        CliOutput::line(
            QStringLiteral("  transcript: none (%1)").arg(sound.value(QStringLiteral("transcriptRefused")).toString()));
    for (const char *name : { "cloud", "local" }) {
        const QJsonObject route = sound.value(QLatin1StringView(name)).toObject();
        CliOutput::line(QStringLiteral("  %1 route: %2, %3")
                            .arg(QLatin1StringView(name),
                                 route.value(QStringLiteral("evidence")).toString(),
                                 route.value(QStringLiteral("upload")).toBool()
                                     ? QStringLiteral("the sound is uploaded")
                                     : QStringLiteral("nothing uploaded")));
    }
}

void printVideo(const QJsonObject &video)
{
    QStringList times;
    for (const QJsonValue &value : video.value(QStringLiteral("frameSeconds")).toArray())
        times.append(seconds(value.toDouble()));
    if (video.contains(QStringLiteral("durationSeconds")))
        CliOutput::line(QStringLiteral("  duration: ")
                        + seconds(video.value(QStringLiteral("durationSeconds")).toDouble()));
    CliOutput::line(QStringLiteral("  frames at: ")
                    + (times.isEmpty() ? QStringLiteral("none could be rendered") : times.join(QStringLiteral(", "))));
    if (video.contains(QStringLiteral("frameText")))
        printText(QStringLiteral("text in frames"), video.value(QStringLiteral("frameText")).toString());
    printText(QStringLiteral("sound track"), video.value(QStringLiteral("soundTrack")).toString());
}

void printPlain(const QJsonObject &object)
{
    CliOutput::line(object.value(QStringLiteral("path")).toString());
    const QString status = object.value(QStringLiteral("status")).toString();
    if (status == u"failed") {
        CliOutput::line(QStringLiteral("  failed: ") + object.value(QStringLiteral("failure")).toString());
    } else if (status == u"unsupported") {
        CliOutput::line(QStringLiteral("  unsupported"));
    } else {
        QString kind = object.value(QStringLiteral("kind")).toString();
        if (object.contains(QStringLiteral("mimeType")))
            kind += QStringLiteral(" (%1)").arg(object.value(QStringLiteral("mimeType")).toString());
        if (object.contains(QStringLiteral("pageCount"))) {
            QStringList pages;
            for (const QJsonValue &page : object.value(QStringLiteral("previewPageIndices")).toArray())
                pages.append(QString::number(page.toInt() + 1));
            const int pageCount = object.value(QStringLiteral("pageCount")).toInt();
            kind += (pageCount == 1 ? QStringLiteral(", 1 page, preview page %1")
                                    : QStringLiteral(", %1 pages, preview pages %2").arg(pageCount))
                        .arg(pages.join(QStringLiteral(", ")));
        }
        CliOutput::line(QStringLiteral("  kind: ") + kind);
        if (object.contains(QStringLiteral("text")))
            printText(QStringLiteral("text"), object.value(QStringLiteral("text")).toString());
        else
            CliOutput::line(QStringLiteral("  text: none"));
    }
    if (object.contains(QStringLiteral("recognizedText")))
        printText(QStringLiteral("recognized text"), object.value(QStringLiteral("recognizedText")).toString());
    if (object.contains(QStringLiteral("sound")))
        printSound(object.value(QStringLiteral("sound")).toObject());
    if (object.contains(QStringLiteral("video")))
        printVideo(object.value(QStringLiteral("video")).toObject());
    const QJsonObject facts = object.value(QStringLiteral("fields")).toObject();
    if (!facts.isEmpty()) {
        CliOutput::line(QStringLiteral("  fields:"));
        for (auto it = facts.constBegin(); it != facts.constEnd(); ++it)
            CliOutput::line(QStringLiteral("    %1 = %2").arg(it.key(), it.value().toString()));
    }
    if (object.contains(QStringLiteral("contentHash")))
        CliOutput::line(QStringLiteral("  content hash: ") + object.value(QStringLiteral("contentHash")).toString());
}

} // namespace

ExitStatus runInspectCommand(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Show what Nomly reads from files on this machine, without sending anything anywhere: each file's kind, "
        "the text extracted from it (long PDFs as excerpts of the pages chosen; Office and OpenDocument files, legacy "
        "doc, xls and ppt included; at most 12,000 characters), the "
        "text recognised in an image or a PDF without a text layer; for a sound, its duration, the sound labels "
        "heard, the transcript made here (or why there is none) and what the cloud and local routes would use "
        "and upload; for a video, the times of the frames sampled, the text read from them and what its sound "
        "track says; the naming fields the file itself fills "
        "(name = value), and the content hash that tells a file already handled from a new one.\n"
        "A file that cannot be read is reported with the reason, and the exit status is 1."));
    const QCommandLineOption helpOption = parser.addHelpOption();
    const QCommandLineOption jsonOption(QStringLiteral("json"), QStringLiteral("Print a JSON array, text in full."));
    parser.addOption(jsonOption);
    parser.addPositionalArgument(
        QStringLiteral("FILE"), QStringLiteral("Files to inspect."), QStringLiteral("FILE..."));
    if (const auto answered = parseOrAnswer(parser, arguments, helpOption))
        return *answered;
    const QStringList files = parser.positionalArguments();
    if (files.isEmpty()) {
        CliOutput::error(QStringLiteral("no files given"));
        return ExitStatus::UsageError;
    }

    // The extension lists as the application would use them: built in, or as
    // the backend last sent them. Nothing is fetched here.
    const RemoteConfig remote = RemoteConfigService::cachedConfig(UserDefaults());
    ExtractionOptions options;
    options.pdfTextExtractionEnabled = remote.pdfTextExtractionEnabled;
    options.imageExtensions = remote.imageExtensions;
    options.designExtensions = remote.designExtensions;

    // The naming fields as a rename would fill them from the file itself.
    PatternMetadataOptions factOptions;
    factOptions.imageExtensions = options.imageExtensions;
    // No catalogue of songs ships with the program.
    const NoCatalogueSongRecognizer recognizer;
    bool anyFailed = false;
    QJsonArray all;
    for (const QString &file : files) {
        const QJsonObject object = toJson(inspect(file, options, factOptions, recognizer));
        anyFailed = anyFailed || object.value(QStringLiteral("status")).toString() == u"failed";
        if (parser.isSet(jsonOption))
            all.append(object);
        else
            printPlain(object);
    }
    if (parser.isSet(jsonOption))
        CliOutput::json(QJsonDocument(all));
    return anyFailed ? ExitStatus::ItemFailed : ExitStatus::Success;
}

} // namespace Nomly
