#pragma once

#include <QString>
#include <optional>

#include <qcoro/qcorotask.h>

#include "ai/byoksyncerror.h"
#include "ai/byoksyncresponse.h"
#include "ai/ollamasyncresponse.h"
#include "platform/result.h"
#include "settings/aiprovider.h"

class QNetworkAccessManager;

namespace Nomly {

class DeviceService;
class HostedBackend;
class KeyCustody;
struct Settings;

// Tells the hosted backend which provider, key, model and mode the user has
// chosen. The backend checks a key before it is kept here, so a key it refuses
// never reaches the keyring. Failures carry a BYOKSyncError code.
class KeySync final
{
public:
    KeySync(QNetworkAccessManager &network, const HostedBackend &backend, DeviceService &device, KeyCustody &custody);
    KeySync(const KeySync &) = delete;
    KeySync &operator=(const KeySync &) = delete;

    // The general call; the four below are its uses. The user's own
    // OpenAI-compatible server is no business of the backend's: its key is
    // tried with the server at `serverUrl` and kept here, and the other
    // changes are answered here.
    QCoro::Task<Result<BYOKSyncResponse>> sync(AIProvider provider,
                                               QString apiKey,
                                               std::optional<QString> model,
                                               bool enabled,
                                               bool toggleOnly = false,
                                               bool modelOnly = false,
                                               bool transientOnly = false,
                                               QString serverUrl = {});
    QCoro::Task<Result<BYOKSyncResponse>> saveKey(AIProvider provider,
                                                  QString apiKey,
                                                  std::optional<QString> model,
                                                  QString serverUrl = {});
    QCoro::Task<Result<BYOKSyncResponse>> setKeyEnabled(AIProvider provider, bool enabled);
    QCoro::Task<Result<BYOKSyncResponse>> changeModel(AIProvider provider, QString model);
    QCoro::Task<Result<BYOKSyncResponse>> clearKey(AIProvider provider);

    // Offline AI mode on or off. A failure is logged; the caller keeps its choice.
    QCoro::Task<Result<OllamaSyncResponse>> syncOfflineMode(bool enabled);

private:
    QCoro::Task<Result<BYOKSyncResponse>> syncOwnServer(
        QString apiKey, std::optional<QString> model, bool enabled, bool modelOnly, QString serverUrl);

    QNetworkAccessManager &m_network;
    const HostedBackend &m_backend;
    DeviceService &m_device;
    KeyCustody &m_custody;
};

// Takes over what a good reply confirms: the provider, whether the user's key
// is in use and, when the reply names it (even as null), the model of the
// provider.
void applyKeySyncReply(const BYOKSyncResponse &reply, AIProvider requested, Settings &settings);

} // namespace Nomly
