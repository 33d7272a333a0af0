#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

#include "ai/analyzerequest.h"
#include "backend/backendprovider.h"

class QHttpMultiPart;

namespace Nomly {

// Speech to text for an uploaded audio file, so that the chat model names it
// from what is said in it. Only OpenAI and Groq offer a transcription
// function; the others refuse audio.

// Transcripts longer than this are cut before they reach the prompt.
constexpr qsizetype MaxTranscriptLength = 6000;

bool carriesAudio(const AnalyzeRequest &request);
bool providerTranscribes(BackendProvider provider);

// The speech-to-text model a provider is asked for; empty for the others.
QString transcriptionModel(BackendProvider provider);

// The audio as a form upload: the file under its own name and type, the
// model, and a JSON answer asked for. The caller owns the result.
QHttpMultiPart *transcriptionForm(BackendProvider provider, const AnalyzeRequest &request);

// The `text` of the provider's answer; none when the answer has no text.
std::optional<QString> transcriptText(const QByteArray &reply);

// The request the chat call gets: the transcript, under a heading that
// tells the model what it is, in front of the request's own text, and the
// audio dropped. An empty transcript leaves the text as it was.
AnalyzeRequest withTranscript(AnalyzeRequest request, BackendProvider provider, const QString &transcript);

} // namespace Nomly
