#include "ai/aicloudanalyzeclient.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QStringDecoder>
#include <algorithm>
#include <cstring>
#include <memory>
#include <optional>

#include <qcoro/qcorosignal.h>
#include <qcoro/qcorotimer.h>

#include "ai/aimessagelocalizer.h"
#include "ai/analyzejson.h"
#include "ai/backenderrormessage.h"
#include "platform/logcategories.h"

namespace Nomly {

namespace {

using namespace std::chrono_literals;

constexpr auto TransportRetryDelay = 500ms;
constexpr int ServerRetryBaseMs = 400;
constexpr int ServerRetrySpreadMs = 400;
constexpr qsizetype MaxCodeWordLength = 96;

struct ReplyDeleter
{
    void operator()(QNetworkReply *reply) const { reply->deleteLater(); }
};

// One attempt: an HTTP status with its body, or the transport's error when no
// HTTP answer came.
struct Attempt
{
    std::optional<int> status;
    QNetworkReply::NetworkError error = QNetworkReply::NoError;
    QString errorText;
    QByteArray body;
};

// Failures below HTTP: the network, the connection, a proxy. The other codes
// of QNetworkReply name an HTTP status or a protocol fault.
bool isConnectionFailure(QNetworkReply::NetworkError error)
{
    return (error > QNetworkReply::NoError && error < QNetworkReply::ContentAccessDenied)
        || error == QNetworkReply::ContentReSendError;
}

// The failures that clear up by themselves: the connection dropped, the host
// could not be reached or looked up, the network went away.
bool isPassingTransportFailure(QNetworkReply::NetworkError error)
{
    switch (error) {
    case QNetworkReply::RemoteHostClosedError:
    // The connection closed before the answer, and the body may not be sent
    // again behind the call loop's back (see OneShotBody).
    case QNetworkReply::ContentReSendError:
    case QNetworkReply::ConnectionRefusedError:
    case QNetworkReply::HostNotFoundError:
    case QNetworkReply::TemporaryNetworkFailureError:
    case QNetworkReply::NetworkSessionFailedError:
        return true;
    default:
        return false;
    }
}

// The transfer time-out aborts the reply, which Qt reports as cancelled.
bool isTimeout(QNetworkReply::NetworkError error)
{
    return error == QNetworkReply::OperationCanceledError || error == QNetworkReply::TimeoutError;
}

AIServiceError transportError(const Attempt &attempt)
{
    if (isTimeout(attempt.error)) {
        return AIServiceError::transport(
            attempt.error, localizedAIMessage(QStringLiteral("The request to the AI service timed out.")));
    }
    return AIServiceError::transport(attempt.error, attempt.errorText);
}

// A request body that can be read once. Qt sends a request again by itself
// when a connection closes before the answer, which would make one attempt
// two or three; a body that cannot be rewound turns that into an error, and
// the call loop alone decides on the one retry.
class OneShotBody final : public QIODevice
{
public:
    explicit OneShotBody(QByteArray bytes)
        : m_bytes(std::move(bytes))
    {
        open(QIODevice::ReadOnly);
    }

    bool isSequential() const override { return true; }

    bool reset() override { return false; }

    qint64 bytesAvailable() const override { return m_bytes.size() - m_read + QIODevice::bytesAvailable(); }

protected:
    qint64 readData(char *data, qint64 maxSize) override
    {
        const qint64 count = std::min(maxSize, m_bytes.size() - m_read);
        std::memcpy(data, m_bytes.constData() + m_read, size_t(count));
        m_read += count;
        return count;
    }

