#include "ai/ailocalollamaanalyzeclient.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QStringDecoder>
#include <algorithm>
#include <memory>
#include <vector>

#include <qcoro/qcorosignal.h>

#include "ai/aimessagelocalizer.h"
#include "ai/analysisprompt.h"
#include "ai/analyzeresponsemapping.h"
#include "ai/recognizedaudiotrack.h"
#include "platform/logcategories.h"

namespace Nomly {

namespace {

// The reason word of a chat reply that doesn't read as Ollama's JSON.
const QString UndecodableReply = QStringLiteral("undecodable_reply");

struct ReplyDeleter
{
    void operator()(QNetworkReply *reply) const { reply->deleteLater(); }
};

// The English text with its value filled in, then localised: the localiser
// knows these texts by their fixed parts and carries the value over.
QString localizedWith(const QString &text, const QString &value)
{
    return localizedAIMessage(text.arg(value));
}

QString modelNotInstalledText(const QString &model)
{
    return localizedWith(
        QStringLiteral("Ollama model \"%1\" is not installed. Pull it in Ollama or choose an installed model."), model);
}

QString genericFailureText()
{
    return localizedAIMessage(QStringLiteral("Ollama analysis failed. Check the endpoint and model, then retry."));
}

QString timedOutText()
{
    return localizedAIMessage(QStringLiteral("Ollama request timed out. Try again or choose a smaller model."));
}

// The pictures of one call: `images` when it has any, else the single `image`
// unless `images` was given empty.
std::optional<QList<QByteArray>> attachedImages(const AnalyzeRequest &request)
{
    if (request.images)
        return request.images->isEmpty() ? std::nullopt : request.images;
    if (request.image)
        return QList<QByteArray> { *request.image };
    return std::nullopt;
}

QByteArray chatBody(const AnalyzeRequest &request, const QString &model)
{
    QJsonObject message {
        { QStringLiteral("role"), QStringLiteral("user") },
        { QStringLiteral("content"), analysisPrompt(request) },
    };
    if (const std::optional<QList<QByteArray>> images = attachedImages(request)) {
        QJsonArray encoded;
        for (const QByteArray &image : *images)
            encoded.append(QString::fromLatin1(image.toBase64()));
        message.insert(QStringLiteral("images"), encoded);
    }
    const QJsonObject options {
        { QStringLiteral("temperature"), 0.0 },
        { QStringLiteral("num_predict"), 240 },
        { QStringLiteral("num_ctx"), 2048 },
    };
    const QJsonObject body {
        { QStringLiteral("model"), model.trimmed() },
        { QStringLiteral("messages"), QJsonArray { message } },
        { QStringLiteral("stream"), false },
        { QStringLiteral("options"), options },
        { QStringLiteral("keep_alive"), QStringLiteral("10m") },
    };
    return QJsonDocument(body).toJson(QJsonDocument::Compact);
}

// What Ollama's /api/chat reply carries that matters here.
struct ChatReply
{
    std::optional<QString> content; // message.content
    std::optional<QString> response;
    std::optional<QString> error;
};

Result<ChatReply, AIServiceError> chatReplyFrom(const QByteArray &body)
{
    auto undecodable = [](const QString &why) { return AIServiceError::apiErrorWithReason(why, UndecodableReply); };
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(body, &parseError);
    if (parseError.error != QJsonParseError::NoError || !document.isObject())
        return undecodable(QStringLiteral("The Ollama reply is not a JSON object"));
    const QJsonObject json = document.object();

    ChatReply reply;
    // A key that is absent or null stays unset; one of another type fails.
    auto readString = [&](const QJsonObject &object, const QString &key, std::optional<QString> &into) {
        const QJsonValue value = object.value(key);
        if (value.isUndefined() || value.isNull())
            return true;
        if (!value.isString())
            return false;
        into = value.toString();
        return true;
    };
    const QJsonValue message = json.value(QStringLiteral("message"));
    if (message.isObject()) {
        if (!readString(message.toObject(), QStringLiteral("content"), reply.content))
            return undecodable(QStringLiteral("The Ollama reply has a message content that is not text"));
    } else if (!message.isUndefined() && !message.isNull()) {
        return undecodable(QStringLiteral("The Ollama reply has a message that is not an object"));
    }
    if (!readString(json, QStringLiteral("response"), reply.response)
        || !readString(json, QStringLiteral("error"), reply.error)) {
        return undecodable(QStringLiteral("The Ollama reply has a response or error that is not text"));
    }
    return reply;
}

// A body that isn't UTF-8 text says nothing a user could read.
QString replyBodyText(const QByteArray &body)
{
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString text = decoder.decode(body);
    if (decoder.hasError())
        return QStringLiteral("Local AI request failed");
    return text;
}

} // namespace

AILocalOllamaAnalyzeClient::AILocalOllamaAnalyzeClient(QNetworkAccessManager &network)
    : m_network(network)
{}

QCoro::Task<Result<AIAnalyzeBatchResult, AIServiceError>> AILocalOllamaAnalyzeClient::analyzeBatch(
    QList<AnalyzeRequest> requests, QList<int> requestIndices, int totalCount, QString endpoint, QString model)
{
    const QString trimmedModel = model.trimmed();
    if (trimmedModel.isEmpty())
        co_return AIServiceError::apiError(localizedAIMessage(QStringLiteral("Local AI model is not configured")));

    QList<std::pair<int, ImageAnalysis>> results;
    for (qsizetype start = 0; start < requests.size(); start += MaxInFlight) {
        // Tasks start as they are made, so the calls of one slice run
        // together and the next slice waits for all of them.
        std::vector<QCoro::Task<std::pair<int, ImageAnalysis>>> slice;
        const qsizetype end = std::min<qsizetype>(start + MaxInFlight, requests.size());
        for (qsizetype position = start; position < end; ++position)
            slice.push_back(timedAnalysis(int(position), requests.at(position), endpoint, trimmedModel));
        for (auto &task : slice)
            results.append(co_await task);
    }

    std::sort(results.begin(), results.end(), [](const auto &a, const auto &b) { return a.first < b.first; });
    AIAnalyzeBatchResult batch;
    batch.analyses.resize(std::max(totalCount, 0));
    for (auto &[position, analysis] : results) {
        const int index = requestIndices.value(position, -1);
        if (index >= 0 && index < batch.analyses.size())
            batch.analyses[index] = std::move(analysis);
    }
    batch.effectiveProvider = QStringLiteral("ollama:") + trimmedModel;
    co_return batch;
}

QCoro::Task<std::pair<int, ImageAnalysis>> AILocalOllamaAnalyzeClient::timedAnalysis(int position,
                                                                                     AnalyzeRequest request,
                                                                                     QString endpoint,
                                                                                     QString model)
{
    QElapsedTimer clock;
    clock.start();
    auto call = analyzeOne(std::move(request), endpoint, model);
    const Result<ImageAnalysis, AIServiceError> result = co_await call;
    if (result) {
        qCInfo(lcAI).noquote().nospace() << "Local Ollama analysis: " << clock.elapsed() << "ms";
        co_return std::pair { position, result.value() };
    }
    qCWarning(lcAI).noquote().nospace() << "Local Ollama analysis failed after " << clock.elapsed()
                                        << "ms: " << result.failure().text();
    ImageAnalysis failed;
    failed.error = ollamaTransportErrorText(result.failure(), model);
    co_return std::pair { position, failed };
}

QCoro::Task<Result<ImageAnalysis, AIServiceError>> AILocalOllamaAnalyzeClient::analyzeOne(AnalyzeRequest request,
                                                                                          QString endpoint,
                                                                                          QString model)
{
    const std::optional<QUrl> url = ollamaEndpointUrl(endpoint, QStringLiteral("/api/chat"));
    if (!url)
        co_return AIServiceError::invalidUrl();

    QNetworkRequest call(*url);
    call.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/json"));
    call.setTransferTimeout(int(m_timeout.count()));
    const std::unique_ptr<QNetworkReply, ReplyDeleter> reply(m_network.post(call, chatBody(request, model)));
    if (!reply->isFinished()) {
        auto finished = qCoro(reply.get(), &QNetworkReply::finished);
        co_await finished;
    }

    const QVariant statusAttribute = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (!statusAttribute.isValid()) {
        if (reply->error() != QNetworkReply::NoError)
            co_return AIServiceError::transport(reply->error(), reply->errorString());
        co_return AIServiceError::invalidResponse();
    }
    const int status = statusAttribute.toInt();
    const QByteArray body = reply->readAll();
    if (status != 200)
        co_return AIServiceError::apiError(ollamaReplyErrorText(status, replyBodyText(body), model.trimmed()));

    const Result<ChatReply, AIServiceError> chat = chatReplyFrom(body);
    if (!chat)
        co_return chat.failure();
    if (chat.value().error && !chat.value().error->isEmpty())
        co_return AIServiceError::apiError(ollamaReplyErrorText(std::nullopt, *chat.value().error, model.trimmed()));

    const QString text = chat.value().content.value_or(chat.value().response.value_or(QString()));
    const std::optional<AnalyzeResponse> answer = parseModelAnswer(text);
    if (!answer) {
        ImageAnalysis invalid;
        invalid.error = localizedAIMessage(QStringLiteral("Local AI returned invalid JSON"));
        co_return invalid;
    }
    ImageAnalysis analysis = imageAnalysisFrom(*answer);
    if (!request.wantsDescription())
        analysis.description.clear();
    if (!request.wantsTags())
        analysis.tags.clear();
    co_return withRecognizedTrack(std::move(analysis), request);
}

std::optional<QUrl> ollamaEndpointUrl(const QString &endpoint, const QString &path)
{
    QString text = endpoint.trimmed();
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && text.at(begin) == u'/')
        ++begin;
    while (end > begin && text.at(end - 1) == u'/')
        --end;
    text = text.mid(begin, end - begin);
    if (text.isEmpty())
        return std::nullopt;
    if (!text.contains(QStringLiteral("://")))
        text.prepend(QStringLiteral("http://"));

