#pragma once

#include "ai/analyzeresponse.h"
#include "ai/imageanalysis.h"

namespace Nomly {

// The analysis one route answer stands for. An answer with an error, or
// without a usable title, is a failed analysis carrying only the error ("No
// analysis result" when the answer gave none). Every text is normalized.
ImageAnalysis imageAnalysisFrom(const AnalyzeResponse &response);

} // namespace Nomly
