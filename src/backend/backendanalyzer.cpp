#include "backend/backendanalyzer.h"

#include <QElapsedTimer>
#include <vector>

#include "backend/audiotranscription.h"
#include "backend/backendconfig.h"
#include "backend/backendkeystore.h"
#include "backend/backendlog.h"
#include "backend/providerclient.h"

namespace Nomly {

namespace {

struct Batch
{
    QList<AnalyzeRequest> requests;
    QList<std::optional<ProviderCall>> calls;
    QList<AnalyzeResponse> results;
    qsizetype next = 0;
};

QString trimmed(const std::optional<QString> &text)
{
    return text.value_or(QString()).trimmed();
}

QString missingKeyText(BackendProvider provider)
{
    return QStringLiteral("Missing saved %1 BYOK key. Please save your API key again.")
        .arg(providerDisplayName(provider));
}

// Takes the next request until none is left, so that at most as many calls
// run as there are workers.
QCoro::Task<> work(Batch &batch, ProviderClient &client)
{
    while (batch.next < batch.requests.size()) {
        const qsizetype index = batch.next++;
        if (!batch.calls.at(index))
            continue;
        auto answer = client.analyze(*batch.calls.at(index), batch.requests.at(index));
        batch.results[index] = co_await answer;
    }
}

} // namespace

BackendAnalyzer::BackendAnalyzer(const BackendConfig &config, const BackendKeyStore &keys, ProviderClient &client)
    : m_config(config)
    , m_keys(keys)
    , m_client(client)
{}

Result<ProviderCall> BackendAnalyzer::callFor(const AnalyzeRequest &request) const
{
    const bool ownKey = request.byokEnabled.value_or(false);
    std::optional<BackendProvider> provider;
    if (ownKey) {
        provider = trimmed(request.aiProvider).isEmpty() ? m_keys.chosenProvider(request.deviceId, request.deviceSecret)
                                                         : providerFromName(*request.aiProvider);
    }
    if (!provider)
        provider = providerFromName(m_config.defaultProvider);
    if (!provider)
        return Failure { QStringLiteral("AI analysis failed") };

    ProviderCall call;
    call.provider = *provider;
    const QString name = providerName(*provider);
    if (*provider == BackendProvider::Ollama) {
        call.baseUrl = m_config.baseUrls.value(name, m_config.ollamaEndpoint);
        call.apiKey = m_config.operatorKeys.value(name);
        call.model = m_config.ollamaModel.trimmed();
        if (call.model.isEmpty())
            return Failure { QStringLiteral("No Ollama model is set for nomly-backend.") };
    } else if (*provider == BackendProvider::OpenAICompatible) {
        // The operator's address stays over the request's, as the
        // environment stays over settings elsewhere.
        // Each key goes only to the server it belongs with: the operator's
        // to the operator's address, the request's to the request's.
        call.baseUrl = m_config.baseUrls.value(name);
        if (!call.baseUrl.isEmpty()) {
            call.apiKey = m_config.operatorKeys.value(name).trimmed();
        } else if (m_config.callsClientServers) {
            call.baseUrl = trimmed(request.providerBaseUrl);
            call.apiKey = ownKey ? trimmed(request.apiKey) : QString();
        }
        if (call.baseUrl.isEmpty())
            return Failure { m_config.callsClientServers
                                 ? QStringLiteral("No address is set for the OpenAI-compatible server.")
                                 : QStringLiteral("This backend does not call servers that clients name.") };
        call.model = trimmed(request.byokModel);
        if (call.model.isEmpty())
            return Failure { QStringLiteral("Choose a model of the OpenAI-compatible server.") };
    } else {
        call.baseUrl = m_config.baseUrls.value(name, providerDefaultBaseUrl(*provider));
        std::optional<QString> savedModel;
        if (ownKey) {
            call.apiKey = trimmed(request.apiKey);
            if (const auto saved = m_keys.savedKey(request.deviceId, request.deviceSecret, *provider)) {
                if (call.apiKey.isEmpty())
                    call.apiKey = saved->apiKey;
                savedModel = saved->model;
            }
            call.model = trimmed(request.byokModel);
            if (call.model.isEmpty())
                call.model = trimmed(savedModel);
        } else {
            call.apiKey = m_config.operatorKeys.value(name).trimmed();
        }
        if (call.model.isEmpty())
            call.model = providerDefaultModel(*provider);
        if (call.apiKey.isEmpty())
            return Failure { missingKeyText(*provider) };
    }
    // Only Groq and OpenAI can turn the audio into a transcript.
    if (carriesAudio(request) && !providerTranscribes(*provider))
        return Failure { QStringLiteral("Audio transcription requires Groq or OpenAI.") };
    return call;
}

QCoro::Task<BatchAnalyzeResponse> BackendAnalyzer::analyze(QList<AnalyzeRequest> requests)
{
    QElapsedTimer clock;
    clock.start();
    Batch batch;
    batch.requests = std::move(requests);
    batch.results.resize(batch.requests.size());
    BatchAnalyzeResponse response;
    for (qsizetype index = 0; index < batch.requests.size(); ++index) {
        Result<ProviderCall> call = callFor(batch.requests.at(index));
        if (call) {
            if (!response.effectiveProvider)
                response.effectiveProvider = call.value().effectiveName();
            batch.calls.append(call.value());
        } else {
            batch.calls.append(std::nullopt);
            batch.results[index].error = call.error();
        }
    }

    // Tasks start at once; awaiting them in turn only waits for the last.
    std::vector<QCoro::Task<>> workers;
    const qsizetype workerCount = std::min<qsizetype>(MaxInFlight, batch.requests.size());
    for (qsizetype i = 0; i < workerCount; ++i)
        workers.push_back(work(batch, m_client));
    for (QCoro::Task<> &worker : workers)
        co_await worker;

    response.results = std::move(batch.results);
    const qint64 elapsed = clock.elapsed();
    response.timings = ServerTimings { 0, elapsed, elapsed };
    qCInfo(lcBackend).noquote() << "Batch analysed:" << response.results.size() << "files in" << elapsed << "ms";
    co_return response;
}

} // namespace Nomly
