#pragma once

#include <QJsonObject>

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

} // namespace Nomly
