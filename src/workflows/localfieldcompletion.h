#pragma once

#include <QString>

#include "ai/imageanalysis.h"
#include "content/aianalyzeinput.h"

namespace Nomly {

// The naming fields the local rules read from the file's own text and name,
// added where the AI gave none; a value the AI gave always stays.
ImageAnalysis withLocalFields(ImageAnalysis analysis, const AIAnalyzeInput &input, const QString &path);

} // namespace Nomly
