#pragma once

#include <QHash>
#include <QMap>
#include <QString>

#include "naming/patternrenderinput.h"

namespace Nomly {

// The map of detected fields a name reads its `detected` tokens from, and how
// what the AI reports of a file is merged into it. Pure: nothing here reads a
// file.
namespace DetectedFields {

using Fields = QHash<QString, QString>;

// Keys to their field names ("Invoice Number" to "invoice_number", the alias
// "customer" to "client_name"); values with literal "\uXXXX" escapes decoded,
// composed and trimmed. An empty key or value is dropped.
Fields normalized(const Fields &fields);

// `input` with the analysis merged in. `input.type`, `vendor` and `amount`
// hold what the analysis says; `fields` are the naming fields it reported,
// by whatever key the model wrote, and they overwrite the file's own facts.
// The analysis' type goes into the map unless the map has one, its vendor as
// `vendor` and its amount as `amount` and `total_amount`; the map's
// `currency`, else the currency the total or the amount is in, becomes the
// currency. The name is rendered with the analysis' vendor, else the
// detected one, and its amount, else the detected total, else the amount.
PatternRenderInput withAnalysis(PatternRenderInput input, const QMap<QString, QString> &fields);

} // namespace DetectedFields

} // namespace Nomly
