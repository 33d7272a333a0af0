#include "app/applaunch.h"

#include <QPointer>
#include <utility>

#include <QtConcurrent/QtConcurrentRun>
#include <qcoro/qcorofuture.h>

#include "ai/keycustody.h"
#include "ai/remoteconfigservice.h"
#include "app/appworkflows.h"
#include "app/bookmarkservice.h"
#include "app/networkservice.h"
#include "app/settingsviewmodel.h"
#include "history/database.h"
#include "platform/logcategories.h"

namespace Nomly {

namespace {

// The opened database as the worker thread hands it back: a future's result
// must be copyable.
using OpenedDatabase = Result<std::shared_ptr<Database>>;

SettingsViewModel::HasApiKey hasApiKeyFor(KeyCustody *keys)
{
    if (!keys)
        return {};
    return [keys](AIProvider provider) { return keys->has(provider); };
}

// Keys that older versions kept in the settings move to the secret store
// while the migrations run on the database's thread, which waits for it.
MigrationService::SaveApiKey saveApiKeyFor(KeyCustody *keys)
{
    if (!keys)
        return {};
    return [keys](AIProvider provider, const QString &key) -> Result<> {
        if (!QCoro::waitFor(keys->save(provider, key)))
            return Failure { QStringLiteral("the secret store refused the key for %1").arg(rawValue(provider)) };
        return {};
    };
}

// Runs on by itself once dropped; the service may go before it ends.
QCoro::Task<> fetchRemoteConfig(QPointer<RemoteConfigService> config)
{
    auto fetching = config->fetch();
    co_await fetching;
    if (!config)
        co_return;
    qCInfo(lcConfig).noquote() << "Remote Config Loaded:" << (config->isLoaded() ? "true" : "false");
    qCInfo(lcConfig).noquote() << "AI Model:" << config->config().aiModel;
}

} // namespace

const QString AppLauncher::InitializationErrorPrefix = QStringLiteral("Error initializing app: ");

AppLauncher::AppLauncher(AppServices services)
    : m_services(std::move(services))
{}

AppLauncher::~AppLauncher() = default;

void AppLauncher::openFiles(const QStringList &paths)
{
    route(paths, m_pendingOpenFiles, openFilesHandler, "opened");
}

void AppLauncher::quickRename(const QStringList &paths)
{
    route(paths, m_pendingQuickRenameFiles, quickRenameHandler, "quick rename");
}

// Kept until setup ends, then handed on; after a failed setup nobody can
// take them, which the log says.
void AppLauncher::route(const QStringList &paths,
                        QStringList &pending,
                        const std::function<void(const QStringList &)> &handler,
                        const char *purpose)
{
    switch (m_stage) {
    case Stage::BeforeSetup:
    case Stage::SettingUp:
        pending.append(paths);
        return;
    case Stage::Running:
        if (handler)
            handler(paths);
        else
            qCWarning(lcGeneral).noquote()
                << "No handler for" << purpose << "files; dropped" << paths.size() << "file(s)";
        return;
    case Stage::Failed:
        qCWarning(lcGeneral).noquote() << "Setup failed; dropped" << paths.size() << purpose << "file(s)";
        return;
    }
}

QCoro::Task<bool> AppLauncher::start()
{
    if (m_stage != Stage::BeforeSetup)
        co_return m_stage == Stage::Running;
    m_stage = Stage::SettingUp;

    // Opening may upgrade the schema of a large file: the main thread keeps
    // taking requests meanwhile.
    auto opening = QtConcurrent::run(
        [opener = m_services.databaseOpener, directory = m_services.dataDirectoryProvider()]() -> OpenedDatabase {
            auto opened = opener(directory);
            if (!opened)
                return opened.failure();
            return std::shared_ptr<Database>(std::move(opened).value());
        });
    OpenedDatabase opened = co_await opening;
    if (!opened) {
        fail(opened.error());
        co_return false;
    }

    KeyCustody *keys = m_services.keysProvider ? m_services.keysProvider() : nullptr;
    std::shared_ptr<Database> database = std::move(opened).value();
    auto viewModel = std::make_unique<SettingsViewModel>(*database,
                                                         m_services.userDefaultsProvider(),
                                                         m_services.networkProvider(),
                                                         m_services.bookmarksProvider(),
                                                         hasApiKeyFor(keys),
                                                         saveApiKeyFor(keys));
    viewModel->createWorkflows(m_services.undoIgnoreProvider(), m_services.diagnosticsProvider());
    // The state is published only once it is whole.
    auto settingUp = viewModel->setUp();
    co_await settingUp;

    m_database = std::move(database);
    m_viewModel = std::move(viewModel);
    m_stage = Stage::Running;
    // Before any work is handed over: the workflows read whether the network
    // is there and which watched folders can be opened.
    m_services.networkProvider().start();
    m_services.bookmarksProvider().restoreBookmarks();
    handOverPendingFiles();
    qCInfo(lcGeneral).noquote() << "Application initialized successfully";
    // Last, and not waited for: the application works on the stored or
    // built-in values until the backend answers.
    if (RemoteConfigService *config = m_services.remoteConfigProvider ? m_services.remoteConfigProvider() : nullptr)
        fetchRemoteConfig(config);
    co_return true;
}

void AppLauncher::fail(const QString &description)
{
    m_failureDescription = description;
    m_stage = Stage::Failed;
    qCCritical(lcGeneral).noquote() << InitializationErrorPrefix + description;
    // Requests kept for a state that will never exist would only pin memory.
    m_pendingOpenFiles.clear();
    m_pendingQuickRenameFiles.clear();
}

void AppLauncher::handOverPendingFiles()
{
    // Taken out first, so a handler that sends more files, or a second
    // hand-over, never passes the same files twice.
    const QStringList opened = std::exchange(m_pendingOpenFiles, {});
    const QStringList forQuickRename = std::exchange(m_pendingQuickRenameFiles, {});
    if (!opened.isEmpty())
        openFiles(opened);
    if (!forQuickRename.isEmpty())
        quickRename(forQuickRename);
}

AppWorkflows *AppLauncher::workflows() const
{
    return m_viewModel ? m_viewModel->workflows() : nullptr;
}
} // namespace Nomly
