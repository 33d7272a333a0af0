#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QObject>
#include <QString>
#include <QTcpServer>

class QTcpSocket;

namespace Nomly::Test {

// A minimal HTTP/1.1 server on loopback: records each request and answers it
// with one status and body, which a test may change between requests.
class LoopbackResponder final : public QObject
{
public:
    struct Request
    {
        QByteArray method;
        QByteArray path;
        QByteArray head; // the request line and headers, lower-cased
        QByteArray body;
    };

    LoopbackResponder(int status, const QByteArray &reply);

    QString baseUrl() const;

    int status;
    QByteArray reply;
    QList<Request> received;

private:
    void serve(QTcpSocket *socket);

    QTcpServer m_server;
    QHash<QTcpSocket *, QByteArray> m_buffers;
};

} // namespace Nomly::Test
