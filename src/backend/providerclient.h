#pragma once

#include <QDeadlineTimer>
#include <chrono>

#include <qcoro/qcorotask.h>

#include "ai/analyzerequest.h"
#include "ai/analyzeresponse.h"
#include "backend/providercall.h"
#include "platform/result.h"

class QNetworkAccessManager;

namespace Nomly {

// Asks one provider about one file: has its audio transcribed first, writes
// the prompt, sends it with the file's pictures, and reads the model's JSON
// answer.
class ProviderClient final
{
public:
    ProviderClient(QNetworkAccessManager &network, std::chrono::milliseconds timeout);
    ProviderClient(const ProviderClient &) = delete;
    ProviderClient &operator=(const ProviderClient &) = delete;

    // Never fails as a whole: a failed call is the response's `error`, in
    // the words the application translates.
    QCoro::Task<AnalyzeResponse> analyze(ProviderCall call, AnalyzeRequest request);

    // Whether the provider takes the call's key: fails, with the provider's
    // own words for a refused key, only when the provider refuses it. A
    // provider that cannot be reached proves nothing either way, and the
    // key stands.
    QCoro::Task<Result<>> verifyKey(ProviderCall call);

private:
    // What is said in the request's audio, or the failure text of the call.
    QCoro::Task<Result<QString>> transcribe(const ProviderCall &call,
                                            const AnalyzeRequest &request,
                                            QDeadlineTimer deadline);

    QNetworkAccessManager &m_network;
    std::chrono::milliseconds m_timeout;
};

} // namespace Nomly
