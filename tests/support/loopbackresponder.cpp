#include "loopbackresponder.h"

#include <QTcpSocket>

namespace Nomly::Test {

LoopbackResponder::LoopbackResponder(int answerStatus, const QByteArray &answer)
    : status(answerStatus)
    , reply(answer)
{
    connect(&m_server, &QTcpServer::newConnection, this, [this] {
        while (QTcpSocket *socket = m_server.nextPendingConnection())
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] { serve(socket); });
    });
    m_server.listen(QHostAddress::LocalHost);
}

QString LoopbackResponder::baseUrl() const
{
    return QStringLiteral("http://127.0.0.1:%1").arg(m_server.serverPort());
}

void LoopbackResponder::serve(QTcpSocket *socket)
{
    QByteArray &buffer = m_buffers[socket];
    buffer += socket->readAll();
    const qsizetype end = buffer.indexOf("\r\n\r\n");
    if (end < 0)
        return;
    const QByteArray head = buffer.left(end).toLower();
    const qsizetype at = head.indexOf("content-length:");
    const qsizetype length = at < 0 ? 0 : head.mid(at + 15).split('\r').value(0).trimmed().toLongLong();
    if (buffer.size() - end - 4 < length)
        return;
    const QList<QByteArray> requestLine = buffer.left(buffer.indexOf("\r\n")).split(' ');
    received.append({ requestLine.value(0), requestLine.value(1), head, buffer.mid(end + 4, length) });
    m_buffers.remove(socket);
    socket->write("HTTP/1.1 " + QByteArray::number(status) + " S\r\nContent-Length: " + QByteArray::number(reply.size())
                  + "\r\nConnection: close\r\n\r\n" + reply);
    socket->disconnectFromHost();
}

} // namespace Nomly::Test
