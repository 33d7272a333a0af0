#include "ai/aiservice.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QLocale>
#include <QMimeDatabase>
#include <algorithm>
#include <vector>

#include <QtConcurrent/QtConcurrentRun>
#include <qcoro/qcorofuture.h>

#include "ai/aicloudanalyzeclient.h"
#include "ai/aiimageartifactcache.h"
#include "ai/ailocalollamaanalyzeclient.h"
#include "ai/analysistext.h"
#include "ai/analyzeresponsemapping.h"
#include "ai/audioevidence.h"
#include "ai/deviceservice.h"
#include "ai/keycustody.h"
#include "content/imagecompressionservice.h"
#include "content/localmetadatatext.h"
#include "content/nocataloguesongrecognizer.h"
#include "content/textrecognizer.h"
#include "content/videoaudiocontext.h"
#include "content/videoframesampler.h"
#include "platform/logcategories.h"
#include "settings/outputlanguage.h"

namespace Nomly {

namespace {

// Long edge and JPEG quality of what each route is sent: a local model reads
// small pictures; a hosted one gets enough detail for small print.
struct RenderParameters
{
    int target = 0;
    double quality = 0;
};

constexpr RenderParameters LocalRendering { 384, 0.45 };
constexpr RenderParameters HostedRendering { 1024, 0.6 };
// A local model reads one frame of a video; a hosted one sees its course.
constexpr int LocalVideoFrames = 1;
constexpr int HostedVideoFrames = 5;

constexpr int NativePdfMaxPages = 20;
constexpr qint64 NativePdfMaxBytes = 4 * 1024 * 1024;
constexpr int NativePdfPreviewPages = 5;
// Rendered pages failed: the PDF's own text has to carry the request alone.
constexpr qsizetype EnoughPdfText = 199;
constexpr qsizetype EnoughPdfTextForFields = 39;

const QString EmbeddedImagesHeading = QStringLiteral("Visible text extracted locally from embedded document images");
const QString RenderedPagesHeading = QStringLiteral("Visible text extracted locally from rendered page previews");
const QString SampledFramesHeading = QStringLiteral("Visible text extracted locally from sampled video frames");
const QString SoundTrackHeading = QStringLiteral("Audio track recognition context");
const QString ImageJpeg = QStringLiteral("image/jpeg");

// What every request of one batch shares, decided once before the children
// start.
struct BatchContext
{
    AnalyzeRequest common; // the fields every request carries
    RenderParameters rendering;
    int videoFrames = 0;
    AudioEvidenceRoute audioRoute;
    bool local = false;
    bool byokEnabled = false;
    bool aiProviderGiven = false;
    bool byokUsable = false;
    bool fieldsRequested = false;
    QString remoteProvider; // trimmed, lower case
};

// The type its extension names, also when that is no picture type (an
// illustration sent as its rendered page stays an illustration); only an
// extension the database doesn't know passes for a JPEG.
QString imageMimeTypeOf(const QString &path)
{
    const QMimeType type = QMimeDatabase().mimeTypeForFile(path, QMimeDatabase::MatchExtension);
    if (!type.isValid() || type.isDefault())
        return ImageJpeg;
    return type.name();
}

std::optional<QString> recognizedTextOf(const QList<QByteArray> &jpegs)
{
    QList<QImage> images;
    images.reserve(jpegs.size());
    for (const QByteArray &jpeg : jpegs)
        images.append(QImage::fromData(jpeg, "JPEG"));
    return TextRecognizer::recognize(images);
}

AnalyzeRequest startedRequest(const BatchContext &context,
                              QString kind,
                              const QString &filename,
                              const QString &extension,
                              const QString &mimeType)
{
    AnalyzeRequest request = context.common;
    request.contentKind = std::move(kind);
    request.filename = filename;
    request.originalExtension = extension;
    request.mimeType = mimeType;
    return request;
}

QCoro::Task<std::optional<AnalyzeRequest>> imageRequest(FileImageAnalysisPayload payload,
                                                        BatchContext context,
                                                        AIImageArtifactCache &artifacts)
{
    auto preparing = artifacts.prepare(
        payload.originalPath, payload.contentHash, context.rendering.target, context.rendering.quality);
    const std::optional<PreparedImageAnalysisArtifact> artifact = co_await preparing;
    if (!artifact || artifact->data.isEmpty()) {
        qCWarning(lcAI).noquote() << "Failed to load/resize image:" << payload.originalPath;
        co_return std::nullopt;
    }
    const QFileInfo file(payload.originalPath);
    AnalyzeRequest request = startedRequest(context,
                                            QStringLiteral("image"),
                                            file.fileName(),
                                            file.suffix().toLower(),
                                            imageMimeTypeOf(payload.originalPath));
    request.image = artifact->data;
    request.text = artifact->text;
    request.localMetadata = artifact->localMetadata;
    request.imageMimeType = ImageJpeg;
    co_return request;
}

QCoro::Task<std::optional<AnalyzeRequest>> textRequest(FileTextAnalysisPayload payload, BatchContext context)
{
    auto reading = QtConcurrent::run([path = payload.originalPath] { return embeddedImagesText(path); });
    const std::optional<QString> embedded = co_await reading;
    AnalyzeRequest request = startedRequest(
        context, QStringLiteral("text"), payload.filename, payload.originalExtension, payload.mimeType);
    request.text = mergedUnderHeading(payload.text, embedded, EmbeddedImagesHeading);
    co_return request;
}

// The PDF itself, for a hosted default provider that reads PDF natively; none
// whenever any condition fails, which simply means rendered pages go instead.
std::optional<QByteArray> nativePdfOf(const FileDocumentAnalysisPayload &payload, const BatchContext &context)
{
    if (context.local || context.byokEnabled || context.aiProviderGiven || context.remoteProvider != u"gemini")
        return std::nullopt;
    if (payload.originalExtension != u"pdf" || payload.mimeType.toLower() != u"application/pdf")
        return std::nullopt;
    if (payload.pageCount < 1 || payload.pageCount > NativePdfMaxPages)
        return std::nullopt;
    QFile file(payload.originalPath);
    const qint64 size = file.size();
    if (size < 1 || size > NativePdfMaxBytes || !file.open(QIODevice::ReadOnly))
        return std::nullopt;
    QByteArray bytes = file.readAll();
    if (bytes.size() != size)
        return std::nullopt;
    return bytes;
}

struct RenderedPages
{
    QList<QByteArray> pages;
    std::optional<QString> text;
};

QCoro::Task<std::optional<AnalyzeRequest>> documentRequest(FileDocumentAnalysisPayload payload, BatchContext context)
{
    const QString source = payload.previewSourcePath.value_or(payload.originalPath);
    std::optional<QByteArray> native;
    QList<int> indices = payload.previewPageIndices;
    if (context.local) {
        indices = indices.mid(0, 1);
    } else if ((native = nativePdfOf(payload, context))) {
        qCInfo(lcAI).noquote() << "Using native Gemini PDF analysis:" << payload.originalPath;
        indices = indices.mid(0, NativePdfPreviewPages);
    }

    auto rendering = QtConcurrent::run([source, indices, rendering = context.rendering] {
        RenderedPages rendered;
        rendered.pages = ImageCompressionService::renderPdfPages(source, indices, rendering.target, rendering.quality);
        if (!rendered.pages.isEmpty())
            rendered.text = recognizedTextOf(rendered.pages);
        return rendered;
    });
    const RenderedPages rendered = co_await rendering;
    const std::optional<QString> text = mergedUnderHeading(payload.text, rendered.text, RenderedPagesHeading);

    QList<int> pageNumbers;
    for (int index : indices.mid(0, rendered.pages.size()))
        pageNumbers.append(index + 1);

    if (native || !rendered.pages.isEmpty()) {
        AnalyzeRequest request = startedRequest(
            context, QStringLiteral("document"), payload.filename, payload.originalExtension, payload.mimeType);
        request.document = native;
        request.text = text;
        if (!rendered.pages.isEmpty()) {
            request.images = rendered.pages;
            request.imageMimeType = ImageJpeg;
            request.previewPageNumbers = pageNumbers;
        }
        if (!native)
            request.pageCount = payload.pageCount;
        co_return request;
    }
    if (!text) {
        qCWarning(lcAI).noquote() << "Failed to render PDF previews and no readable PDF text exists:"
                                  << payload.originalPath;
        co_return std::nullopt;
    }
    const qsizetype enough = !context.local && context.fieldsRequested ? EnoughPdfTextForFields : EnoughPdfText;
    if (text->trimmed().size() > enough)
        qCInfo(lcAI).noquote() << "Using extracted PDF text for document analysis:" << payload.originalPath;
    AnalyzeRequest request = startedRequest(
        context, QStringLiteral("text"), payload.filename, payload.originalExtension, payload.mimeType);
    request.text = text;
    request.pageCount = payload.pageCount;
    co_return request;
}

struct SampledFrames
{
    VideoFrameSamples samples;
    std::optional<QString> text; // read from the frames
};

// The frames and the sound track are read side by side; a video whose
// frames cannot be rendered goes with its texts alone.
QCoro::Task<std::optional<AnalyzeRequest>> videoRequest(FileVideoAnalysisPayload payload,
                                                        BatchContext context,
                                                        std::shared_ptr<const SongRecognizer> recognizer)
{
    const QString path = payload.originalPath;
    auto sampling = QtConcurrent::run([path, count = context.videoFrames, rendering = context.rendering] {
        SampledFrames sampled;
        sampled.samples = VideoFrameSampler::sample(path, count, rendering.target, rendering.quality);
        QList<QByteArray> jpegs;
        for (const VideoFramePreview &frame : std::as_const(sampled.samples.frames))
            jpegs.append(frame.data);
        if (!jpegs.isEmpty())
            sampled.text = recognizedTextOf(jpegs);
        return sampled;
    });
    auto hearing = QtConcurrent::run([path, recognizer] { return VideoAudioContext::contextText(path, *recognizer); });
    const SampledFrames sampled = co_await sampling;
    const QString soundTrack = co_await hearing;

    std::optional<QString> text = mergedUnderHeading(payload.text, sampled.text, SampledFramesHeading);
    text = mergedUnderHeading(text, soundTrack, SoundTrackHeading);
    AnalyzeRequest request = startedRequest(
        context, QStringLiteral("video"), payload.filename, payload.originalExtension, payload.mimeType);
    request.durationSeconds = sampled.samples.durationSeconds;
    if (!sampled.samples.frames.isEmpty()) {
        QList<QByteArray> frames;
        QList<double> timestamps;
        for (const VideoFramePreview &frame : sampled.samples.frames) {
            frames.append(frame.data);
            timestamps.append(frame.timestampSeconds);
        }
        request.images = frames;
        request.imageMimeType = ImageJpeg;
        request.previewTimestamps = timestamps;
        request.text = text;
        co_return request;
    }
    qCInfo(lcAI).noquote() << "Failed to render video frames; using video text fallback:" << path;
    if (!text)
        text = videoFileMetadataText(payload);
    if (!text) {
        qCWarning(lcAI).noquote() << "Failed to load/resize video:" << path;
        co_return std::nullopt;
    }
    request.text = text;
    co_return request;
}

const char *evidenceLog(AudioEvidenceSource source)
{
    switch (source) {
    case AudioEvidenceSource::EmbeddedMetadata:
        return "Using embedded audio metadata context:";
    case AudioEvidenceSource::SongRecognition:
        return "Using fingerprint audio recognition context:";
    case AudioEvidenceSource::SoundClassification:
        return "Using sound classification audio context:";
    case AudioEvidenceSource::LocalTranscript:
        return "Using local speech transcription context:";
    case AudioEvidenceSource::None:
        break;
    }
    return nullptr;
}

QCoro::Task<std::optional<AnalyzeRequest>> audioRequest(FileAudioAnalysisPayload payload,
                                                        BatchContext context,
                                                        std::shared_ptr<const SongRecognizer> recognizer)
{
    AnalyzeRequest request = startedRequest(
        context, QStringLiteral("audio"), payload.filename, payload.originalExtension, payload.mimeType);
    const std::optional<QString> sidecar = mergedUnderHeading(payload.text, std::nullopt, QString());
    if (sidecar) {
        request.text = sidecar;
        co_return request;
    }
    auto gathering = QtConcurrent::run(
        [payload, route = context.audioRoute, recognizer] { return gatherAudioEvidence(payload, route, *recognizer); });
    const AudioEvidence evidence = co_await gathering;
    request.durationSeconds = evidence.durationSeconds;
    if (evidence.text) {
        qCInfo(lcAI).noquote() << evidenceLog(evidence.source) << payload.originalPath;
        request.text = evidence.text;
        co_return request;
    }
    if (evidence.upload) {
        auto reading = QtConcurrent::run([path = payload.originalPath]() -> std::optional<QByteArray> {
            QFile file(path);
            if (!file.open(QIODevice::ReadOnly))
                return std::nullopt;
            return file.readAll();
        });
        const std::optional<QByteArray> bytes = co_await reading;
        if (bytes && bytes->size() == *payload.sizeBytes) {
            request.audio = *bytes;
            co_return request;
        }
        qCWarning(lcAI).noquote() << "Failed to read audio data; using audio metadata fallback:"
                                  << payload.originalPath;
    } else {
        qCInfo(lcAI).noquote() << "Audio transcription upload skipped; using audio metadata fallback:"
                               << payload.originalPath;
    }
    request.text = audioFallbackMetadataText(payload, context.local);
    co_return request;
}

QCoro::Task<std::optional<AnalyzeRequest>> requestFor(AIAnalyzeInput input,
                                                      BatchContext context,
                                                      AIImageArtifactCache &artifacts,
                                                      std::shared_ptr<const SongRecognizer> recognizer)
{
    const AIAnalyzeInput::Payload &payload = input.payload();
    switch (input.kind()) {
    case AIAnalyzeInputKind::Image: {
        auto preparing = imageRequest(std::get<FileImageAnalysisPayload>(payload), context, artifacts);
        co_return co_await preparing;
    }
    case AIAnalyzeInputKind::Text: {
        auto preparing = textRequest(std::get<FileTextAnalysisPayload>(payload), context);
        co_return co_await preparing;
    }
    case AIAnalyzeInputKind::Document: {
        auto preparing = documentRequest(std::get<FileDocumentAnalysisPayload>(payload), context);
        co_return co_await preparing;
    }
    case AIAnalyzeInputKind::Video: {
        auto preparing = videoRequest(std::get<FileVideoAnalysisPayload>(payload), context, recognizer);
        co_return co_await preparing;
    }
    case AIAnalyzeInputKind::Audio: {
        auto preparing = audioRequest(std::get<FileAudioAnalysisPayload>(payload), context, recognizer);
        co_return co_await preparing;
    }
    }
    co_return std::nullopt;
}

std::optional<QString> trimmedOrNone(const std::optional<QString> &text)
{
    if (!text)
        return std::nullopt;
    const QString trimmed = text->trimmed();
    if (trimmed.isEmpty())
        return std::nullopt;
    return trimmed;
}

} // namespace

AIService::AIService(QNetworkAccessManager &network,
                     HostedBackend backend,
                     DeviceService &device,
                     KeyCustody &custody,
                     AIImageArtifactCache &artifacts,
                     RemoteProvider remoteProvider)
    : m_network(network)
    , m_backend(std::move(backend))
    , m_device(device)
    , m_custody(custody)
    , m_artifacts(artifacts)
    , m_remoteProvider(std::move(remoteProvider))
    , m_hostedTimeout(AICloudAnalyzeClient::DefaultTimeout)
    , m_localTimeout(AILocalOllamaAnalyzeClient::DefaultTimeout)
    , m_iWorkExport(network, m_backend, device)
    , m_songRecognizer(std::make_shared<NoCatalogueSongRecognizer>())
{}

QCoro::Task<Result<AIAnalyzeBatchResult, AIServiceError>> AIService::analyzeBatch(QList<AIAnalyzeInput> inputs,
                                                                                  AnalyzeBatchOptions options)
{
    if (inputs.isEmpty())
        co_return AIAnalyzeBatchResult {};
    auto preparing = prepareBatchRequests(std::move(inputs), std::move(options));
    Result<PreparedAnalyzeRequests, AIServiceError> prepared = co_await preparing;
    if (!prepared)
        co_return prepared.failure();
    auto sending = sendPreparedRequests(std::move(prepared).value());
    co_return co_await sending;
}

QCoro::Task<Result<PreparedAnalyzeRequests, AIServiceError>> AIService::prepareBatchRequests(
    QList<AIAnalyzeInput> inputs, AnalyzeBatchOptions options)
{
    PreparedAnalyzeRequests prepared;
    prepared.totalCount = int(inputs.size());
    prepared.shouldUseLocalAI = options.usesLocalAI();
    prepared.localAIEndpoint = options.localAIEndpoint;
    prepared.localAIModel = options.localAIModel;
    prepared.startTime.start();
    if (inputs.isEmpty())
        co_return prepared;

    const QStringList preferredLanguages = QLocale::system().uiLanguages();
    const QString localeName = QLocale::system().name();
    qCInfo(lcAI).noquote() << QStringLiteral("Preparing batch of %1 files%2...")
                                  .arg(inputs.size())
                                  .arg(options.regenerate ? QStringLiteral(" (regenerate)") : QString());

    BatchContext context;
    context.local = options.usesLocalAI();
    context.rendering = context.local ? LocalRendering : HostedRendering;
    context.videoFrames = context.local ? LocalVideoFrames : HostedVideoFrames;
    context.remoteProvider = m_remoteProvider ? m_remoteProvider().trimmed().toLower() : QString();
    context.byokEnabled = options.byokEnabled;
    context.aiProviderGiven = options.aiProvider.has_value();
    context.byokUsable = options.byokEnabled && options.aiProvider.has_value();
    context.fieldsRequested = options.requestedFieldKeys && !options.requestedFieldKeys->isEmpty();

    auto identifying = m_device.deviceId();
    const QString deviceId = co_await identifying;
    auto authenticating = m_device.deviceSecret();
    const Result<QString> deviceSecret = co_await authenticating;
    if (!deviceSecret)
        co_return AIServiceError::apiError(deviceSecret.error());

    // The user's own server speaks for itself: it may need no key, and its
    // sound is heard here, as on the local route, rather than uploaded.
    const bool ownServer = options.aiProvider == AIProvider::OpenAICompatible;
    std::optional<QString> apiKey;
    if (options.byokEnabled && !context.local && options.aiProvider) {
        auto loading = m_custody.load(*options.aiProvider);
        apiKey = trimmedOrNone(co_await loading);
        if (!apiKey && !ownServer) {
            co_return AIServiceError::apiError(
                QCoreApplication::translate("AIMessages", "Missing saved %1 BYOK key. Please save your API key again.")
                    .arg(displayName(*options.aiProvider)));
        }
    }

    AnalyzeRequest &common = context.common;
    common.deviceId = deviceId;
    common.deviceSecret = deviceSecret.value();
    common.appVersion = QStringLiteral(NOMLY_VERSION);
    common.platform = QStringLiteral("linux");
    common.distributionChannel = QStringLiteral("direct");
    if (options.regenerate)
        common.regenerate = true;
    common.language = resolvedOutputLanguage(options.outputLanguage, preferredLanguages, localeName);
    context.audioRoute
        = AudioEvidenceRoute { context.local || ownServer, context.byokEnabled,
                               context.byokUsable,         common.language.value_or(options.outputLanguage),
                               preferredLanguages,         localeName };
    common.byokEnabled = options.byokEnabled;
    if (options.aiProvider)
        common.aiProvider = rawValue(*options.aiProvider);
    common.apiKey = apiKey;
    if (options.byokEnabled && !context.local)
        common.byokModel = trimmedOrNone(options.byokModel);
    if (ownServer && !context.local)
        common.providerBaseUrl = options.providerBaseUrl;
    common.rejectedTitles = options.rejectedTitles;
    common.requestedFieldKeys = options.requestedFieldKeys;
    if (!options.outputOptions.includeDescription)
        common.includeDescription = false;
    if (!options.outputOptions.includeTags)
        common.includeTags = false;
    common.renamePromptOverride = options.renamePromptOverride;
    if (options.outputOptions.includeTags)
        common.tagPromptOverride = options.tagPromptOverride;

    // Every input is prepared at once; the caller bounds a batch's memory by
    // the size of the chunks it hands in.
    std::vector<QCoro::Task<std::optional<AnalyzeRequest>>> children;
    children.reserve(inputs.size());
    for (const AIAnalyzeInput &input : std::as_const(inputs))
        children.push_back(requestFor(input, context, m_artifacts, m_songRecognizer));
    for (int index = 0; index < int(children.size()); ++index) {
        std::optional<AnalyzeRequest> request = co_await children[index];
        if (!request)
            continue;
        prepared.requests.append(std::move(*request));
        prepared.requestIndices.append(index);
    }
    qCInfo(lcAI).noquote() << QStringLiteral("File preparation: %1ms").arg(prepared.startTime.elapsed());

    if (prepared.requests.isEmpty())
        co_return AIServiceError::validImageNotFound();
    co_return prepared;
}

QCoro::Task<Result<AIAnalyzeBatchResult, AIServiceError>> AIService::sendPreparedRequests(
    PreparedAnalyzeRequests prepared)
{
    if (prepared.requests.isEmpty())
        co_return AIAnalyzeBatchResult {};

    if (prepared.shouldUseLocalAI) {
        AILocalOllamaAnalyzeClient client(m_network);
        client.setTimeout(m_localTimeout);
        auto analysing = client.analyzeBatch(prepared.requests,
                                             prepared.requestIndices,
                                             prepared.totalCount,
                                             prepared.localAIEndpoint,
                                             prepared.localAIModel);
        co_return co_await analysing;
    }

    AICloudAnalyzeClient client(m_network, m_backend);
    client.setTimeout(m_hostedTimeout);
    auto sending = client.sendBatch(prepared.requests, prepared.startTime);
    const Result<BatchAnalyzeResponse, AIServiceError> response = co_await sending;
    if (!response)
        co_return response.failure();
    const BatchAnalyzeResponse &batch = response.value();
    if (batch.timings) {
        qCInfo(lcAI).noquote() << QStringLiteral("Server Timings: DB: %1ms | AI: %2ms | Total: %3ms")
                                      .arg(batch.timings->db)
                                      .arg(batch.timings->ai)
                                      .arg(batch.timings->total);
    }

    AIAnalyzeBatchResult result;
    result.analyses.resize(prepared.totalCount);
    const qsizetype answered = std::min(batch.results.size(), prepared.requestIndices.size());
    for (qsizetype i = 0; i < answered; ++i) {
        const int target = prepared.requestIndices.at(i);
        if (target >= 0 && target < result.analyses.size())
            result.analyses[target] = imageAnalysisFrom(batch.results.at(i));
    }
    result.effectiveProvider = batch.effectiveProvider;
    co_return result;
}

} // namespace Nomly
