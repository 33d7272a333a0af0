#include "ai/cloudaiprobeservice.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QUrl>
#include <memory>

#include <qcoro/qcorosignal.h>

#include "ai/cloudproviderendpoint.h"
#include "ai/modelcatalogue.h"
#include "settings/serveraddress.h"

namespace Nomly {

namespace {

// A reply is deleted from the event loop, never inside its own signal.
struct ReplyDeleter
{
    void operator()(QNetworkReply *reply) const { reply->deleteLater(); }
};

QString nameOf(AIProvider provider)
{
    return cloudProviderEndpoint(provider).displayName.toString();
}

// A server of the user's own often runs without any key.
bool keyIsOptional(AIProvider provider)
{
    return provider == AIProvider::OpenAICompatible;
}

} // namespace

CloudAIProbeService::CloudAIProbeService(QNetworkAccessManager &network)
    : m_network(network)
{}

std::optional<QNetworkRequest> CloudAIProbeService::probeRequest(AIProvider provider,
                                                                 const QString &key,
                                                                 const QString &serverUrl)
{
    const CloudProviderEndpoint &endpoint = cloudProviderEndpoint(provider);
    QNetworkRequest request = providerRequest(
        cloudProviderBaseUrl(provider, serverUrl), endpoint.modelListPath, endpoint.auth, key.trimmed());
    QUrl url = request.url();
    if (!isServerAddress(url))
        return std::nullopt;
    if (!endpoint.modelListQuery.isEmpty()) {
        url.setQuery(endpoint.modelListQuery.toString());
        request.setUrl(url);
    }
    return request;
}

QCoro::Task<CloudAIProbeService::Answer> CloudAIProbeService::fetch(QNetworkRequest request)
{
    request.setTransferTimeout(static_cast<int>(m_timeout.count()));
    const std::unique_ptr<QNetworkReply, ReplyDeleter> reply(m_network.get(request));
    if (!reply->isFinished()) {
        auto finished = qCoro(reply.get(), &QNetworkReply::finished);
        co_await finished;
    }
    Answer answer;
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (status.isValid()) {
        answer.status = status.toInt();
        answer.body = reply->readAll();
    }
    co_return answer;
}

QCoro::Task<AIConnectionStatus> CloudAIProbeService::testKey(AIProvider provider, QString key, QString serverUrl)
{
    using Kind = AIConnectionStatus::Kind;
    if (key.trimmed().isEmpty() && !keyIsOptional(provider))
        co_return AIConnectionStatus { Kind::Failed, QStringLiteral("Save an API key first") };
    const std::optional<QNetworkRequest> request = probeRequest(provider, key, serverUrl);
    if (!request) {
        co_return AIConnectionStatus { Kind::Failed,
                                       cloudProviderBaseUrl(provider, serverUrl).isEmpty()
                                           ? QStringLiteral("Set the server's address first")
                                           : QStringLiteral("Invalid request URL") };
    }
    const Answer answer = co_await fetch(*request);
    const QString name = nameOf(provider);
    if (answer.status == 0)
        co_return AIConnectionStatus { Kind::Failed, QStringLiteral("Invalid response from %1").arg(name) };
    if (answer.status == 200)
        co_return AIConnectionStatus { Kind::Ready, {} };
    if (answer.status == 401 || answer.status == 403)
        co_return AIConnectionStatus { Kind::Failed,
                                       QStringLiteral("%1 rejected the API key (%2)").arg(name).arg(answer.status) };
    if (answer.status == 429)
        co_return AIConnectionStatus { Kind::Warning,
                                       QStringLiteral("%1 is rate limiting — try again in a moment").arg(name),
                                       true };
    if (answer.status >= 500)
        co_return AIConnectionStatus {
            Kind::Warning, QStringLiteral("%1 is temporarily unavailable (%2)").arg(name).arg(answer.status)
        };
    co_return AIConnectionStatus { Kind::Failed, QStringLiteral("%1 returned status %2").arg(name).arg(answer.status) };
}

QCoro::Task<Result<QList<ModelOption>, ModelListError>> CloudAIProbeService::loadModels(AIProvider provider,
                                                                                        QString key,
                                                                                        QString serverUrl)
{
    using Kind = ModelListError::Kind;
    if (key.trimmed().isEmpty() && !keyIsOptional(provider))
        co_return ModelListError { Kind::MissingApiKey, {}, 0 };
    const std::optional<QNetworkRequest> request = probeRequest(provider, key, serverUrl);
    if (!request)
        co_return ModelListError { Kind::InvalidRequest, {}, 0 };
    const Answer answer = co_await fetch(*request);
    if (answer.status != 200)
        co_return ModelListError { Kind::ProviderStatus, nameOf(provider), answer.status };
    std::optional<QList<ModelOption>> options = ModelCatalogue::modelOptions(provider, answer.body);
    if (!options)
        co_return ModelListError { Kind::InvalidResponse, {}, 0 };
    co_return std::move(*options);
}

} // namespace Nomly
