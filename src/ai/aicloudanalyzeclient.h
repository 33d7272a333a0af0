#pragma once

#include <QByteArray>
#include <QElapsedTimer>
#include <QList>
#include <QString>
#include <chrono>

#include <qcoro/qcorotask.h>

#include "ai/aiserviceerror.h"
#include "ai/analyzerequest.h"
#include "ai/analyzeresponse.h"
#include "ai/hostedbackend.h"
#include "platform/result.h"

class QNetworkAccessManager;

namespace Nomly {

// The client of the hosted backend's analysis function: one POST carries a
// whole chunk of requests, one result comes back for each. A transport
// failure of the kinds that clear up by themselves is retried once after half
// a second, a server error once after 400 to 800 ms; the two count apart.
class AICloudAnalyzeClient final
{
public:
    static constexpr std::chrono::milliseconds DefaultTimeout { 120'000 };

    AICloudAnalyzeClient(QNetworkAccessManager &network, HostedBackend backend);

    // Tests shorten it; the product keeps the default.
    void setTimeout(std::chrono::milliseconds timeout) { m_timeout = timeout; }

    // `batchStart` began when the batch was prepared; the log reports the
    // time since then.
    QCoro::Task<Result<BatchAnalyzeResponse, AIServiceError>> sendBatch(QList<AnalyzeRequest> requests,
                                                                        QElapsedTimer batchStart);

private:
    QNetworkAccessManager &m_network;
    HostedBackend m_backend;
    std::chrono::milliseconds m_timeout = DefaultTimeout;
};

// The machine word a caller classifies a failed call by: the body's own code
// when it carries a plain one, else a word for the status ("unauthorized",
// "rate_limit", "server_error", "http_418").
QString backendFailureReason(int status, const QByteArray &body);

// A log line about a failed call that holds no content of the user: the
// status, the size of the body and its code words only.
QString backendFailureSummary(int status, const QByteArray &body);

} // namespace Nomly
