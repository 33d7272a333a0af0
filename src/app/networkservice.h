#pragma once

#include <QNetworkInformation>
#include <QObject>

namespace Nomly {

// Whether the machine can reach a network, for pausing work that needs one.
// Counts as connected until the system says otherwise, and stays so where
// the system offers no way to tell: a wrong "offline" would stop work for
// good, a wrong "online" only lets a request fail.
class NetworkService final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isConnected READ isConnected NOTIFY isConnectedChanged)

public:
    explicit NetworkService(QObject *parent = nullptr);

    bool isConnected() const { return m_isConnected; }

    // Begins following the system's reachability reports. Changes arrive on
    // this object's thread, so observers run there.
    void start();

signals:
    void isConnectedChanged(bool isConnected);

private:
    void updateReachability(QNetworkInformation::Reachability reachability);

    bool m_isConnected = true;
    bool m_started = false;
};

} // namespace Nomly