    qint64 writeData(const char *, qint64) override { return -1; }

private:
    QByteArray m_bytes;
    qint64 m_read = 0;
};

QCoro::Task<Attempt> post(QNetworkAccessManager &network, QNetworkRequest request, QByteArray body)
{
    request.setHeader(QNetworkRequest::ContentLengthHeader, body.size());
    request.setAttribute(QNetworkRequest::DoNotBufferUploadDataAttribute, true);
    auto *upload = new OneShotBody(std::move(body));
    const std::unique_ptr<QNetworkReply, ReplyDeleter> reply(network.post(request, upload));
    // The reply reads the body while it sends, so the body goes with it.
    upload->setParent(reply.get());
    if (!reply->isFinished()) {
        auto finished = qCoro(reply.get(), &QNetworkReply::finished);
        co_await finished;
    }
    Attempt attempt;
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    // A connection lost halfway through an answer has a status but no whole
    // answer; it counts as a transport failure.
    if (status.isValid() && !isConnectionFailure(reply->error())) {
        attempt.status = status.toInt();
    }
    attempt.error = reply->error();
    attempt.errorText = reply->errorString();
    // What Qt says of a connection closed before the answer, whichever way
    // it noticed.
    if (attempt.error == QNetworkReply::ContentReSendError)
        attempt.errorText = QStringLiteral("Connection closed");
    attempt.body = reply->readAll();
    co_return attempt;
}

// The body as text; "Unknown error" when it is not UTF-8.
QByteArray textOrUnknown(const QByteArray &body)
{
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString text = decoder(body);
    if (decoder.hasError()) {
        return QByteArrayLiteral("Unknown error");
    }
    return body;
}

// The text of a 429 reply: its `error`, else what any other failed reply says.
QString rateLimitMessage(const QByteArray &body)
{
    const QJsonDocument document = QJsonDocument::fromJson(body);
    const QJsonValue error = document.object().value(QLatin1StringView("error"));
    if (error.isString() && !error.toString().trimmed().isEmpty()) {
        return error.toString();
    }
    return backendErrorMessage(429, body);
}

// A value counts as a code word when it is a short string of plain
// identifier characters; anything else could carry the user's content.
std::optional<QString> codeWord(const QJsonValue &value)
{
    static const QRegularExpression Pattern(QStringLiteral("^[A-Za-z0-9._:-]+$"));
    if (!value.isString()) {
        return std::nullopt;
    }
    const QString text = value.toString().trimmed();
    if (text.isEmpty() || text.size() > MaxCodeWordLength || !Pattern.match(text).hasMatch()) {
        return std::nullopt;
    }
    return text;
}

std::optional<QString> firstCodeWord(std::initializer_list<QJsonValue> values)
{
    for (const QJsonValue &value : values) {
        if (std::optional<QString> word = codeWord(value)) {
            return word;
        }
    }
    return std::nullopt;
}

QJsonObject bodyObject(const QByteArray &body)
{
    return QJsonDocument::fromJson(body).object();
}

QJsonValue nested(const QJsonObject &json, QLatin1StringView outer, QLatin1StringView inner)
{
    return json.value(outer).toObject().value(inner);
}

constexpr QLatin1StringView ErrorKey("error");
constexpr QLatin1StringView CodeKey("code");
constexpr QLatin1StringView TypeKey("type");

qint64 millisecondsOf(const QElapsedTimer &timer)
{
    return timer.isValid() ? timer.elapsed() : 0;
}

} // namespace

QString backendFailureReason(int status, const QByteArray &body)
{
    const QJsonObject json = bodyObject(body);
    const std::optional<QString> word = firstCodeWord({
        nested(json, ErrorKey, CodeKey),
        json.value(CodeKey),
        json.value(ErrorKey),
        nested(json, ErrorKey, TypeKey),
        json.value(TypeKey),
    });
    if (word) {
        return *word;
    }
    switch (status) {
    case 400:
        return QStringLiteral("bad_request");
    case 401:
        return QStringLiteral("unauthorized");
    case 403:
        return QStringLiteral("forbidden");
    case 404:
        return QStringLiteral("not_found");
    case 429:
        return QStringLiteral("rate_limit");
    default:
        break;
    }
    if (status >= 500) {
        return QStringLiteral("server_error");
    }
    return QStringLiteral("http_") + QString::number(status);
}

QString backendFailureSummary(int status, const QByteArray &body)
{
    const QJsonObject json = bodyObject(body);
    QStringList items {
        QStringLiteral("status=") + QString::number(status),
        QStringLiteral("body_bytes=") + QString::number(body.size()),
    };
    if (const auto code = firstCodeWord({ nested(json, ErrorKey, CodeKey), json.value(CodeKey) })) {
        items.append(QStringLiteral("code=") + *code);
    }
    if (const auto type = firstCodeWord({ nested(json, ErrorKey, TypeKey), json.value(TypeKey) })) {
        items.append(QStringLiteral("type=") + *type);
    }
    return items.join(u' ');
}

AICloudAnalyzeClient::AICloudAnalyzeClient(QNetworkAccessManager &network, HostedBackend backend)
    : m_network(network)
    , m_backend(std::move(backend))
{}

QCoro::Task<Result<BatchAnalyzeResponse, AIServiceError>> AICloudAnalyzeClient::sendBatch(
    QList<AnalyzeRequest> requests, QElapsedTimer batchStart)
{
    Result<QNetworkRequest> prepared = m_backend.request(BackendFunction::Analyze);
    if (!prepared) {
        qCWarning(lcNetwork).noquote() << "Batch not sent:" << prepared.error();
        co_return AIServiceError::invalidUrl();
    }
    QNetworkRequest request = prepared.value();
    qCInfo(lcNetwork).noquote() << QStringLiteral("Sending batch to: ") + request.url().toString(QUrl::RemoveUserInfo);

    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/json"));
    request.setRawHeader("Cache-Control", "no-store");
    request.setRawHeader("Pragma", "no-cache");
    // File content must stay out of any cache, in both directions.
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    request.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    request.setTransferTimeout(static_cast<int>(m_timeout.count()));

    const QByteArray body = analyzeRequestBody(requests);

    bool serverRetryLeft = true;
    int transportAttempts = 0;
    for (;;) {
        QElapsedTimer sent;
        sent.start();
        auto posting = post(m_network, request, body);
        const Attempt attempt = co_await posting;

        if (!attempt.status) {
            if (attempt.error == QNetworkReply::NoError) {
                co_return AIServiceError::invalidResponse();
            }
            ++transportAttempts;
            if (isPassingTransportFailure(attempt.error) && transportAttempts < 2) {
                qCInfo(lcNetwork).noquote() << "Retry attempt 1/2, waiting 0.5s";
                auto pause = QCoro::sleepFor(TransportRetryDelay);
                co_await pause;
                continue;
            }
            qCWarning(lcNetwork).noquote() << "Batch request failed:" << attempt.errorText;
            co_return transportError(attempt);
        }

        const int status = *attempt.status;
        qCInfo(lcNetwork).noquote() << QStringLiteral("Network request: %1ms | Total: %2ms")
                                           .arg(sent.elapsed())
                                           .arg(millisecondsOf(batchStart));
        qCInfo(lcNetwork).noquote() << QStringLiteral("Batch response status: ") + QString::number(status);

        if (status >= 500 && serverRetryLeft) {
            serverRetryLeft = false;
            transportAttempts = 0;
            const int delay
                = ServerRetryBaseMs + static_cast<int>(QRandomGenerator::global()->bounded(ServerRetrySpreadMs + 1));
            qCWarning(lcNetwork).noquote()
                << QStringLiteral("Server error %1. Retrying in %2ms...").arg(status).arg(delay);
            auto pause = QCoro::sleepFor(std::chrono::milliseconds(delay));
            co_await pause;
            continue;
        }
        if (status == 429) {
            co_return AIServiceError::apiError(localizedAIMessage(rateLimitMessage(attempt.body)));
        }
        if (status != 200) {
            qCWarning(lcNetwork).noquote()
                << QStringLiteral("Batch API Error ") + backendFailureSummary(status, attempt.body);
            const QString message = localizedAIMessage(backendErrorMessage(status, textOrUnknown(attempt.body)));
            co_return AIServiceError::apiErrorWithReason(message, backendFailureReason(status, attempt.body));
        }

        Result<BatchAnalyzeResponse> decoded = batchAnalyzeResponseFromBody(attempt.body);
        if (!decoded) {
            qCWarning(lcNetwork).noquote() << QStringLiteral("Failed to decode batch response: %1. Body bytes: %2")
                                                  .arg(decoded.error())
                                                  .arg(attempt.body.size());
            co_return AIServiceError::invalidResponse();
        }
        co_return std::move(decoded).value();
    }
}

} // namespace Nomly
