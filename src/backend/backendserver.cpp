#include "backend/backendserver.h"

#include <QElapsedTimer>
#include <QHash>
#include <QHttpServer>
#include <QHttpServerRequest>
#include <QHttpServerResponder>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>

#include <qcoro/qcorotask.h>

#include "ai/analyzejson.h"
#include "ai/hostedbackend.h"
#include "ai/keysyncjson.h"
#include "backend/backendanalyzer.h"
#include "backend/backendconfigresponse.h"
#include "backend/backendkeystore.h"
#include "backend/backendlog.h"
#include "backend/documentconverter.h"
#include "backend/providerclient.h"
#include "backend/requestgate.h"

namespace Nomly {

namespace {

using Status = QHttpServerResponder::StatusCode;

const QString ConfigPath = QStringLiteral("/functions/v1/config");
const QString SaveApiKeyPath = QStringLiteral("/functions/v1/save-api-key");
const QString AnalyzePath = QStringLiteral("/functions/v1/analyze");
const QString IWorkExportPath = QStringLiteral("/functions/v1/iwork-export");

QJsonObject errorBody(const QString &message)
{
    return { { QLatin1StringView("error"), message } };
}

QByteArray headerOf(const QHttpServerRequest &request, QByteArrayView name)
{
    for (const auto &[key, value] : request.headers()) {
        if (key.compare(name, Qt::CaseInsensitive) == 0)
            return value;
    }
    return {};
}

void answer(QHttpServerResponder &responder, const QJsonObject &body, Status status)
{
    responder.write(QJsonDocument(body).toJson(QJsonDocument::Compact),
                    { { QByteArrayLiteral("Content-Type"), QByteArrayLiteral("application/json") },
                      { QByteArrayLiteral("Cache-Control"), QByteArrayLiteral("no-store") } },
                    status);
}

// The document export's answer when it gives no PDF: a status the client
// acts on (429 is sent again) and the text it shows.
std::pair<Status, QString> exportRefusal(DocumentConverter::Status status)
{
    switch (status) {
    case DocumentConverter::Status::Unavailable:
        return { Status::NotImplemented,
                 QStringLiteral("Document conversion needs LibreOffice (soffice), which is not installed on this "
                                "backend.") };
    case DocumentConverter::Status::Busy:
        return { Status::TooManyRequests, QStringLiteral("The document converter is busy. Try again shortly.") };
    case DocumentConverter::Status::TimedOut:
        return { Status::GatewayTimeout, QStringLiteral("The document took too long to convert.") };
    case DocumentConverter::Status::Failed:
    case DocumentConverter::Status::Converted:
        break;
    }
    return { Status::UnprocessableEntity, QStringLiteral("The document could not be converted to PDF.") };
}

// The format the client names, lower case.
QString documentExtension(const QHttpServerRequest &request)
{
    return QString::fromUtf8(headerOf(request, "x-file-extension")).trimmed().toLower();
}

} // namespace

struct BackendServer::Parts
{
    explicit Parts(BackendConfig backendConfig)
        : config(std::move(backendConfig))
        , providers(network, config.providerTimeout)
        , analyzer(config, keys, providers)
        , converter(config.documentConverter, config.conversionTimeout)
    {}

    // Whether the call may go on; answers it when it may not.
    bool admit(const QHttpServerRequest &request, QHttpServerResponder &responder) const;
    void sendConfig(const QHttpServerRequest &request, QHttpServerResponder &&responder) const;
    void saveApiKey(const QHttpServerRequest &request, QHttpServerResponder &&responder);
    void analyze(const QHttpServerRequest &request, QHttpServerResponder &&responder);
    QCoro::Task<> answerBatch(QHttpServerResponder responder, QList<AnalyzeRequest> requests);
    QCoro::Task<> answerKeySync(QHttpServerResponder responder, QJsonObject json);
    void exportDocument(const QHttpServerRequest &request, QHttpServerResponder &&responder);
    QCoro::Task<> answerExport(QHttpServerResponder responder, QByteArray document, QString extension);

