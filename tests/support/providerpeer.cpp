#include "providerpeer.h"

#include <QHostAddress>
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

QByteArray methodName(QHttpServerRequest::Method method)
{
    switch (method) {
    case QHttpServerRequest::Method::Get:
        return QByteArrayLiteral("GET");
    case QHttpServerRequest::Method::Post:
        return QByteArrayLiteral("POST");
    default:
        return QByteArrayLiteral("OTHER");
    }
}

QJsonObject text(const QString &value)
{
    return { { QStringLiteral("type"), QStringLiteral("text") }, { QStringLiteral("text"), value } };
}

// A parameter of a header value: `name` in `form-data; name="file"`.
QByteArray parameter(const QByteArray &value, QByteArrayView name)
{
    for (const QByteArray &item : value.split(';')) {
        const QByteArray trimmed = item.trimmed();
        if (trimmed.startsWith(name) && trimmed.mid(name.size()).startsWith('='))
            return trimmed.mid(name.size() + 1).replace('"', QByteArray());
    }
    return {};
}

} // namespace

ProviderPeer::FormPart ProviderPeer::Request::formPart(QByteArrayView name) const
{
    const QByteArray delimiter = "\r\n--" + parameter(header("content-type"), "boundary");
    // Each part runs from the end of one delimiter line to the next delimiter.
    const QByteArray framed = "\r\n" + body;
    for (qsizetype from = framed.indexOf(delimiter); from >= 0;) {
        const qsizetype start = framed.indexOf("\r\n", from + delimiter.size());
        const qsizetype end = framed.indexOf(delimiter, from + delimiter.size());
        if (start < 0 || end < 0)
            break;
        const QByteArray chunk = framed.mid(start + 2, end - start - 2);
        const qsizetype split = chunk.indexOf("\r\n\r\n");
        FormPart part;
        for (const QByteArray &line : chunk.left(split).split('\n')) {
            const QByteArray key = line.left(line.indexOf(':')).trimmed().toLower();
            const QByteArray value = line.mid(line.indexOf(':') + 1).trimmed();
            if (key == "content-disposition") {
                part.name = parameter(value, "name");
                part.filename = parameter(value, "filename");
            } else if (key == "content-type") {
                part.contentType = value;
            }
        }
        part.data = chunk.mid(split + 4);
        if (split >= 0 && part.name == name)
            return part;
        from = end;
    }
    return {};
}

QByteArray ProviderPeer::Request::header(QByteArrayView name) const
{
    for (const auto &[key, value] : headers) {
        if (key.compare(name, Qt::CaseInsensitive) == 0)
            return value;
    }
    return {};
}

QJsonObject ProviderPeer::Request::json() const
{
    return QJsonDocument::fromJson(body).object();
}

ProviderPeer::ProviderPeer(Dialect dialect)
    : m_dialect(dialect)
{
    m_server.setMissingHandler([this](const QHttpServerRequest &request, QHttpServerResponder &&responder) {
        serve(request, std::move(responder));
    });
    m_port = m_server.listen(QHostAddress::LocalHost, 0);
    Q_ASSERT(m_port != 0);
}

QString ProviderPeer::baseUrl() const
{
    return QStringLiteral("http://127.0.0.1:%1").arg(m_port);
}

void ProviderPeer::answer(const QString &modelText)
{
    m_mode = Mode::Answer;
    m_status = 200;
    m_text = modelText;
}

void ProviderPeer::fail(int status, const QByteArray &body)
{
    m_mode = Mode::Fail;
    m_status = status;
    m_failureBody = body;
}

void ProviderPeer::transcribe(const QString &transcript)
{
    m_transcriptStatus = 200;
    m_transcriptBody = QJsonDocument(QJsonObject { { QStringLiteral("text"), transcript } }).toJson();
}

void ProviderPeer::failTranscription(int status, const QByteArray &body)
{
    m_transcriptStatus = status;
    m_transcriptBody = body;
}

