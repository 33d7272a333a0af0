#pragma once

#include <QByteArray>
#include <QHttpServer>
#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QPair>
#include <QString>
#include <chrono>

namespace Nomly::Test {

// An AI provider on loopback: answers every call in one provider's documented
// format, with the model's text a test chooses or with a failure, and records
// what it was sent.
class ProviderPeer final : public QObject
{
public:
    enum class Dialect
    {
        ChatCompletions, // OpenAI and Groq
        GenerateContent, // Gemini
        Messages, // Anthropic
        OllamaChat,
    };

    // One part of a multipart/form-data body.
    struct FormPart
    {
        QByteArray name;
        QByteArray filename;
        QByteArray contentType;
        QByteArray data;
    };

    struct Request
    {
        QByteArray method;
        QString path;
        QList<QPair<QByteArray, QByteArray>> headers;
        QByteArray body;

        // Case-insensitive; empty when absent.
        QByteArray header(QByteArrayView name) const;
        QJsonObject json() const;
        // The form field of that name; an empty part when the body has none.
        FormPart formPart(QByteArrayView name) const;
    };

    explicit ProviderPeer(Dialect dialect);

    // "http://127.0.0.1:<port>", without a path.
    QString baseUrl() const;

    // What the calls from now on get: the model's text in a 200 reply...
    void answer(const QString &modelText);
    // ...a status with a body (the provider's error JSON)...
    void fail(int status, const QByteArray &body);
    // ...or a connection closed without a reply.
    void dropConnection();

    // What calls to the transcription path (chat completions dialect) get:
    // `{"text": ...}` in a 200 reply, or a status with a body.
    void transcribe(const QString &transcript);
    void failTranscription(int status, const QByteArray &body);

    // Waits this long before each reply.
    void setDelay(std::chrono::milliseconds delay) { m_delay = delay; }

    // The greatest number of calls that waited for a reply at one time.
    int mostAtOnce() const { return m_mostAtOnce; }

    QList<Request> received;

private:
    enum class Mode
    {
        Answer,
        Fail,
        Drop,
    };

    void serve(const QHttpServerRequest &request, QHttpServerResponder &&responder);
    QByteArray answerBody(const QString &model) const;

    Dialect m_dialect;
    QHttpServer m_server;
    quint16 m_port = 0;
    Mode m_mode = Mode::Answer;
    int m_status = 200;
    QString m_text;
    QByteArray m_failureBody;
    int m_transcriptStatus = 200;
    QByteArray m_transcriptBody = QByteArrayLiteral(R"({"text":""})");
    std::chrono::milliseconds m_delay { 0 };
    int m_open = 0;
    int m_mostAtOnce = 0;
};

} // namespace Nomly::Test
