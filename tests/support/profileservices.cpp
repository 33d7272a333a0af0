#include "profileservices.h"

#include "history/database.h"

using namespace Qt::StringLiterals;

namespace Nomly::Test {

ProfileServices::ProfileServices(const QString &root, Keys keys)
    : dataDirectory(root + u"/data"_s)
    , defaults(root + u"/Nomly.conf"_s)
    , bookmarks(defaults)
{
    if (keys == Keys::InFile) {
        secrets = std::make_unique<FileSecretStore>(root + u"/secrets.json"_s);
        custody = std::make_unique<KeyCustody>(*secrets);
        device = std::make_unique<DeviceService>(defaults, *secrets);
    }
}

AppServices ProfileServices::services()
{
    AppServices services;
    services.networkProvider = [this]() -> NetworkService & { return network; };
    services.bookmarksProvider = [this]() -> BookmarkService & { return bookmarks; };
    services.userDefaultsProvider = [this]() -> UserDefaults & { return defaults; };
    services.undoIgnoreProvider = [this]() -> UndoIgnoreService & { return undoIgnore; };
    services.diagnosticsProvider = [this]() -> Diagnostics & { return diagnostics; };
    services.keysProvider = [this] { return custody.get(); };
    if (device)
        services.deviceProvider = [this]() -> DeviceService & { return *device; };
    services.remoteConfigProvider = [this] { return remoteConfig.get(); };
    services.dataDirectoryProvider = [this] { return dataDirectory; };
    services.databaseOpener = [](const QString &directory) { return Database::open(directory); };
    return services;
}

} // namespace Nomly::Test
