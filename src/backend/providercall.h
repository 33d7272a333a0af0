#pragma once

#include <QByteArray>
#include <QNetworkRequest>
#include <QString>
#include <optional>

#include "ai/analyzerequest.h"
#include "backend/backendprovider.h"

namespace Nomly {

// One provider, reached at one address with one key and model. Holds a key:
// never logged.
struct ProviderCall
{
    BackendProvider provider = BackendProvider::Gemini;
    QString baseUrl;
    QString apiKey;
    QString model;

    bool operator==(const ProviderCall &) const = default;

    // "openai:gpt-4o-mini", as the analysis reply names who did the work.
    QString effectiveName() const { return providerName(provider) + QLatin1Char(':') + model; }

    // The address of the provider's chat function, with the key in the
    // header that provider reads.
    QNetworkRequest networkRequest() const;
    // The address of the provider's speech-to-text function (OpenAI and
    // Groq), with the key; the form upload sets its own content type.
    QNetworkRequest transcriptionRequest() const;
    // The address of the provider's list of models, with the key: a call
    // any valid key may make, which tells a refused key from a good one.
    QNetworkRequest modelListRequest() const;
    // The prompt and the file's pictures (and a PDF where the provider reads
    // PDF) in the provider's own message format, asking for JSON back.
    QByteArray body(const QString &prompt, const AnalyzeRequest &request) const;
    // The model's text in the provider's reply; none when the reply has no
    // text where the provider puts it.
    std::optional<QString> answerText(const QByteArray &reply) const;
};

} // namespace Nomly