void ProviderPeer::dropConnection()
{
    m_mode = Mode::Drop;
}

QByteArray ProviderPeer::answerBody(const QString &model) const
{
    QJsonObject json;
    switch (m_dialect) {
    case Dialect::ChatCompletions:
        json = {
            { QStringLiteral("id"), QStringLiteral("chatcmpl-1") },
            { QStringLiteral("object"), QStringLiteral("chat.completion") },
            { QStringLiteral("model"), model },
            { QStringLiteral("choices"),
              QJsonArray { QJsonObject {
                  { QStringLiteral("index"), 0 },
                  { QStringLiteral("message"),
                    QJsonObject { { QStringLiteral("role"), QStringLiteral("assistant") },
                                  { QStringLiteral("content"), m_text } } },
                  { QStringLiteral("finish_reason"), QStringLiteral("stop") },
              } } },
        };
        break;
    case Dialect::GenerateContent:
        json = {
            { QStringLiteral("candidates"),
              QJsonArray { QJsonObject {
                  { QStringLiteral("content"),
                    QJsonObject { { QStringLiteral("role"), QStringLiteral("model") },
                                  { QStringLiteral("parts"),
                                    QJsonArray { QJsonObject { { QStringLiteral("text"), m_text } } } } } },
                  { QStringLiteral("finishReason"), QStringLiteral("STOP") },
              } } },
            { QStringLiteral("modelVersion"), model },
        };
        break;
    case Dialect::Messages:
        json = {
            { QStringLiteral("id"), QStringLiteral("msg_1") },
            { QStringLiteral("type"), QStringLiteral("message") },
            { QStringLiteral("role"), QStringLiteral("assistant") },
            { QStringLiteral("model"), model },
            { QStringLiteral("content"), QJsonArray { text(m_text) } },
            { QStringLiteral("stop_reason"), QStringLiteral("end_turn") },
        };
        break;
    case Dialect::OllamaChat:
        json = {
            { QStringLiteral("model"), model },
            { QStringLiteral("message"),
              QJsonObject { { QStringLiteral("role"), QStringLiteral("assistant") },
                            { QStringLiteral("content"), m_text } } },
            { QStringLiteral("done"), true },
        };
        break;
    }
    return QJsonDocument(json).toJson(QJsonDocument::Compact);
}

void ProviderPeer::serve(const QHttpServerRequest &request, QHttpServerResponder &&responder)
{
    received.append(Request { methodName(request.method()), request.url().path(), request.headers(), request.body() });
    QString model = received.last().json().value(QStringLiteral("model")).toString();
    if (model.isEmpty())
        model = request.url().path().section(QLatin1Char('/'), -1).section(QLatin1Char(':'), 0, 0);

    const auto held = std::make_shared<QHttpServerResponder>(std::move(responder));
    const QPointer<QTcpSocket> socket(held->socket());
    Mode mode = m_mode;
    int status = m_status;
    QByteArray body = m_mode == Mode::Fail ? m_failureBody : answerBody(model);
    if (m_dialect == Dialect::ChatCompletions && request.url().path().endsWith(u"/audio/transcriptions")) {
        mode = m_transcriptStatus == 200 ? Mode::Answer : Mode::Fail;
        status = m_transcriptStatus;
        body = m_transcriptBody;
    }
    m_mostAtOnce = std::max(m_mostAtOnce, ++m_open);
    QTimer::singleShot(m_delay, this, [this, held, socket, mode, status, body] {
        --m_open;
        // The caller may have given up while the reply was held back.
        if (!socket || socket->state() != QAbstractSocket::ConnectedState)
            return;
        if (mode == Mode::Drop) {
            socket->abort();
            return;
        }
        held->write(body,
                    { { QByteArrayLiteral("Content-Type"), QByteArrayLiteral("application/json") } },
                    static_cast<QHttpServerResponder::StatusCode>(status));
    });
}

} // namespace Nomly::Test
