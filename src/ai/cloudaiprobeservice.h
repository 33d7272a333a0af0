#pragma once

#include <QList>
#include <QNetworkRequest>
#include <QString>
#include <chrono>
#include <optional>

#include <qcoro/qcorotask.h>

#include "ai/aiconnectionstatus.h"
#include "ai/modellisterror.h"
#include "ai/modeloption.h"
#include "platform/result.h"
#include "settings/aiprovider.h"

class QNetworkAccessManager;

namespace Nomly {

// Tries a user's own key with its provider and lists the models that key
// can use for analyses, by asking the provider's model list. Holds no state;
// nothing is stored or sent anywhere else.
class CloudAIProbeService final
{
public:
    static constexpr std::chrono::seconds DefaultTimeout { 8 };

    explicit CloudAIProbeService(QNetworkAccessManager &network);

    // Tests shorten the wait for a provider that doesn't answer.
    void setTimeout(std::chrono::milliseconds timeout) { m_timeout = timeout; }

    // The model list request with the key where the provider reads it; none
    // when no valid address can be made. `serverUrl` is the address the user
    // configured for their own server; the environment's stays over it.
    static std::optional<QNetworkRequest> probeRequest(AIProvider provider,
                                                       const QString &key,
                                                       const QString &serverUrl = {});

    // The user's own server may need no key; every vendor does.
    QCoro::Task<AIConnectionStatus> testKey(AIProvider provider, QString key, QString serverUrl = {});

    // The provider's models that can analyse, sorted; empty when it offers
    // none of them.
    QCoro::Task<Result<QList<ModelOption>, ModelListError>> loadModels(AIProvider provider,
                                                                       QString key,
                                                                       QString serverUrl = {});

private:
    struct Answer
    {
        int status = 0; // 0: no HTTP answer
        QByteArray body;
    };

    QCoro::Task<Answer> fetch(QNetworkRequest request);

    QNetworkAccessManager &m_network;
    std::chrono::milliseconds m_timeout = DefaultTimeout;
};

} // namespace Nomly
