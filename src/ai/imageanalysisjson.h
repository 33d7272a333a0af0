#pragma once

#include <QJsonObject>

#include "ai/imageanalysis.h"

namespace Nomly {

// Keys are the field names; absent optional fields are left out.
QJsonObject toJson(const ImageAnalysis &analysis);

// A missing key, or one of the wrong type, keeps the field's default. A list
// or map with one entry that is not a string counts as the wrong type.
ImageAnalysis imageAnalysisFromJson(const QJsonObject &json);

} // namespace Nomly
