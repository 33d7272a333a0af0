#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QList>
#include <optional>

#include "naming/namingpatternblock.h"

namespace Nomly {

QJsonObject toJson(const NamingPatternBlock &block);
QJsonArray toJson(const QList<NamingPatternBlock> &blocks);

// `kind` and `value` are required; a block without them, or with an unknown
// kind or separator, does not decode.
std::optional<NamingPatternBlock> namingPatternBlockFromJson(const QJsonValue &json);

// Fails as a whole when the value is not an array or any element fails.
std::optional<QList<NamingPatternBlock>> namingPatternBlocksFromJson(const QJsonValue &json);

} // namespace Nomly
