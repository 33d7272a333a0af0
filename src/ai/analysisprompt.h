#pragma once

#include <QString>
#include <optional>

#include "ai/analyzerequest.h"
#include "ai/analyzeresponse.h"

namespace Nomly {

// The one prompt that asks a model for a title, description, tags and naming
// fields of a file, built from the request field by field. The local route
// sends it to Ollama; nomly-backend sends it to the provider it calls.
QString analysisPrompt(const AnalyzeRequest &request);

// The model's answer, read as the JSON object the prompt asks for: the whole
// text, else the first balanced object inside it (models wrap answers in
// fences and chatter). None when no object reads or its title is blank.
std::optional<AnalyzeResponse> parseModelAnswer(const QString &text);

} // namespace Nomly
