#pragma once

#include <QString>
#include <functional>
#include <memory>

#include "platform/result.h"

namespace Nomly {

class BookmarkService;
class Database;
class DeviceService;
class Diagnostics;
class KeyCustody;
class NetworkService;
class RemoteConfigService;
class UndoIgnoreService;
class UserDefaults;

// The shared services of the application, each reached through a function
// rather than a global, so that a test can replace one of them: a profile in a
// temporary folder, a database file it has spoiled. Copies share the same
// services. Providers are called on the main thread; the services they return
// say themselves which threads may use them.
struct AppServices
{
    std::function<NetworkService &()> networkProvider;
    std::function<BookmarkService &()> bookmarksProvider;
    std::function<DeviceService &()> deviceProvider;
    std::function<UserDefaults &()> userDefaultsProvider;
    std::function<UndoIgnoreService &()> undoIgnoreProvider;
    // Where failures, warnings and product events of this run are recorded.
    std::function<Diagnostics &()> diagnosticsProvider;
    // The user's provider keys; null leaves the key flags as stored.
    std::function<KeyCustody *()> keysProvider;
    // The operator's tunable values; null leaves the built-in ones and
    // fetches nothing. Called on the main thread only.
    std::function<RemoteConfigService *()> remoteConfigProvider;
    // The folder holding the profile's database.
    std::function<QString()> dataDirectoryProvider;
    // Opens, creating or upgrading, the database in a folder. Runs off the
    // main thread.
    std::function<Result<std::unique_ptr<Database>>(const QString &directory)> databaseOpener;
};

// The services of this process: the user's data folder, defaults file and
// secret stores. Each service is built on its first use and then kept, by a
// holder that the returned value and its copies share, so it lives as long as
// the last copy: keep one for the whole run of the application, and drop it on
// the main thread.
AppServices defaultAppServices();

} // namespace Nomly
