#include "backend/audiotranscription.h"

#include <QHttpMultiPart>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

namespace Nomly {

namespace {

QHttpPart formField(const QByteArray &name, const QByteArray &value)
{
    QHttpPart part;
    part.setHeader(QNetworkRequest::ContentDispositionHeader, QByteArray("form-data; name=\"" + name + '"'));
    part.setBody(value);
    return part;
}

// The providers tell the audio format by the name's extension, so a request
// without a name still gets one with its extension.
QByteArray uploadName(const AnalyzeRequest &request)
{
    QString name = request.filename.value_or(QString()).trimmed();
    if (name.isEmpty()) {
        name = QStringLiteral("audio");
        const QString extension = request.originalExtension.value_or(QString()).trimmed();
        if (!extension.isEmpty() && !extension.startsWith(QLatin1Char('.')))
            name += QLatin1Char('.');
        name += extension;
    }
    // The name sits between quotes in a header line.
    for (QChar &c : name) {
        if (c == u'"' || c == u'\\' || c.category() == QChar::Other_Control)
            c = u'_';
    }
    return name.toUtf8();
}

QString cutTranscript(const QString &transcript)
{
    QString text = transcript.trimmed();
    if (text.size() > MaxTranscriptLength) {
        qsizetype cut = MaxTranscriptLength;
        // Never leave half of a surrogate pair behind.
        if (text.at(cut - 1).isHighSurrogate())
            --cut;
        text.truncate(cut);
    }
    return text;
}

} // namespace

bool carriesAudio(const AnalyzeRequest &request)
{
    return request.audio && !request.audio->isEmpty();
}

bool providerTranscribes(BackendProvider provider)
{
    return provider == BackendProvider::Groq || provider == BackendProvider::OpenAI;
}

QString transcriptionModel(BackendProvider provider)
{
    switch (provider) {
    case BackendProvider::OpenAI:
        // Not the newer transcribe models: they refuse recordings longer than
        // about 23 minutes, which an 18 MiB voice memo easily is; Whisper is
        // bounded only by the file size.
        return QStringLiteral("whisper-1");
    case BackendProvider::Groq:
        return QStringLiteral("whisper-large-v3-turbo");
    case BackendProvider::Gemini:
    case BackendProvider::Claude:
    case BackendProvider::Ollama:
    case BackendProvider::OpenAICompatible:
        break;
    }
    return {};
}

QHttpMultiPart *transcriptionForm(BackendProvider provider, const AnalyzeRequest &request)
{
    auto *form = new QHttpMultiPart(QHttpMultiPart::FormDataType);
    QHttpPart file;
    file.setHeader(QNetworkRequest::ContentDispositionHeader,
                   QByteArray("form-data; name=\"file\"; filename=\"" + uploadName(request) + '"'));
    const QString type = request.mimeType.trimmed();
    file.setHeader(QNetworkRequest::ContentTypeHeader,
                   type.isEmpty() ? QByteArrayLiteral("application/octet-stream") : type.toUtf8());
    file.setBody(request.audio.value_or(QByteArray()));
    form->append(file);
    form->append(formField(QByteArrayLiteral("model"), transcriptionModel(provider).toUtf8()));
    form->append(formField(QByteArrayLiteral("response_format"), QByteArrayLiteral("json")));
    return form;
}

std::optional<QString> transcriptText(const QByteArray &reply)
{
    const QJsonValue text = QJsonDocument::fromJson(reply).object().value(QLatin1StringView("text"));
    return text.isString() ? std::optional<QString>(text.toString()) : std::nullopt;
}

AnalyzeRequest withTranscript(AnalyzeRequest request, BackendProvider provider, const QString &transcript)
{
    request.audio.reset();
    const QString text = cutTranscript(transcript);
    if (text.isEmpty())
        return request;
    QStringList lines {
        QStringLiteral("Audio speech transcript"),
        QStringLiteral("Transcript source: %1 speech-to-text").arg(providerDisplayName(provider)),
        QStringLiteral("Transcript:"),
        text,
        QStringLiteral("Use this transcript as the primary spoken-content signal for the audio file."),
    };
    const QString own = request.text.value_or(QString()).trimmed();
    if (!own.isEmpty())
        lines.append(QLatin1Char('\n') + own);
    request.text = lines.join(QLatin1Char('\n'));
    return request;
}

} // namespace Nomly
