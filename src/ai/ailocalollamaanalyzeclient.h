#pragma once

#include <QList>
#include <QString>
#include <QUrl>
#include <chrono>
#include <optional>
#include <utility>

#include <qcoro/qcorotask.h>

#include "ai/aianalyzebatchresult.h"
#include "ai/aiserviceerror.h"
#include "ai/analyzerequest.h"
#include "ai/imageanalysis.h"
#include "platform/result.h"

class QNetworkAccessManager;

namespace Nomly {

// The route that keeps a file on the machine: each request becomes one
// /api/chat call to a local Ollama server, with the prompt written here. At
// most two calls are in flight, so that a small local model is not flooded.
class AILocalOllamaAnalyzeClient final
{
public:
    static constexpr int MaxInFlight = 2;
    static constexpr std::chrono::milliseconds DefaultTimeout { 30'000 };

    explicit AILocalOllamaAnalyzeClient(QNetworkAccessManager &network);

    void setTimeout(std::chrono::milliseconds timeout) { m_timeout = timeout; }

    // A failed file is an analysis with an error; only an unset model fails
    // the whole batch. Results land at `requestIndices` in a list of
    // `totalCount` entries.
    QCoro::Task<Result<AIAnalyzeBatchResult, AIServiceError>> analyzeBatch(
        QList<AnalyzeRequest> requests, QList<int> requestIndices, int totalCount, QString endpoint, QString model);

    QCoro::Task<Result<ImageAnalysis, AIServiceError>> analyzeOne(AnalyzeRequest request,
                                                                  QString endpoint,
                                                                  QString model);

private:
    // One file of a batch, timed and logged; a failure becomes an analysis
    // that carries the text the user reads.
    QCoro::Task<std::pair<int, ImageAnalysis>> timedAnalysis(int position,
                                                             AnalyzeRequest request,
                                                             QString endpoint,
                                                             QString model);

    QNetworkAccessManager &m_network;
    std::chrono::milliseconds m_timeout = DefaultTimeout;
};

// The URL of `path` on an Ollama endpoint as users type it ("localhost:11434/",
// "http://host:11434/v1"): scheme added when missing, "localhost" as
// 127.0.0.1, any path of the endpoint replaced. None for an empty or
// unparsable endpoint.
std::optional<QUrl> ollamaEndpointUrl(const QString &endpoint, const QString &path);

// What the user reads for an Ollama reply that failed, localised.
QString ollamaReplyErrorText(std::optional<int> status, const QString &message, const QString &model);

// What the user reads for a call that failed before or without a reply.
QString ollamaTransportErrorText(const AIServiceError &error, const QString &model);

} // namespace Nomly