    QUrl url(text, QUrl::StrictMode);
    if (!url.isValid() || url.host().isEmpty())
        return std::nullopt;
    if (url.host() == u"localhost")
        url.setHost(QStringLiteral("127.0.0.1"));
    url.setPath(path);
    return url;
}

QString ollamaReplyErrorText(std::optional<int> status, const QString &message, const QString &model)
{
    const QString lowered = message.toLower();
    const bool namesModel = lowered.contains(u"model");
    const bool modelMissing = namesModel
        && (lowered.contains(u"not found") || lowered.contains(u"does not exist") || lowered.contains(u"pull"));
    if (modelMissing || (status == 404 && namesModel))
        return modelNotInstalledText(model);

    if (status) {
        switch (*status) {
        case 400:
            return localizedAIMessage(
                QStringLiteral("Ollama rejected the request. Check the configured model and endpoint, then retry."));
        case 401:
        case 403:
            return localizedAIMessage(
                QStringLiteral("Ollama endpoint rejected the request. Check endpoint access, then retry."));
        case 404:
            return modelNotInstalledText(model);
        case 429:
            return localizedAIMessage(QStringLiteral("Ollama is busy. Wait a moment, then retry."));
        default:
            if (*status >= 500) {
                return localizedAIMessage(QStringLiteral(
                    "Ollama failed while running the model. Restart Ollama or choose a smaller model, then retry."));
            }
        }
    }
    if (lowered.contains(u"timed out") || lowered.contains(u"timeout"))
        return timedOutText();
    if (!message.isEmpty())
        return localizedWith(QStringLiteral("Ollama analysis failed: %1"), message);
    return genericFailureText();
}

