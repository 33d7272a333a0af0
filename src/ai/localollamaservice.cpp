#include "ai/localollamaservice.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QStandardPaths>
#include <QTcpSocket>
#include <memory>

#include <qcoro/qcorosignal.h>

#include "ai/ailocalollamaanalyzeclient.h"

namespace Nomly {

namespace {

struct ReplyDeleter
{
    void operator()(QNetworkReply *reply) const { reply->deleteLater(); }
};

constexpr int ConnectCheckMs = 1'000;

bool isLoopback(const QString &host)
{
    return host == u"127.0.0.1" || host == u"localhost" || host == u"::1";
}

// Whether anything listens on a loopback port: there a refused connect is
// immediate, where an HTTP request would wait for its time-out.
bool listens(const QString &host, quint16 port)
{
    QTcpSocket socket;
    socket.connectToHost(host == u"::1" ? QStringLiteral("::1") : QStringLiteral("127.0.0.1"), port);
    const bool connected = socket.waitForConnected(ConnectCheckMs);
    socket.abort();
    return connected;
}

} // namespace

LocalOllamaService::LocalOllamaService(QNetworkAccessManager &network)
    : m_network(network)
{}

bool LocalOllamaService::isInstalled()
{
    if (!QStandardPaths::findExecutable(QStringLiteral("ollama")).isEmpty())
        return true;
    const QStringList unitFolders {
        QDir::home().filePath(QStringLiteral(".config/systemd/user")),
        QStringLiteral("/etc/systemd/system"),
        QStringLiteral("/etc/systemd/user"),
        QStringLiteral("/usr/lib/systemd/system"),
        QStringLiteral("/usr/lib/systemd/user"),
        QStringLiteral("/lib/systemd/system"),
    };
    return std::any_of(unitFolders.begin(), unitFolders.end(), [](const QString &folder) {
        return QFileInfo::exists(folder + QStringLiteral("/ollama.service"));
    });
}

QCoro::Task<Result<QStringList, LocalOllamaError>> LocalOllamaService::installedModels(QString endpoint)
{
    const std::optional<QUrl> url = ollamaEndpointUrl(endpoint, QStringLiteral("/api/tags"));
    if (!url)
        co_return LocalOllamaError { OllamaAvailability::Unavailable, {} };
    if (isLoopback(url->host())) {
        const quint16 port = quint16(url->port(url->scheme() == u"https" ? 443 : 80));
        if (!listens(url->host(), port))
            co_return LocalOllamaError { isInstalled() ? OllamaAvailability::NotRunning
                                                       : OllamaAvailability::NotInstalled,
                                         {} };
    }

    QNetworkRequest request(*url);
    request.setTransferTimeout(static_cast<int>(m_timeout.count()));
    const std::unique_ptr<QNetworkReply, ReplyDeleter> reply(m_network.get(request));
    if (!reply->isFinished()) {
        auto finished = qCoro(reply.get(), &QNetworkReply::finished);
        co_await finished;
    }
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (reply->error() != QNetworkReply::NoError || status != 200)
        co_return LocalOllamaError { OllamaAvailability::Unavailable, QStringLiteral("Ollama is unavailable") };
    const QJsonDocument document = QJsonDocument::fromJson(reply->readAll());
    const QJsonValue models = document.object().value(QLatin1StringView("models"));
    if (!document.isObject() || !models.isArray())
        co_return LocalOllamaError { OllamaAvailability::Unavailable, {} };
    QStringList names;
    for (const QJsonValue &model : models.toArray()) {
        const QString name = model.toObject().value(QLatin1StringView("name")).toString().trimmed();
        if (!name.isEmpty())
            names.append(name);
    }
    co_return names;
}

QCoro::Task<OllamaAvailability> LocalOllamaService::availability(QString endpoint)
{
    const Result<QStringList, LocalOllamaError> models = co_await installedModels(std::move(endpoint));
    co_return models ? OllamaAvailability::Reachable : models.failure().availability;
}

std::optional<QString> LocalOllamaService::modelCheck(const QStringList &installed, const QString &selected)
{
    if (installed.isEmpty())
        return QStringLiteral("No models installed");
    const QString wanted = selected.trimmed();
    if (wanted.isEmpty())
        return QStringLiteral("Choose a model");
    const QString latest = QStringLiteral(":latest");
    const bool found = std::any_of(installed.begin(), installed.end(), [&](const QString &name) {
        return name == wanted || name == wanted + latest || name + latest == wanted;
    });
    if (found)
        return std::nullopt;
    return QStringLiteral("Model not found: %1").arg(wanted);
}

std::optional<QString> LocalOllamaService::enableRefusal(const Result<QStringList, LocalOllamaError> &models)
{
    if (models) {
        if (models.value().isEmpty())
            return QStringLiteral("Install at least one Ollama model before enabling Offline AI mode.");
        return std::nullopt;
    }
    switch (models.failure().availability) {
    case OllamaAvailability::NotInstalled:
        return QStringLiteral("Install Ollama before enabling Offline AI mode.");
    case OllamaAvailability::NotRunning:
        return QStringLiteral("Start Ollama before enabling Offline AI mode.");
    case OllamaAvailability::Reachable:
    case OllamaAvailability::Unavailable:
        break;
    }
    return QStringLiteral("Ollama is unavailable. Check your setup and try again.");
}

} // namespace Nomly
