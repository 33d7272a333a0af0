#include "backend/providercall.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QList>
#include <QUrl>

#include "ai/cloudproviderendpoint.h"

namespace Nomly {

namespace {

constexpr int ClaudeMaxTokens = 1024;

QString pathOf(const ProviderCall &call)
{
    switch (call.provider) {
    case BackendProvider::OpenAI:
    case BackendProvider::Groq:
    case BackendProvider::OpenAICompatible:
        return QStringLiteral("/v1/chat/completions");
    case BackendProvider::Gemini: {
        QString model = call.model;
        if (model.startsWith(QLatin1StringView("models/")))
            model.remove(0, 7);
        return QStringLiteral("/v1beta/models/") + model + QStringLiteral(":generateContent");
    }
    case BackendProvider::Claude:
        return QStringLiteral("/v1/messages");
    case BackendProvider::Ollama:
        return QStringLiteral("/api/chat");
    }
    Q_UNREACHABLE();
}

// The JPEGs of a request: the single picture first, then pages or frames.
QList<QByteArray> picturesOf(const AnalyzeRequest &request)
{
    QList<QByteArray> pictures;
    if (request.image && !request.image->isEmpty())
        pictures.append(*request.image);
    if (request.images) {
        for (const QByteArray &picture : *request.images) {
            if (!picture.isEmpty())
                pictures.append(picture);
        }
    }
    return pictures;
}

QString pictureTypeOf(const AnalyzeRequest &request)
{
    const QString type = request.imageMimeType.value_or(QString()).trimmed();
    return type.isEmpty() ? QStringLiteral("image/jpeg") : type;
}

QString base64(const QByteArray &bytes)
{
    return QString::fromLatin1(bytes.toBase64());
}

bool hasDocument(const AnalyzeRequest &request)
{
    return request.document && !request.document->isEmpty();
}

QJsonObject chatCompletionsBody(const ProviderCall &call, const QString &prompt, const AnalyzeRequest &request)
{
    QJsonArray content { QJsonObject { { QLatin1StringView("type"), QLatin1StringView("text") },
                                       { QLatin1StringView("text"), prompt } } };
    const QString dataPrefix = QStringLiteral("data:") + pictureTypeOf(request) + QStringLiteral(";base64,");
    for (const QByteArray &picture : picturesOf(request)) {
        content.append(QJsonObject {
            { QLatin1StringView("type"), QLatin1StringView("image_url") },
            { QLatin1StringView("image_url"),
              QJsonObject { { QLatin1StringView("url"), QString(dataPrefix + base64(picture)) } } },
        });
    }
    return {
        { QLatin1StringView("model"), call.model },
        { QLatin1StringView("messages"),
          QJsonArray { QJsonObject { { QLatin1StringView("role"), QLatin1StringView("user") },
                                     { QLatin1StringView("content"), content } } } },
        { QLatin1StringView("response_format"),
          QJsonObject { { QLatin1StringView("type"), QLatin1StringView("json_object") } } },
    };
}

QJsonObject inlineData(const QString &mimeType, const QByteArray &bytes)
{
    return { { QLatin1StringView("inline_data"),
               QJsonObject { { QLatin1StringView("mime_type"), mimeType },
                             { QLatin1StringView("data"), base64(bytes) } } } };
}

// A PDF the provider reads itself replaces the pictures of its pages.
QJsonObject generateContentBody(const QString &prompt, const AnalyzeRequest &request)
{
    QJsonArray parts { QJsonObject { { QLatin1StringView("text"), prompt } } };
    if (hasDocument(request)) {
        parts.append(inlineData(QStringLiteral("application/pdf"), *request.document));
    } else {
        const QString type = pictureTypeOf(request);
        for (const QByteArray &picture : picturesOf(request))
            parts.append(inlineData(type, picture));
    }
    return {
        { QLatin1StringView("contents"),
          QJsonArray { QJsonObject { { QLatin1StringView("role"), QLatin1StringView("user") },
                                     { QLatin1StringView("parts"), parts } } } },
        { QLatin1StringView("generationConfig"),
          QJsonObject { { QLatin1StringView("responseMimeType"), QLatin1StringView("application/json") } } },
    };
}

QJsonObject base64Block(QLatin1StringView type, const QString &mimeType, const QByteArray &bytes)
{
    return {
        { QLatin1StringView("type"), type },
        { QLatin1StringView("source"),
          QJsonObject { { QLatin1StringView("type"), QLatin1StringView("base64") },
                        { QLatin1StringView("media_type"), mimeType },
                        { QLatin1StringView("data"), base64(bytes) } } },
    };
}

// Pictures go before the question, as Anthropic advises.
QJsonObject messagesBody(const ProviderCall &call, const QString &prompt, const AnalyzeRequest &request)
{
    QJsonArray content;
    if (hasDocument(request)) {
        content.append(
            base64Block(QLatin1StringView("document"), QStringLiteral("application/pdf"), *request.document));
    } else {
        const QString type = pictureTypeOf(request);
        for (const QByteArray &picture : picturesOf(request))
            content.append(base64Block(QLatin1StringView("image"), type, picture));
    }
    content.append(QJsonObject { { QLatin1StringView("type"), QLatin1StringView("text") },
                                 { QLatin1StringView("text"), prompt } });
    return {
        { QLatin1StringView("model"), call.model },
        { QLatin1StringView("max_tokens"), ClaudeMaxTokens },
        { QLatin1StringView("messages"),
          QJsonArray { QJsonObject { { QLatin1StringView("role"), QLatin1StringView("user") },
                                     { QLatin1StringView("content"), content } } } },
    };
}

QJsonObject ollamaChatBody(const ProviderCall &call, const QString &prompt, const AnalyzeRequest &request)
{
    QJsonArray pictures;
    for (const QByteArray &picture : picturesOf(request))
        pictures.append(base64(picture));
    QJsonObject message { { QLatin1StringView("role"), QLatin1StringView("user") },
                          { QLatin1StringView("content"), prompt } };
    if (!pictures.isEmpty())
        message.insert(QLatin1StringView("images"), pictures);
    return {
        { QLatin1StringView("model"), call.model },
        { QLatin1StringView("messages"), QJsonArray { message } },
        { QLatin1StringView("stream"), false },
        { QLatin1StringView("format"), QLatin1StringView("json") },
    };
}

// The text parts of a list of parts or blocks, joined.
std::optional<QString> joinedText(const QJsonArray &parts, bool typed)
{
    QString text;
    bool found = false;
    for (const QJsonValue &part : parts) {
        const QJsonObject object = part.toObject();
        if (typed && object.value(QLatin1StringView("type")).toString() != QLatin1StringView("text"))
            continue;
        const QJsonValue value = object.value(QLatin1StringView("text"));
        if (value.isString()) {
            text += value.toString();
            found = true;
        }
    }
    return found ? std::optional<QString>(text) : std::nullopt;
}

std::optional<QString> stringAt(const QJsonValue &value)
{
    return value.isString() ? std::optional<QString>(value.toString()) : std::nullopt;
}

// The provider's function at `path` under the base address, with the key
// in the header that provider reads.
QNetworkRequest addressed(const ProviderCall &call, const QString &path)
{
    switch (call.provider) {
    case BackendProvider::Gemini:
        return providerRequest(call.baseUrl, path, ProviderAuth::GoogleApiKey, call.apiKey);
    case BackendProvider::Claude:
        return providerRequest(call.baseUrl, path, ProviderAuth::AnthropicApiKey, call.apiKey);
    case BackendProvider::OpenAI:
    case BackendProvider::Groq:
    case BackendProvider::OpenAICompatible:
    case BackendProvider::Ollama:
        break;
    }
    return providerRequest(call.baseUrl, path, ProviderAuth::Bearer, call.apiKey);
}

} // namespace

QNetworkRequest ProviderCall::networkRequest() const
{
    QNetworkRequest request = addressed(*this, pathOf(*this));
    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/json"));
    return request;
}

QNetworkRequest ProviderCall::modelListRequest() const
{
    switch (provider) {
    case BackendProvider::Gemini:
        return addressed(*this, QStringLiteral("/v1beta/models"));
    case BackendProvider::Ollama:
        return addressed(*this, QStringLiteral("/api/tags"));
    case BackendProvider::OpenAI:
    case BackendProvider::Groq:
    case BackendProvider::OpenAICompatible:
    case BackendProvider::Claude:
        break;
    }
    return addressed(*this, QStringLiteral("/v1/models"));
}

QNetworkRequest ProviderCall::transcriptionRequest() const
{
    // Groq's base address already ends in its OpenAI-compatible prefix, so
    // both share the path as they share the chat path.
    return addressed(*this, QStringLiteral("/v1/audio/transcriptions"));
}

QByteArray ProviderCall::body(const QString &prompt, const AnalyzeRequest &request) const
{
    QJsonObject json;
    switch (provider) {
    case BackendProvider::OpenAI:
    case BackendProvider::Groq:
    case BackendProvider::OpenAICompatible:
        json = chatCompletionsBody(*this, prompt, request);
        break;
    case BackendProvider::Gemini:
        json = generateContentBody(prompt, request);
        break;
    case BackendProvider::Claude:
        json = messagesBody(*this, prompt, request);
        break;
    case BackendProvider::Ollama:
        json = ollamaChatBody(*this, prompt, request);
        break;
    }
    return QJsonDocument(json).toJson(QJsonDocument::Compact);
}

std::optional<QString> ProviderCall::answerText(const QByteArray &reply) const
{
    const QJsonObject json = QJsonDocument::fromJson(reply).object();
    switch (provider) {
    case BackendProvider::OpenAI:
    case BackendProvider::Groq:
    case BackendProvider::OpenAICompatible: {
        const QJsonObject first = json.value(QLatin1StringView("choices")).toArray().at(0).toObject();
        return stringAt(first.value(QLatin1StringView("message")).toObject().value(QLatin1StringView("content")));
    }
    case BackendProvider::Gemini: {
        const QJsonObject first = json.value(QLatin1StringView("candidates")).toArray().at(0).toObject();
        return joinedText(
            first.value(QLatin1StringView("content")).toObject().value(QLatin1StringView("parts")).toArray(), false);
    }
    case BackendProvider::Claude:
        return joinedText(json.value(QLatin1StringView("content")).toArray(), true);
    case BackendProvider::Ollama:
        return stringAt(json.value(QLatin1StringView("message")).toObject().value(QLatin1StringView("content")));
    }
    Q_UNREACHABLE();
}

} // namespace Nomly
