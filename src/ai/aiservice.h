#pragma once

#include <QList>
#include <QString>
#include <functional>
#include <memory>

#include <qcoro/qcorotask.h>

#include "ai/aianalyzebatchresult.h"
#include "ai/aiserviceerror.h"
#include "ai/analyzebatchoptions.h"
#include "ai/hostedbackend.h"
#include "ai/iworkpdfexportservice.h"
#include "ai/preparedanalyzerequests.h"
#include "content/aianalyzeinput.h"
#include "platform/result.h"

class QNetworkAccessManager;

namespace Nomly {

class AIImageArtifactCache;
class DeviceService;
class KeyCustody;
class SongRecognizer;

// Turns prepared inputs into analyses. For each input it decides what the
// chosen route may see (a resized picture, rendered pages, text read on this
// machine), builds one request, hands the batch to the hosted or the local
// client and puts the answers back at the inputs' positions. A failure inside
// one input only leaves that input without an analysis.
class AIService final
{
public:
    // The hosted backend's default provider, from the remote configuration.
    using RemoteProvider = std::function<QString()>;

    AIService(QNetworkAccessManager &network,
              HostedBackend backend,
              DeviceService &device,
              KeyCustody &custody,
              AIImageArtifactCache &artifacts,
              RemoteProvider remoteProvider);

    QCoro::Task<Result<AIAnalyzeBatchResult, AIServiceError>> analyzeBatch(QList<AIAnalyzeInput> inputs,
                                                                           AnalyzeBatchOptions options);

    // Fails with validImageNotFound when no input gave a request.
    QCoro::Task<Result<PreparedAnalyzeRequests, AIServiceError>> prepareBatchRequests(QList<AIAnalyzeInput> inputs,
                                                                                      AnalyzeBatchOptions options);

    QCoro::Task<Result<AIAnalyzeBatchResult, AIServiceError>> sendPreparedRequests(PreparedAnalyzeRequests prepared);

    // Exports iWork documents through the same hosted backend, for
    // extraction to fall back on when a document's own preview is weak.
    IWorkPDFExportService &iWorkPDFExportService() { return m_iWorkExport; }

    // Tests shorten the clients' time-outs.
    void setHostedTimeout(std::chrono::milliseconds timeout) { m_hostedTimeout = timeout; }

    void setLocalTimeout(std::chrono::milliseconds timeout) { m_localTimeout = timeout; }

    // What names a song from a sample of it. No catalogue ships with the
    // program, so by default no song is recognised; tests bring their own.
    void setSongRecognizer(std::shared_ptr<const SongRecognizer> recognizer)
    {
        m_songRecognizer = std::move(recognizer);
    }

private:
    QNetworkAccessManager &m_network;
    HostedBackend m_backend;
    DeviceService &m_device;
    KeyCustody &m_custody;
    AIImageArtifactCache &m_artifacts;
    RemoteProvider m_remoteProvider;
    std::chrono::milliseconds m_hostedTimeout;
    std::chrono::milliseconds m_localTimeout;
    IWorkPDFExportService m_iWorkExport;
    std::shared_ptr<const SongRecognizer> m_songRecognizer;
};

} // namespace Nomly
