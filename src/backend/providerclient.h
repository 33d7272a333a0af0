#pragma once

#include <chrono>

#include <qcoro/qcorotask.h>

#include "ai/analyzerequest.h"
#include "ai/analyzeresponse.h"
#include "backend/providercall.h"

class QNetworkAccessManager;

namespace Nomly {

// Asks one provider about one file: writes the prompt, sends it with the
// file's pictures, and reads the model's JSON answer.
class ProviderClient final
{
public:
    ProviderClient(QNetworkAccessManager &network, std::chrono::milliseconds timeout);
    ProviderClient(const ProviderClient &) = delete;
    ProviderClient &operator=(const ProviderClient &) = delete;

    // Never fails as a whole: a failed call is the response's `error`, in
    // the words the application translates.
    QCoro::Task<AnalyzeResponse> analyze(ProviderCall call, AnalyzeRequest request);

private:
    QNetworkAccessManager &m_network;
    std::chrono::milliseconds m_timeout;
};

} // namespace Nomly