QString ollamaTransportErrorText(const AIServiceError &error, const QString &model)
{
    Q_UNUSED(model)
    switch (error.kind()) {
    case AIServiceError::Kind::InvalidResponse:
        return localizedAIMessage(QStringLiteral("Ollama returned an invalid response"));
    case AIServiceError::Kind::InvalidUrl:
        return localizedAIMessage(QStringLiteral("Ollama endpoint URL is invalid"));
    case AIServiceError::Kind::ApiError:
        return error.text();
    case AIServiceError::Kind::Transport:
        switch (error.networkError().value_or(QNetworkReply::UnknownNetworkError)) {
        case QNetworkReply::RemoteHostClosedError:
        case QNetworkReply::TemporaryNetworkFailureError:
        case QNetworkReply::NetworkSessionFailedError:
            return localizedAIMessage(QStringLiteral("Network connection to Ollama was lost"));
        // A transfer time-out aborts the reply, which Qt reports as cancelled.
        case QNetworkReply::TimeoutError:
        case QNetworkReply::OperationCanceledError:
            return timedOutText();
        default:
            return localizedAIMessage(QStringLiteral("Ollama connection failed. Check the endpoint and retry."));
        }
    case AIServiceError::Kind::ApiErrorWithReason:
    case AIServiceError::Kind::ValidImageNotFound:
        break;
    }
    return genericFailureText();
}

} // namespace Nomly
