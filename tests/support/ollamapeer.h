#pragma once

#include <QAbstractHttpServer>
#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>
#include <chrono>
#include <functional>
#include <optional>

namespace Nomly::Test {

// An Ollama server on loopback that speaks its HTTP API: POST /api/chat
// (non-streaming) and GET /api/tags. Each chat call is answered as the test
// programs it; every request is recorded, and so is the greatest number of
// chat calls that were open at once.
class OllamaPeer final : public QAbstractHttpServer
{
public:
    struct Answer
    {
        // The model's text for a 200, the `error` of the body otherwise.
        QString content;
        int status = 200;
        // Sent as the body instead, when not empty.
        QByteArray rawBody;
        std::chrono::milliseconds delay { 0 };
        // Close the connection without a reply.
        bool drop = false;
    };

    struct Request
    {
        QByteArray method;
        QString path;
        QByteArray contentType;
        QByteArray body;

        QJsonObject json() const;
        // The text of the first chat message.
        QString prompt() const;
    };

    OllamaPeer();

    // "http://127.0.0.1:<port>", as a user types it into the settings.
    QString endpoint() const;

    // The same answer for every chat call.
    void answerAlways(Answer answer);
    // An answer chosen per call from its request, which lets a test tell the
    // files of a batch apart whatever order they arrive in.
    void answerWith(std::function<Answer(const Request &)> answerer);

    // Installed models, listed by GET /api/tags.
    QStringList models { QStringLiteral("llama3.2-vision:latest") };
    // Replaces the model list when set: a failure or a drop.
    std::optional<Answer> tagsAnswer;

    QList<Request> received;

    // Chat requests only, in arrival order.
    QList<Request> chatRequests() const;

    int maxInFlight() const { return m_maxInFlight; }

    static Answer reply(const QString &content, std::chrono::milliseconds delay = {});
    static Answer failure(int status, const QString &error);

protected:
    bool handleRequest(const QHttpServerRequest &request, QTcpSocket *socket) override;
    void missingHandler(const QHttpServerRequest &request, QTcpSocket *socket) override;

private:
    void respond(const QHttpServerRequest &request, QTcpSocket *socket, const Answer &answer, const QByteArray &body);
    QByteArray chatReplyBody(const Request &request, const Answer &answer) const;
    QByteArray tagsBody() const;

    std::function<Answer(const Request &)> m_answerer;
    quint16 m_port = 0;
    int m_inFlight = 0;
    int m_maxInFlight = 0;
};

} // namespace Nomly::Test
