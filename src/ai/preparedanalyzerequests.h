#pragma once

#include <QElapsedTimer>
#include <QList>
#include <QString>

#include "ai/analyzerequest.h"

namespace Nomly {

// A chunk ready to send, so that a caller can prepare the next chunk while
// this one is in flight.
struct PreparedAnalyzeRequests
{
    QList<AnalyzeRequest> requests;
    QList<int> requestIndices; // for each request, its input's index in the batch
    int totalCount = 0; // inputs in the batch
    bool shouldUseLocalAI = false;
    QString localAIEndpoint;
    QString localAIModel;
    QElapsedTimer startTime; // started when preparation began
};

} // namespace Nomly
