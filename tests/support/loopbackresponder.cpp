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

LoopbackResponder::LoopbackResponder(QList<Step> script)
    : LoopbackResponder(200, {})
{
    m_script = std::move(script);
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
    const Step step = m_script.isEmpty() ? Step { Step::Action::Answer, status, reply }
                                         : m_script.value(received.size() - 1, m_script.last());
    switch (step.action) {
    case Step::Action::Answer:
        socket->write("HTTP/1.1 " + QByteArray::number(step.status)
                      + " S\r\nContent-Type: application/json\r\nContent-Length: "
                      + QByteArray::number(step.body.size()) + "\r\nConnection: close\r\n\r\n" + step.body);
        socket->disconnectFromHost();
        break;
    case Step::Action::Drop:
        socket->write("HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: 4096\r\n\r\n{\"res");
        socket->flush();
        socket->abort();
        break;
    case Step::Action::Close:
        socket->abort();
        break;
    case Step::Action::Stall:
        break;
    }
}

quint16 closedLoopbackPort()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}

} // namespace Nomly::Test
