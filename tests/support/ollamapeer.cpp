#include "ollamapeer.h"

#include <QHttpServerRequest>
#include <QHttpServerResponder>
#include <QJsonArray>
#include <QJsonDocument>
#include <QPointer>
#include <QTcpSocket>
#include <QTimer>
#include <algorithm>
#include <memory>

namespace Nomly::Test {

namespace {

const QByteArray JsonType = QByteArrayLiteral("application/json; charset=utf-8");

QString pathOf(const QHttpServerRequest &request)
{
    return request.url().path();
}

} // namespace

QJsonObject OllamaPeer::Request::json() const
{
    return QJsonDocument::fromJson(body).object();
}

QString OllamaPeer::Request::prompt() const
{
    return json()
        .value(QStringLiteral("messages"))
        .toArray()
        .at(0)
        .toObject()
        .value(QStringLiteral("content"))
        .toString();
}

OllamaPeer::OllamaPeer()
    : m_answerer([](const Request &) { return reply(QStringLiteral(R"({"title":"Loopback Answer"})")); })
    , m_port(listen(QHostAddress::LocalHost))
{}

QString OllamaPeer::endpoint() const
{
    return QStringLiteral("http://127.0.0.1:%1").arg(m_port);
}

void OllamaPeer::answerAlways(Answer answer)
{
    m_answerer = [answer](const Request &) { return answer; };
}

void OllamaPeer::answerWith(std::function<Answer(const Request &)> answerer)
{
    m_answerer = std::move(answerer);
}

QList<OllamaPeer::Request> OllamaPeer::chatRequests() const
{
    QList<Request> chats;
    for (const Request &request : received) {
        if (request.path == u"/api/chat")
            chats.append(request);
    }
    return chats;
}

OllamaPeer::Answer OllamaPeer::reply(const QString &content, std::chrono::milliseconds delay)
{
    Answer answer;
    answer.content = content;
    answer.delay = delay;
    return answer;
}

OllamaPeer::Answer OllamaPeer::failure(int status, const QString &error)
{
    Answer answer;
    answer.status = status;
    answer.content = error;
    return answer;
}

bool OllamaPeer::handleRequest(const QHttpServerRequest &request, QTcpSocket *socket)
{
    const QString path = pathOf(request);
    const bool isChat = path == u"/api/chat" && request.method() == QHttpServerRequest::Method::Post;
    const bool isTags = path == u"/api/tags" && request.method() == QHttpServerRequest::Method::Get;
    if (!isChat && !isTags)
        return false;

    Request recorded { request.method() == QHttpServerRequest::Method::Post ? QByteArrayLiteral("POST")
                                                                            : QByteArrayLiteral("GET"),
                       path,
                       request.value(QByteArrayLiteral("content-type")),
                       request.body() };
    received.append(recorded);

    if (isTags) {
        const Answer answer = tagsAnswer.value_or(Answer {});
        respond(request, socket, answer, tagsAnswer ? QByteArray() : tagsBody());
        return true;
    }
    m_maxInFlight = std::max(m_maxInFlight, ++m_inFlight);
    const Answer answer = m_answerer(recorded);
    respond(request, socket, answer, chatReplyBody(recorded, answer));
    return true;
}

void OllamaPeer::missingHandler(const QHttpServerRequest &request, QTcpSocket *socket)
{
    // Ollama's own router answers unknown paths in plain text.
    makeResponder(request, socket)
        .write(QByteArrayLiteral("404 page not found"),
               QByteArrayLiteral("text/plain; charset=utf-8"),
               QHttpServerResponder::StatusCode::NotFound);
}

void OllamaPeer::respond(const QHttpServerRequest &request,
                         QTcpSocket *socket,
                         const Answer &answer,
                         const QByteArray &body)
{
    const bool isChat = pathOf(request) == u"/api/chat";
    auto responder = std::make_shared<QHttpServerResponder>(makeResponder(request, socket));
    const QPointer<QTcpSocket> connection(socket);
    QByteArray payload = body;
    if (!answer.rawBody.isEmpty())
        payload = answer.rawBody;
    else if (answer.status != 200)
        payload
            = QJsonDocument(QJsonObject { { QStringLiteral("error"), answer.content } }).toJson(QJsonDocument::Compact);

    // Answering from the event loop, even without a delay, lets the caller
    // see the connection close after the request has been recorded.
    QTimer::singleShot(answer.delay, this, [this, responder, connection, answer, payload, isChat] {
        if (isChat)
            --m_inFlight;
        if (!connection)
            return;
        if (answer.drop) {
            connection->abort();
            return;
        }
        responder->write(payload,
                         { { QByteArrayLiteral("Content-Type"), JsonType } },
                         static_cast<QHttpServerResponder::StatusCode>(answer.status));
    });
}

QByteArray OllamaPeer::chatReplyBody(const Request &request, const Answer &answer) const
{
    const QJsonObject reply {
        { QStringLiteral("model"), request.json().value(QStringLiteral("model")) },
        { QStringLiteral("created_at"), QStringLiteral("2026-01-15T09:30:00.000000Z") },
        { QStringLiteral("message"),
          QJsonObject { { QStringLiteral("role"), QStringLiteral("assistant") },
                        { QStringLiteral("content"), answer.content } } },
        { QStringLiteral("done_reason"), QStringLiteral("stop") },
        { QStringLiteral("done"), true },
        { QStringLiteral("total_duration"), 1'200'000'000.0 },
        { QStringLiteral("load_duration"), 50'000'000.0 },
        { QStringLiteral("prompt_eval_count"), 412 },
        { QStringLiteral("prompt_eval_duration"), 400'000'000.0 },
        { QStringLiteral("eval_count"), 38 },
        { QStringLiteral("eval_duration"), 700'000'000.0 },
    };
    return QJsonDocument(reply).toJson(QJsonDocument::Compact);
}

QByteArray OllamaPeer::tagsBody() const
{
    QJsonArray list;
    for (const QString &name : models) {
        const QJsonObject details {
            { QStringLiteral("parent_model"), QString() },
            { QStringLiteral("format"), QStringLiteral("gguf") },
            { QStringLiteral("family"), QStringLiteral("llama") },
            { QStringLiteral("families"), QJsonArray { QStringLiteral("llama") } },
            { QStringLiteral("parameter_size"), QStringLiteral("3.2B") },
            { QStringLiteral("quantization_level"), QStringLiteral("Q4_K_M") },
        };
        list.append(QJsonObject {
            { QStringLiteral("name"), name },
            { QStringLiteral("model"), name },
            { QStringLiteral("modified_at"), QStringLiteral("2026-01-10T08:00:00.000000Z") },
            { QStringLiteral("size"), 2'019'393'189.0 },
            { QStringLiteral("digest"),
              QStringLiteral("a80c4f17acd55265feec403c7aef86be0c25983ab279d83f3bcd3abbcb5b8b72") },
            { QStringLiteral("details"), details },
        });
    }
    return QJsonDocument(QJsonObject { { QStringLiteral("models"), list } }).toJson(QJsonDocument::Compact);
}

} // namespace Nomly::Test
