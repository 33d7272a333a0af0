#include "backend/requestgate.h"

#include <QTcpSocket>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <optional>

#include "backend/backendlog.h"

namespace Nomly {

namespace {

// Heads are a few hundred bytes; anything this long without its end is not
// a request worth reading.
constexpr qint64 MaxHeadBytes = 64 * 1024;
constexpr std::chrono::seconds HeadTimeout(30);
constexpr const char *DecidedProperty = "nomlyGateDecided";

struct RequestHead
{
    QByteArray target; // the path of the request line, as sent
    QByteArray authorization;
    std::optional<qint64> contentLength;
    bool chunked = false;
    bool lengthUnreadable = false;
};

RequestHead parseHead(const QByteArray &head)
{
    RequestHead parsed;
    const QList<QByteArray> lines = head.split('\n');
    parsed.target = lines.value(0).trimmed().split(' ').value(1);
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const QByteArray line = lines.at(i).trimmed();
        const qsizetype colon = line.indexOf(':');
        if (colon <= 0)
            continue;
        const QByteArray name = line.first(colon).trimmed().toLower();
        const QByteArray value = line.sliced(colon + 1).trimmed();
        if (name == "authorization") {
            parsed.authorization = value;
        } else if (name == "content-length") {
            bool ok = false;
            const qint64 length = value.toLongLong(&ok);
            if (!ok || length < 0 || (parsed.contentLength && *parsed.contentLength != length))
                parsed.lengthUnreadable = true;
            else
                parsed.contentLength = length;
        } else if (name == "transfer-encoding") {
            parsed.chunked = parsed.chunked || value.toLower().contains("chunked");
        }
    }
    return parsed;
}

void refuse(QTcpSocket *socket, int status, const QByteArray &reason, const QByteArray &message)
{
    const QByteArray body = "{\"error\":\"" + message + "\"}";
    socket->write("HTTP/1.1 " + QByteArray::number(status) + ' ' + reason
                  + "\r\nContent-Type: application/json\r\nCache-Control: no-store\r\nConnection: close\r\n"
                    "Content-Length: "
                  + QByteArray::number(body.size()) + "\r\n\r\n" + body);
    socket->disconnectFromHost();
}

} // namespace

bool sameSecret(const QByteArray &given, const QByteArray &expected)
{
    if (given.size() != expected.size())
        return false;
    unsigned char difference = 0;
    for (qsizetype i = 0; i < given.size(); ++i)
        difference |= static_cast<unsigned char>(given.at(i) ^ expected.at(i));
    return difference == 0;
}

RequestGate::RequestGate(QByteArray gatewayToken,
                         qint64 maxBodyBytes,
                         QHash<QByteArray, qint64> pathBodyLimits,
                         QObject *parent)
    : QTcpServer(parent)
    , m_expectedAuthorization(gatewayToken.isEmpty() ? QByteArray() : "Bearer " + gatewayToken)
    , m_maxBodyBytes(maxBodyBytes)
    , m_pathBodyLimits(std::move(pathBodyLimits))
{}

void RequestGate::incomingConnection(qintptr descriptor)
{
    auto *socket = new QTcpSocket(this);
    if (!socket->setSocketDescriptor(descriptor)) {
        delete socket;
        return;
    }
    // Until the head is read, no more than it is taken from the network.
    socket->setReadBufferSize(MaxHeadBytes);
    connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    connect(socket, &QTcpSocket::readyRead, this, [this, socket] { decide(socket); });
    // A caller that never finishes its head does not hold a connection.
    QTimer::singleShot(HeadTimeout, socket, [this, socket] {
        if (!socket->property(DecidedProperty).toBool()) {
            disconnect(socket, &QTcpSocket::readyRead, this, nullptr);
            socket->abort();
        }
    });
}

void RequestGate::decide(QTcpSocket *socket)
{
    // Only looked at, not taken: the HTTP server reads the request itself.
    const QByteArray seen = socket->peek(MaxHeadBytes);
    const qsizetype end = seen.indexOf("\r\n\r\n");
    if (end < 0 && seen.size() < MaxHeadBytes)
        return;
    socket->setProperty(DecidedProperty, true);
    disconnect(socket, &QTcpSocket::readyRead, this, nullptr);
    if (end < 0) {
        refuse(socket, 431, "Request Header Fields Too Large", "The request head is too large.");
        return;
    }

    const RequestHead head = parseHead(seen.first(end));
    if (m_expectedAuthorization.isEmpty() || !sameSecret(head.authorization, m_expectedAuthorization)) {
        qCWarning(lcBackend) << "Refused a call without the gateway token before reading its body";
        refuse(socket, 401, "Unauthorized", "Invalid or missing gateway token.");
        return;
    }
    if (head.lengthUnreadable || head.chunked) {
        refuse(socket, 411, "Length Required", "The request must declare its length.");
        return;
    }
    if (head.contentLength.value_or(0)
        > std::min(m_maxBodyBytes, m_pathBodyLimits.value(head.target, m_maxBodyBytes))) {
        qCWarning(lcBackend) << "Refused a declared body of" << *head.contentLength << "bytes before reading it";
        refuse(socket, 413, "Payload Too Large", "The request is too large.");
        return;
    }

    disconnect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    socket->setReadBufferSize(0);
    addPendingConnection(socket);
    emit newConnection();
    // The head is already here, so no further readyRead may come for it:
    // the server is told that there is something to read.
    emit socket->readyRead();
}

} // namespace Nomly
