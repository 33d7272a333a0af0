#include "ai/keysync.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <memory>

#include <qcoro/qcorosignal.h>

#include "ai/backenderrormessage.h"
#include "ai/byoksyncrequest.h"
#include "ai/cloudaiprobeservice.h"
#include "ai/deviceservice.h"
#include "ai/hostedbackend.h"
#include "ai/keycustody.h"
#include "ai/keysyncjson.h"
#include "ai/ollamasyncrequest.h"
#include "platform/logcategories.h"
#include "settings/settings.h"

namespace Nomly {

namespace {

struct ReplyDeleter
{
    void operator()(QNetworkReply *reply) const { reply->deleteLater(); }
};

// What came back: an HTTP status (0 when none) and the body.
struct BackendReply
{
    int status = 0;
    bool transportFailed = false;
    QByteArray body;
};

struct DeviceCredentials
{
    QString id;
    QString secret;
};

std::optional<bool> trueOrAbsent(bool flag)
{
    return flag ? std::optional<bool>(true) : std::nullopt;
}

} // namespace

Failure byokSyncFailure(BYOKSyncError error, const QString &serverMessage)
{
    QString text;
    switch (error) {
    case BYOKSyncError::Server:
        text = serverMessage;
        break;
    case BYOKSyncError::InvalidUrl:
        text = QStringLiteral("The backend address is not valid.");
        break;
    case BYOKSyncError::InvalidResponse:
        text = QStringLiteral("The backend sent a reply that could not be read.");
        break;
    case BYOKSyncError::KeychainSaveFailed:
        text = QStringLiteral("Your API key was accepted but could not be saved to the keyring.");
        break;
    case BYOKSyncError::DeviceAuthentication:
        text = deviceSecretErrorText(DeviceSecretError::KeychainSaveFailed);
        break;
    }
    return Failure { text, static_cast<int>(error) };
}

namespace {

QCoro::Task<Result<DeviceCredentials>> credentialsFrom(DeviceService &device)
{
    auto idTask = device.deviceId();
    const QString id = co_await idTask;
    auto secretTask = device.deviceSecret();
    const Result<QString> secret = co_await secretTask;
    if (!secret) {
        co_return byokSyncFailure(BYOKSyncError::DeviceAuthentication);
    }
    co_return DeviceCredentials { id, secret.value() };
}

QCoro::Task<Result<BackendReply>> post(QNetworkAccessManager &network, const HostedBackend &backend, QJsonObject body)
{
    const Result<QNetworkRequest> request = backend.request(BackendFunction::SaveApiKey);
    if (!request) {
        qCWarning(lcNetwork).noquote() << "Key sync not sent:" << request.error();
        co_return byokSyncFailure(BYOKSyncError::InvalidUrl);
    }
    const std::unique_ptr<QNetworkReply, ReplyDeleter> reply(
        network.post(request.value(), QJsonDocument(body).toJson(QJsonDocument::Compact)));
    if (!reply->isFinished()) {
        auto finished = qCoro(reply.get(), &QNetworkReply::finished);
        co_await finished;
    }
    BackendReply result;
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    result.status = status.isValid() ? status.toInt() : 0;
    result.transportFailed = result.status == 0 && reply->error() != QNetworkReply::NoError;
    result.body = reply->readAll();
    co_return result;
}

// The failure for a reply other than status 200, or for no reply at all.
Failure failureOf(const BackendReply &reply)
{
    if (reply.transportFailed) {
        return byokSyncFailure(
            BYOKSyncError::Server,
            QStringLiteral("Could not connect to the backend. Check your connection and try again."));
    }
    if (reply.status == 0) {
        return byokSyncFailure(BYOKSyncError::InvalidResponse);
    }
    return byokSyncFailure(BYOKSyncError::Server, backendErrorMessage(reply.status, reply.body));
}

std::optional<QJsonObject> jsonObjectOf(const QByteArray &body)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(body, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject()) {
        return std::nullopt;
    }
    return document.object();
}

QString refusalText(const std::optional<QString> &error, const std::optional<QString> &message)
{
    if (error && !error->isEmpty()) {
        return *error;
    }
    if (message && !message->isEmpty()) {
        return *message;
    }
    return QStringLiteral("Could not verify your API key. Please try again later.");
}

} // namespace

KeySync::KeySync(QNetworkAccessManager &network,
                 const HostedBackend &backend,
                 DeviceService &device,
                 KeyCustody &custody)
    : m_network(network)
    , m_backend(backend)
    , m_device(device)
    , m_custody(custody)
{}

