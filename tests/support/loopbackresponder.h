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
// with one status and body, which a test may change between requests, or
// plays a script of steps, one per request, the last repeating.
class LoopbackResponder final : public QObject
{
public:
    struct Step
    {
        enum class Action
        {
            Answer,
            // Reads the request and loses the connection halfway through the
            // answer.
            Drop,
            // Reads the request and closes the connection before any answer,
            // as a server that goes away does.
            Close,
            // Reads the request and never answers.
            Stall,
        };

        Action action = Action::Answer;
        int status = 200;
        QByteArray body;
    };

    struct Request
    {
        QByteArray method;
        QByteArray path;
        QByteArray head; // the request line and headers, lower-cased
        QByteArray body;
    };

    LoopbackResponder(int status, const QByteArray &reply);
    explicit LoopbackResponder(QList<Step> script);

    QString baseUrl() const;

    int status;
    QByteArray reply;
    QList<Request> received;

private:
    QList<Step> m_script;
    void serve(QTcpSocket *socket);

    QTcpServer m_server;
    QHash<QTcpSocket *, QByteArray> m_buffers;
};

// A loopback port that nothing listens on any more: a connect there is
// refused at once.
quint16 closedLoopbackPort();

} // namespace Nomly::Test
