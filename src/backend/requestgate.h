#pragma once

#include <QByteArray>
#include <QHash>
#include <QTcpServer>

namespace Nomly {

// The same time for every wrong secret of a length, so that a caller cannot
// find the gateway token byte by byte.
bool sameSecret(const QByteArray &given, const QByteArray &expected);

// Listens for the backend and reads no more of a connection than its request
// head before deciding on it: a caller without the gateway token, or one that
// declares a body over the limit (or none at all, with a chunked body), is
// answered and cut off before its body is read, so that no unauthenticated
// or oversized upload ever sits in memory. Admitted connections are handed on
// as the server's pending connections, their bytes unread.
class RequestGate final : public QTcpServer
{
    Q_OBJECT

public:
    // `pathBodyLimits` holds smaller limits of single paths ("/functions/v1/
    // iwork-export"), which a request's target must match exactly.
    RequestGate(QByteArray gatewayToken,
                qint64 maxBodyBytes,
                QHash<QByteArray, qint64> pathBodyLimits,
                QObject *parent = nullptr);

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    // Decides on the connection once its head is in, and stops listening to
    // it: refused, or handed on.
    void decide(class QTcpSocket *socket);

    QByteArray m_expectedAuthorization;
    qint64 m_maxBodyBytes;
    QHash<QByteArray, qint64> m_pathBodyLimits;
};

} // namespace Nomly