QCoro::Task<Result<BYOKSyncResponse>> KeySync::sync(AIProvider provider,
                                                    QString apiKey,
                                                    std::optional<QString> model,
                                                    bool enabled,
                                                    bool toggleOnly,
                                                    bool modelOnly,
                                                    bool transientOnly,
                                                    QString serverUrl)
{
    if (provider == AIProvider::OpenAICompatible) {
        auto local = syncOwnServer(std::move(apiKey),
                                   std::move(model),
                                   enabled,
                                   modelOnly,
                                   toggleOnly || transientOnly ? QString() : std::move(serverUrl));
        co_return co_await local;
    }
    auto credentialsTask = credentialsFrom(m_device);
    const Result<DeviceCredentials> credentials = co_await credentialsTask;
    if (!credentials) {
        co_return credentials.failure();
    }

    BYOKSyncRequest request;
    request.deviceId = credentials.value().id;
    request.deviceSecret = credentials.value().secret;
    request.provider = rawValue(provider);
    request.apiKey = apiKey;
    request.byokModel = model;
    request.enabled = enabled;
    request.toggleOnly = trueOrAbsent(toggleOnly);
    request.modelOnly = trueOrAbsent(modelOnly);
    request.transientOnly = trueOrAbsent(transientOnly);

    auto sent = post(m_network, m_backend, toJson(request));
    const Result<BackendReply> reply = co_await sent;
    if (!reply) {
        co_return reply.failure();
    }
    if (reply.value().status != 200) {
        const Failure failure = failureOf(reply.value());
        qCWarning(lcNetwork).noquote() << "Key sync failed with status" << reply.value().status;
        co_return failure;
    }
    const std::optional<QJsonObject> json = jsonObjectOf(reply.value().body);
    if (!json) {
        co_return byokSyncFailure(BYOKSyncError::InvalidResponse);
    }
    const BYOKSyncResponse response = byokSyncResponseFromJson(*json);
    if (response.success == false) {
        co_return byokSyncFailure(BYOKSyncError::Server, refusalText(response.error, response.message));
    }

    const bool fullSave = !apiKey.isEmpty() && !toggleOnly && !modelOnly && !transientOnly;
    if (fullSave) {
        auto saved = m_custody.save(provider, apiKey);
        const bool kept = co_await saved;
        if (!kept) {
            co_return byokSyncFailure(BYOKSyncError::KeychainSaveFailed);
        }
    }
    co_return response;
}

QCoro::Task<Result<BYOKSyncResponse>> KeySync::syncOwnServer(
    QString apiKey, std::optional<QString> model, bool enabled, bool modelOnly, QString serverUrl)
{
    constexpr AIProvider Provider = AIProvider::OpenAICompatible;
    if (!apiKey.isEmpty() && !modelOnly) {
        CloudAIProbeService probe(m_network);
        auto testing = probe.testKey(Provider, apiKey, serverUrl);
        if (const AIConnectionStatus status = co_await testing; status.kind == AIConnectionStatus::Kind::Failed)
            co_return byokSyncFailure(BYOKSyncError::Server, status.text());
        auto saved = m_custody.save(Provider, apiKey);
        if (!co_await saved)
            co_return byokSyncFailure(BYOKSyncError::KeychainSaveFailed);
    }
    BYOKSyncResponse response;
    response.success = true;
    response.aiProvider = rawValue(Provider);
    response.byokEnabled = enabled;
    if (modelOnly) {
        response.byokModel = model;
        response.didReturnByokModel = true;
    }
    co_return response;
}

QCoro::Task<Result<BYOKSyncResponse>> KeySync::saveKey(AIProvider provider,
                                                       QString apiKey,
                                                       std::optional<QString> model,
                                                       QString serverUrl)
{
    auto task = sync(provider, std::move(apiKey), std::move(model), true, false, false, false, std::move(serverUrl));
    co_return co_await task;
}

QCoro::Task<Result<BYOKSyncResponse>> KeySync::setKeyEnabled(AIProvider provider, bool enabled)
{
    auto task = sync(provider, QString(), std::nullopt, enabled, true);
    co_return co_await task;
}

QCoro::Task<Result<BYOKSyncResponse>> KeySync::changeModel(AIProvider provider, QString model)
{
    auto task = sync(provider, QString(), std::optional<QString>(std::move(model)), true, false, true);
    co_return co_await task;
}

QCoro::Task<Result<BYOKSyncResponse>> KeySync::clearKey(AIProvider provider)
{
    auto task = sync(provider, QString(), std::nullopt, false);
    co_return co_await task;
}

QCoro::Task<Result<OllamaSyncResponse>> KeySync::syncOfflineMode(bool enabled)
{
    auto credentialsTask = credentialsFrom(m_device);
    const Result<DeviceCredentials> credentials = co_await credentialsTask;
    if (!credentials) {
        qCWarning(lcNetwork).noquote() << "Offline mode sync failed:" << credentials.error();
        co_return credentials.failure();
    }
    OllamaSyncRequest request;
    request.deviceId = credentials.value().id;
    request.deviceSecret = credentials.value().secret;
    request.enabled = enabled;

    auto sent = post(m_network, m_backend, toJson(request));
    const Result<BackendReply> reply = co_await sent;
    std::optional<Failure> failure;
    OllamaSyncResponse response;
    if (!reply) {
        failure = reply.failure();
    } else if (reply.value().status != 200) {
        failure = failureOf(reply.value());
    } else if (const std::optional<QJsonObject> json = jsonObjectOf(reply.value().body); !json) {
        failure = byokSyncFailure(BYOKSyncError::InvalidResponse);
    } else {
        response = ollamaSyncResponseFromJson(*json);
        if (response.success == false) {
            failure = byokSyncFailure(BYOKSyncError::Server, refusalText(response.error, response.message));
        }
    }
    if (failure) {
        qCWarning(lcNetwork).noquote() << "Offline mode sync failed:" << failure->message;
        co_return *failure;
    }
    co_return response;
}

void applyKeySyncReply(const BYOKSyncResponse &reply, AIProvider requested, Settings &settings)
{
    AIProvider provider = requested;
    if (reply.aiProvider) {
        if (const std::optional<AIProvider> named = aiProviderFromRaw(*reply.aiProvider)) {
            provider = *named;
            settings.aiProvider = provider;
        }
    }
    if (reply.byokEnabled) {
        settings.byokEnabled = *reply.byokEnabled;
    }
    if (reply.didReturnByokModel) {
        settings.byokModel(provider) = reply.byokModel;
    }
}

} // namespace Nomly
