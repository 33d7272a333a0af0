#pragma once

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <QList>

#include "ai/analyzerequest.h"
#include "ai/analyzeresponse.h"
#include "platform/result.h"

namespace Nomly {

// The wire format of the hosted analysis function: snake_case keys, base64
// payloads, absent optionals left out.
QJsonObject toJson(const AnalyzeRequest &request);
QJsonObject toJson(const AnalyzeResponse &response);
QJsonObject toJson(const BatchAnalyzeResponse &response);

// The body of a call: a bare array of requests.
QByteArray analyzeRequestBody(const QList<AnalyzeRequest> &requests);

// Reading fails on a value of the wrong type or a base64 payload that does not
// decode, naming the key; unknown keys are ignored.
Result<AnalyzeRequest> analyzeRequestFromJson(const QJsonObject &json);
Result<QList<AnalyzeRequest>> analyzeRequestsFromBody(const QByteArray &body);

// Unknown keys are ignored; a known key of the wrong type fails.
Result<AnalyzeResponse> analyzeResponseFromJson(const QJsonObject &json);
// `results` is required.
Result<BatchAnalyzeResponse> batchAnalyzeResponseFromBody(const QByteArray &body);

} // namespace Nomly
