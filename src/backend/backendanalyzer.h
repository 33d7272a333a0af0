#pragma once

#include <QList>

#include <qcoro/qcorotask.h>

#include "ai/analyzerequest.h"
#include "ai/analyzeresponse.h"
#include "backend/providercall.h"
#include "platform/result.h"

namespace Nomly {

struct BackendConfig;
class BackendKeyStore;
class ProviderClient;

// Answers a batch of the analysis function: picks the provider, key and
// model of each request and asks the provider, a few files at a time.
class BackendAnalyzer final
{
public:
    // Enough to overlap the providers' latency without tripping their rate
    // limits with one batch.
    static constexpr int MaxInFlight = 4;

    BackendAnalyzer(const BackendConfig &config, const BackendKeyStore &keys, ProviderClient &client);
    BackendAnalyzer(const BackendAnalyzer &) = delete;
    BackendAnalyzer &operator=(const BackendAnalyzer &) = delete;

    // One result per request, in request order; a file that fails carries
    // its `error` and the others stand.
    QCoro::Task<BatchAnalyzeResponse> analyze(QList<AnalyzeRequest> requests);

    // The user's own provider and key when the request asks for them (its
    // key, else the one the key sync saved), else the operator's. Fails with
    // the text the file's result carries.
    Result<ProviderCall> callFor(const AnalyzeRequest &request) const;

private:
    const BackendConfig &m_config;
    const BackendKeyStore &m_keys;
    ProviderClient &m_client;
};

} // namespace Nomly
