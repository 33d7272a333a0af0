#pragma once

#include <QJsonObject>
#include <optional>

#include "ai/byoksyncrequest.h"
#include "ai/byoksyncresponse.h"
#include "ai/ollamasyncrequest.h"
#include "ai/ollamasyncresponse.h"

namespace Nomly {

// The bodies of the key sync. Optional fields without a value are left out;
// replies are read tolerantly: a mistyped field counts as missing.
QJsonObject toJson(const BYOKSyncRequest &request);
QJsonObject toJson(const OllamaSyncRequest &request);
BYOKSyncResponse byokSyncResponseFromJson(const QJsonObject &json);
OllamaSyncResponse ollamaSyncResponseFromJson(const QJsonObject &json);

// The same bodies as the backend reads and answers them.
// None when `device_id`, `device_secret` or `provider` is not a string; a
// missing `api_key` is empty, a missing `enabled` false.
std::optional<BYOKSyncRequest> byokSyncRequestFromJson(const QJsonObject &json);
// None unless `ollama_only` is true and the device fields are strings.
std::optional<OllamaSyncRequest> ollamaSyncRequestFromJson(const QJsonObject &json);

// `byok_model` is written, as null when empty, only when the reply confirms
// the model.
QJsonObject toJson(const BYOKSyncResponse &response);
QJsonObject toJson(const OllamaSyncResponse &response);

} // namespace Nomly
