#pragma once

#include <QString>
#include <QStringList>
#include <chrono>
#include <optional>

#include <qcoro/qcorotask.h>

#include "ai/localollamaerror.h"
#include "platform/result.h"

class QNetworkAccessManager;

namespace Nomly {

// Answers what the local route needs to know of Ollama: whether it is on
// this machine, whether it answers at the endpoint, which models it has.
// Holds no state; talks to Ollama only through its HTTP API.
class LocalOllamaService final
{
public:
    static constexpr std::chrono::seconds DefaultTimeout { 5 };

    explicit LocalOllamaService(QNetworkAccessManager &network);

    void setTimeout(std::chrono::milliseconds timeout) { m_timeout = timeout; }

    // An `ollama` program on the PATH or a systemd unit that starts one.
    static bool isInstalled();

    // The names of the installed models, in Ollama's order. A loopback
    // endpoint where nothing listens fails at once, as not running or not
    // installed, without waiting for a time-out.
    QCoro::Task<Result<QStringList, LocalOllamaError>> installedModels(QString endpoint);

    QCoro::Task<OllamaAvailability> availability(QString endpoint);

    // Why the selection can't be used with these models; none when it can.
    // "qwen3" and "qwen3:latest" name the same model.
    static std::optional<QString> modelCheck(const QStringList &installed, const QString &selected);

    // Why the local route can't be switched on; none when it can.
    static std::optional<QString> enableRefusal(const Result<QStringList, LocalOllamaError> &models);

private:
    QNetworkAccessManager &m_network;
    std::chrono::milliseconds m_timeout = DefaultTimeout;
};

} // namespace Nomly
