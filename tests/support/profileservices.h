#pragma once

#include <QString>
#include <memory>

#include "ai/deviceservice.h"
#include "ai/filesecretstore.h"
#include "ai/keycustody.h"
#include "ai/remoteconfigservice.h"
#include "app/appservices.h"
#include "app/bookmarkservice.h"
#include "app/networkservice.h"
#include "history/undoignoreservice.h"
#include "platform/diagnostics.h"
#include "platform/userdefaults.h"

namespace Nomly::Test {

// The services of one test's profile under `root`: its database folder, its
// defaults file and, when asked for, a secret file holding the provider keys.
// Kept for the whole test, as the application keeps its own.
struct ProfileServices
{
    enum class Keys
    {
        None,
        InFile,
    };

    explicit ProfileServices(const QString &root, Keys keys = Keys::None);

    AppServices services();

    QString dataDirectory;
    UserDefaults defaults;
    UndoIgnoreService undoIgnore;
    NetworkService network;
    BookmarkService bookmarks;
    Diagnostics diagnostics { dataDirectory };
    std::unique_ptr<FileSecretStore> secrets;
    std::unique_ptr<KeyCustody> custody;
    // The device identity, kept with the keys; null without them.
    std::unique_ptr<DeviceService> device;
    // Set by a test that wants the launch to fetch the remote configuration.
    std::unique_ptr<RemoteConfigService> remoteConfig;
};

} // namespace Nomly::Test
