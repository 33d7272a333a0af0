#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <optional>

#include "ai/modeloption.h"
#include "settings/aiprovider.h"

namespace Nomly {

// Which of the models a provider lists can name files: the ones that take
// text and pictures and answer in text, still offered, and known to follow
// the analysis prompt. Pure: it reads the provider's reply, nothing else.
namespace ModelCatalogue {

// Whether the model with this id is one the analysis works with.
bool isSupported(AIProvider provider, const QString &modelId);

// Whether a record of a provider's model list announces the model's end:
// a flag, a date of deprecation, shutdown or retirement, or words saying
// so in its texts.
bool isRetired(const QJsonObject &record);

// The models of a provider's reply to the model list request that pass
// the filters, sorted by id with runs of digits compared by value; none
// when the reply is not the provider's model list.
std::optional<QList<ModelOption>> modelOptions(AIProvider provider, const QByteArray &reply);

} // namespace ModelCatalogue

} // namespace Nomly