    BackendConfig config;
    BackendKeyStore keys;
    // The number of the latest key sync of each device's provider.
    QHash<QString, quint64> keySyncSerials;
    ProviderClient providers;
    BackendAnalyzer analyzer;
    QHttpServer http;
    QPointer<QTcpServer> tcp;
    QString error;
    // Last, so that it goes first: calls in flight end while everything they
    // use is still there.
    QNetworkAccessManager network;
    // After the network: conversions still running end first, and answer
    // their callers while everything else is there.
    DocumentConverter converter;
};

bool BackendServer::Parts::admit(const QHttpServerRequest &request, QHttpServerResponder &responder) const
{
    const QByteArray expected = QByteArrayLiteral("Bearer ") + config.gatewayToken.toUtf8();
    if (config.gatewayToken.isEmpty() || !sameSecret(headerOf(request, "authorization"), expected)) {
        qCWarning(lcBackend).noquote() << "Refused call without the gateway token:" << request.url().path();
        answer(responder, errorBody(QStringLiteral("Invalid or missing gateway token.")), Status::Unauthorized);
        return false;
    }
    if (request.body().size() > config.maxRequestBytes) {
        qCWarning(lcBackend).noquote() << "Refused body of" << request.body().size()
                                       << "bytes:" << request.url().path();
        answer(responder, errorBody(QStringLiteral("The request is too large.")), Status::PayloadTooLarge);
        return false;
    }
    return true;
}

void BackendServer::Parts::sendConfig(const QHttpServerRequest &request, QHttpServerResponder &&responder) const
{
    if (admit(request, responder))
        answer(responder, configResponseJson(config), Status::Ok);
}

void BackendServer::Parts::saveApiKey(const QHttpServerRequest &request, QHttpServerResponder &&responder)
{
    if (!admit(request, responder))
        return;
    // Runs on after this returns when the provider is asked about the key.
    answerKeySync(std::move(responder), QJsonDocument::fromJson(request.body()).object());
}

QCoro::Task<> BackendServer::Parts::answerKeySync(QHttpServerResponder responder, QJsonObject json)
{
    const QPointer<QTcpSocket> socket(responder.socket());
    QJsonObject reply;
    Failure failure;
    if (const auto ollama = ollamaSyncRequestFromJson(json)) {
        const Result<OllamaSyncResponse> result = keys.apply(*ollama);
        if (result)
            reply = toJson(result.value());
        else
            failure = result.failure();
    } else if (const auto byok = byokSyncRequestFromJson(json)) {
        // A new key is tried with its provider first, so that a key the
        // provider refuses is never kept, here or by the application.
        const std::optional<BackendProvider> provider = providerFromName(byok->provider);
        const bool newKey = !byok->apiKey.trimmed().isEmpty() && !byok->toggleOnly.value_or(false)
            && !byok->modelOnly.value_or(false);
        // The latest sync of a device's provider wins: one that arrives while
        // an older key is being tried makes that older key stale.
        const QString syncKey = byok->deviceId + u'/' + byok->provider.trimmed().toLower();
        const quint64 serial = ++keySyncSerials[syncKey];
        if (provider && *provider != BackendProvider::Ollama && newKey) {
            ProviderCall check;
            check.provider = *provider;
            check.baseUrl = config.baseUrls.value(providerName(*provider), providerDefaultBaseUrl(*provider));
            check.apiKey = byok->apiKey.trimmed();
            auto verifying = providers.verifyKey(check);
            const Result<> verified = co_await verifying;
            if (!socket || socket->state() != QAbstractSocket::ConnectedState)
                co_return;
            if (keySyncSerials.value(syncKey) != serial) {
                qCInfo(lcBackend) << "Key sync skipped: a later sync for the same provider came first";
                answer(responder,
                       QJsonObject { { QLatin1StringView("success"), false },
                                     { QLatin1StringView("error"),
                                       QStringLiteral("A newer key sync for this provider replaced this one.") } },
                       Status::Ok);
                co_return;
            }
            if (!verified) {
                qCInfo(lcBackend) << "Key sync refused: the provider refused the key";
                answer(responder,
                       QJsonObject { { QLatin1StringView("success"), false },
                                     { QLatin1StringView("error"), verified.error() } },
                       Status::Ok);
                co_return;
            }
        }
        const Result<BYOKSyncResponse> result = keys.apply(*byok);
        if (result)
            reply = toJson(result.value());
        else
            failure = result.failure();
    } else {
        failure = Failure { QStringLiteral("The key sync request could not be read."), 400 };
    }
    if (!failure.message.isEmpty()) {
        QJsonObject body = errorBody(failure.message);
        body.insert(QLatin1StringView("success"), false);
        qCInfo(lcBackend) << "Key sync refused with status" << failure.code;
        answer(responder, body, static_cast<Status>(failure.code));
        co_return;
    }
    qCInfo(lcBackend) << "Key sync applied";
    answer(responder, reply, Status::Ok);
}

void BackendServer::Parts::analyze(const QHttpServerRequest &request, QHttpServerResponder &&responder)
{
    if (!admit(request, responder))
        return;
    Result<QList<AnalyzeRequest>> requests = analyzeRequestsFromBody(request.body());
    if (!requests) {
        answer(responder, errorBody(requests.error()), Status::BadRequest);
        return;
    }
    qCInfo(lcBackend) << "Analysis batch of" << requests.value().size() << "files," << request.body().size() << "bytes";
    // Runs on after this returns; the responder answers when the providers have.
    answerBatch(std::move(responder), std::move(requests).value());
}

QCoro::Task<> BackendServer::Parts::answerBatch(QHttpServerResponder responder, QList<AnalyzeRequest> requests)
{
    // The caller may hang up while the providers think; its socket then goes.
    const QPointer<QTcpSocket> socket(responder.socket());
    auto batch = analyzer.analyze(std::move(requests));
    const BatchAnalyzeResponse response = co_await batch;
    if (!socket || socket->state() != QAbstractSocket::ConnectedState) {
        qCInfo(lcBackend) << "Caller left before the batch was answered";
        co_return;
    }
    answer(responder, toJson(response), Status::Ok);
}

void BackendServer::Parts::exportDocument(const QHttpServerRequest &request, QHttpServerResponder &&responder)
{
    if (!admit(request, responder))
        return;
    if (headerOf(request, "x-device-id").isEmpty() || headerOf(request, "x-device-secret").isEmpty()) {
        answer(responder, errorBody(QStringLiteral("The device identity is missing.")), Status::Unauthorized);
        return;
    }
    const QString extension = documentExtension(request);
    if (!DocumentConverter::converts(extension)) {
        answer(responder,
               errorBody(QStringLiteral("Only Pages, Numbers and Keynote documents are exported (x-file-extension "
                                        "pages, numbers or key).")),
               Status::UnsupportedMediaType);
        return;
    }
    // Runs on after this returns; the responder answers when the converter has.
    answerExport(std::move(responder), request.body(), extension);
}

QCoro::Task<> BackendServer::Parts::answerExport(QHttpServerResponder responder, QByteArray document, QString extension)
{
    const QPointer<QTcpSocket> socket(responder.socket());
    auto converting = converter.convert(std::move(document), std::move(extension));
    const DocumentConverter::Outcome outcome = co_await converting;
    if (!socket || socket->state() != QAbstractSocket::ConnectedState) {
        qCInfo(lcBackend) << "Caller left before the export was answered";
        co_return;
    }
    if (outcome.status == DocumentConverter::Status::Converted) {
        responder.write(outcome.pdf,
                        { { QByteArrayLiteral("Content-Type"), QByteArrayLiteral("application/pdf") },
                          { QByteArrayLiteral("Cache-Control"), QByteArrayLiteral("no-store") } },
                        Status::Ok);
        co_return;
    }
    const auto [status, message] = exportRefusal(outcome.status);
    answer(responder, errorBody(message), status);
}

BackendServer::BackendServer(BackendConfig config, QObject *parent)
    : QObject(parent)
    , m_parts(std::make_unique<Parts>(std::move(config)))
{
    Parts &parts = *m_parts;
    using Method = QHttpServerRequest::Method;
    parts.http.route(
        ConfigPath, Method::Get, [&parts](const QHttpServerRequest &request, QHttpServerResponder &&responder) {
            parts.sendConfig(request, std::move(responder));
        });
    parts.http.route(
        SaveApiKeyPath, Method::Post, [&parts](const QHttpServerRequest &request, QHttpServerResponder &&responder) {
            parts.saveApiKey(request, std::move(responder));
        });
    parts.http.route(
        AnalyzePath, Method::Post, [&parts](const QHttpServerRequest &request, QHttpServerResponder &&responder) {
            parts.analyze(request, std::move(responder));
        });
    parts.http.route(
        IWorkExportPath, Method::Post, [&parts](const QHttpServerRequest &request, QHttpServerResponder &&responder) {
            parts.exportDocument(request, std::move(responder));
        });
    parts.http.setMissingHandler([](const QHttpServerRequest &request, QHttpServerResponder &&responder) {
        qCInfo(lcBackend).noquote() << "No function at" << request.url().path();
        answer(responder, errorBody(QStringLiteral("Not found.")), Status::NotFound);
    });
}

BackendServer::~BackendServer() = default;

bool BackendServer::listen(const QHostAddress &address, quint16 port)
{
    // A document over the export's limit is refused before it is read.
    auto *server = new RequestGate(m_parts->config.gatewayToken.toUtf8(),
                                   m_parts->config.maxRequestBytes,
                                   { { IWorkExportPath.toUtf8(), HostedBackend::MaxIWorkExportBytes } },
                                   this);
    if (!server->listen(address, port)) {
        m_parts->error = server->errorString();
        delete server;
        return false;
    }
    m_parts->error.clear();
    m_parts->tcp = server;
    m_parts->http.bind(server);
    qCInfo(lcBackend).noquote() << "Listening on" << address.toString() << "port" << server->serverPort();
    return true;
}

quint16 BackendServer::serverPort() const
{
    return m_parts->tcp ? m_parts->tcp->serverPort() : 0;
}

QString BackendServer::errorString() const
{
    return m_parts->error;
}

} // namespace Nomly
