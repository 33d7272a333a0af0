#include "app/networkservice.h"

#include "platform/logcategories.h"

namespace Nomly {

NetworkService::NetworkService(QObject *parent)
    : QObject(parent)
{}

void NetworkService::start()
{
    if (m_started)
        return;
    m_started = true;

    // By feature rather than the platform's default, so that a machine
    // without NetworkManager still gets the GLib monitor.
    if (!QNetworkInformation::loadBackendByFeatures(QNetworkInformation::Feature::Reachability)) {
        qCInfo(lcNetwork) << "Network monitoring unavailable, treating the network as online";
        return;
    }
    QNetworkInformation *information = QNetworkInformation::instance();
    connect(information, &QNetworkInformation::reachabilityChanged, this, &NetworkService::updateReachability);
    qCInfo(lcNetwork) << "Network monitoring started";
    updateReachability(information->reachability());
}

void NetworkService::updateReachability(QNetworkInformation::Reachability reachability)
{
    // A local network alone still counts: the AI server may sit on it. Only
    // a definite "disconnected" turns the service offline.
    const bool connected = reachability != QNetworkInformation::Reachability::Disconnected;
    if (connected == m_isConnected)
        return;
    m_isConnected = connected;
    qCInfo(lcNetwork).noquote() << "Network status changed:" << (connected ? "online" : "offline");
    emit isConnectedChanged(connected);
}

} // namespace Nomly
