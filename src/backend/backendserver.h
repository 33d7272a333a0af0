#pragma once

#include <QHostAddress>
#include <QObject>
#include <QString>
#include <memory>

#include "backend/backendconfig.h"

namespace Nomly {

// The hosted backend's four functions on one HTTP port: configuration, key
// sync, analysis through the chosen provider, and the export of iWork
// documents to PDF through LibreOffice where it is installed. Every call must
// carry the gateway token. Runs as the
// nomly-backend program or inside another Nomly process.
class BackendServer final : public QObject
{
    Q_OBJECT

public:
    explicit BackendServer(BackendConfig config, QObject *parent = nullptr);
    ~BackendServer() override;

    // Port 0 picks a free one. False, with errorString(), when the address
    // cannot be bound.
    bool listen(const QHostAddress &address, quint16 port = 0);
    quint16 serverPort() const;
    QString errorString() const;

private:
    struct Parts;
    std::unique_ptr<Parts> m_parts;
};

} // namespace Nomly
