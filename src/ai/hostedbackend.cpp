#include "ai/hostedbackend.h"

#include <QHostAddress>
#include <QJsonDocument>
#include <QJsonObject>
#include <array>

#include "platform/logcategories.h"

namespace Nomly {

namespace {

using namespace std::chrono_literals;

struct FunctionEntry
{
    BackendFunction function;
    QStringView path;
    QByteArrayView method;
    std::chrono::milliseconds timeout;
    bool jsonBody;
};

constexpr std::array<FunctionEntry, 4> Functions { {
    { BackendFunction::Config, u"/functions/v1/config", "GET", 10s, false },
    { BackendFunction::SaveApiKey, u"/functions/v1/save-api-key", "POST", 30s, true },
    { BackendFunction::Analyze, u"/functions/v1/analyze", "POST", 120s, true },
    { BackendFunction::IWorkExport, u"/functions/v1/iwork-export", "POST", 30s, false },
} };

const FunctionEntry &entryFor(BackendFunction function)
{
    for (const FunctionEntry &entry : Functions) {
        if (entry.function == function) {
            return entry;
        }
    }
    Q_UNREACHABLE();
}

bool isLoopback(const QString &host)
{
    if (host.compare(u"localhost", Qt::CaseInsensitive) == 0)
        return true;
    const QHostAddress address(host);
    return !address.isNull() && address.isLoopback();
}

} // namespace

HostedBackend::HostedBackend(QString configuredBaseUrl, QString gatewayToken)
    : m_configuredBaseUrl(std::move(configuredBaseUrl))
    , m_gatewayToken(std::move(gatewayToken))
{}

HostedBackend HostedBackend::fromEnvironment()
{
    return HostedBackend(QString(), qEnvironmentVariable(TokenVariable.toLocal8Bit().constData()));
}

QString HostedBackend::path(BackendFunction function)
{
    return entryFor(function).path.toString();
}

QByteArray HostedBackend::method(BackendFunction function)
{
    return entryFor(function).method.toByteArray();
}

std::chrono::milliseconds HostedBackend::timeout(BackendFunction function)
{
    return entryFor(function).timeout;
}

Result<QUrl> HostedBackend::baseUrl() const
{
    QString text = qEnvironmentVariable(BaseUrlVariable.toLocal8Bit().constData()).trimmed();
    if (text.isEmpty()) {
        text = m_configuredBaseUrl.trimmed();
    }
    if (text.isEmpty()) {
        return Failure { QStringLiteral("No backend base URL is set") };
    }
    const QUrl url(text, QUrl::StrictMode);
    const bool web = url.scheme() == u"http" || url.scheme() == u"https";
    if (!url.isValid() || !web || url.host().isEmpty() || url.hasQuery() || url.hasFragment()) {
        return Failure { QStringLiteral("The backend base URL is not an http(s) URL: ")
                         + QUrl(text).toString(QUrl::RemoveUserInfo) };
    }
    // Keys, previews and extracted text travel in the bodies: in the clear
    // they may only go to a backend on this machine.
    if (url.scheme() == u"http" && !isLoopback(url.host())) {
        return Failure { QStringLiteral(
                             "The backend at %1 is reached over plain HTTP, which would expose your keys and "
                             "files on the network. Use https://, or http:// only for this machine "
                             "(127.0.0.1, ::1, localhost).")
                             .arg(url.toString(QUrl::RemoveUserInfo)) };
    }
    return url;
}

Result<QNetworkRequest> HostedBackend::request(BackendFunction function) const
{
    const Result<QUrl> base = baseUrl();
    if (!base) {
        return base.failure();
    }
    const FunctionEntry &entry = entryFor(function);
    QUrl url = base.value();
    QString prefix = url.path();
    while (prefix.endsWith(u'/')) {
        prefix.chop(1);
    }
    url.setPath(prefix + entry.path);

    QNetworkRequest request(url);
    request.setTransferTimeout(static_cast<int>(entry.timeout.count()));
    request.setRawHeader("Authorization", "Bearer " + m_gatewayToken.toUtf8());
    if (entry.jsonBody) {
        request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/json"));
    }
    return request;
}

bool HostedBackend::isDeviceRefusal(int status, const QByteArray &body)
{
    if (status != 401)
        return false;
    const QJsonObject json = QJsonDocument::fromJson(body).object();
    for (const char *key : { "error", "message" }) {
        if (json.value(QLatin1StringView(key)).toString().contains(u"device", Qt::CaseInsensitive)) {
            qCWarning(lcDevice).noquote()
                << "The backend refused this device's identity: status 401, body of" << body.size() << "bytes";
            return true;
        }
    }
    return false;
}

} // namespace Nomly
