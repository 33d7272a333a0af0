// The central state over a real profile: an SQLite file, an INI defaults file
// and real folders, files and links.

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <sqlite3.h>

#include <qcoro/qcorotask.h>

#include "app/bookmarkservice.h"
#include "app/networkservice.h"
#include "app/settingsviewmodel.h"
#include "history/database.h"
#include "history/undoignoreservice.h"
#include "platform/canonicalpath.h"
#include "platform/userdefaults.h"

using namespace Qt::StringLiterals;
using namespace Nomly;

namespace {

bool execute(const QString &databaseFile, const QByteArray &sql)
{
    sqlite3 *connection = nullptr;
    const bool ok = sqlite3_open(QFile::encodeName(databaseFile).constData(), &connection) == SQLITE_OK
        && sqlite3_exec(connection, sql.constData(), nullptr, nullptr, nullptr) == SQLITE_OK;
    sqlite3_close(connection);
    return ok;
}

// Any write to the settings row fails, as on a full or read-only disk.
const QByteArray RefuseSettingsWrites = R"(
    CREATE TRIGGER refuse_insert BEFORE INSERT ON settings BEGIN SELECT RAISE(ABORT, 'disk full'); END;
    CREATE TRIGGER refuse_update BEFORE UPDATE ON settings BEGIN SELECT RAISE(ABORT, 'disk full'); END;
)";

Preset makePreset(const QString &name, NamingCaseStyle style)
{
    Preset preset;
    preset.id = QUuid::createUuid();
    preset.name = name;
    preset.settings.namingCaseStyle = style;
    preset.createdAt = QDateTime::currentDateTimeUtc();
    return preset;
}

} // namespace

class SettingsViewModelTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void freshProfileCreation();
    void secondCreationAddsNothing();
    void watchedFolderFor_data();
    void watchedFolderFor();
    void effectiveForFile_data();
    void effectiveForFile();
    void deletePresetInUse_data();
    void deletePresetInUse();
    void failedSaveKeepsValue();
    void folderConfigSaving_data();
    void folderConfigSaving();
    void restoreBundledPresets_data();
    void restoreBundledPresets();
    void processAnalyzedFileBySource_data();
    void processAnalyzedFileBySource();
    void watchedFolderAddAndRemove();
    void connectivityAndAlerts();

private:
    // The layout every row works in: folders a, a/b, a/bc and other, a file
    // in each, a link to a/b and a link file in a/b pointing into other.
    void makeFolders();
    QString path(const QString &relative) const;
    std::unique_ptr<SettingsViewModel> createViewModel(SettingsViewModel::HasApiKey hasApiKey = {});
    void watch(const QStringList &relativeFolders);

    QTemporaryDir m_xdg;
    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_root;
    std::unique_ptr<Database> m_database;
    std::unique_ptr<UserDefaults> m_defaults;
    std::unique_ptr<UndoIgnoreService> m_undoIgnore;
    std::unique_ptr<NetworkService> m_network;
    std::unique_ptr<BookmarkService> m_bookmarks;
    std::unique_ptr<SettingsViewModel> m_viewModel;
};

void SettingsViewModelTest::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_xdg.filePath(u"config"_s)));
    qputenv("XDG_DATA_HOME", QFile::encodeName(m_xdg.filePath(u"data"_s)));
}

void SettingsViewModelTest::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    m_root = canonicalPath(m_dir->path());
    auto database = Database::open(m_dir->filePath(u"profile"_s));
    QVERIFY(database.ok());
    m_database = std::move(database).value();
    m_defaults = std::make_unique<UserDefaults>(m_dir->filePath(u"Nomly.conf"_s));
    m_undoIgnore = std::make_unique<UndoIgnoreService>();
    m_network = std::make_unique<NetworkService>();
    m_bookmarks = std::make_unique<BookmarkService>(*m_defaults);
    makeFolders();
    m_viewModel = createViewModel();
    QCoro::waitFor(m_viewModel->setUp());
}

void SettingsViewModelTest::cleanup()
{
    m_viewModel.reset();
    m_bookmarks.reset();
    m_network.reset();
    m_undoIgnore.reset();
    m_defaults.reset();
    m_database.reset();
    m_dir.reset();
}

void SettingsViewModelTest::makeFolders()
{
    const QDir root(m_root);
    for (const QString &folder : { u"a/b/c"_s, u"a/bc"_s, u"other"_s })
        QVERIFY(root.mkpath(folder));
    for (const QString &file : { u"a/x.txt"_s, u"a/b/c/x.txt"_s, u"a/bc/x.txt"_s, u"other/x.txt"_s }) {
        QFile out(path(file));
        QVERIFY(out.open(QIODevice::WriteOnly));
        out.write("text");
    }
    QVERIFY(QFile::link(path(u"a/b"_s), path(u"alias"_s)));
    QVERIFY(QFile::link(path(u"other/x.txt"_s), path(u"a/b/link.txt"_s)));
}

QString SettingsViewModelTest::path(const QString &relative) const
{
    return relative.isEmpty() ? QString() : m_root + u'/' + relative;
}

std::unique_ptr<SettingsViewModel> SettingsViewModelTest::createViewModel(SettingsViewModel::HasApiKey hasApiKey)
{
    return std::make_unique<SettingsViewModel>(
        *m_database, *m_defaults, *m_undoIgnore, *m_network, *m_bookmarks, std::move(hasApiKey));
}

void SettingsViewModelTest::watch(const QStringList &relativeFolders)
{
    Settings settings = m_viewModel->settings();
    settings.watchedFolders.clear();
    for (const QString &folder : relativeFolders)
        settings.watchedFolders.append(path(folder));
    m_viewModel->setSettings(settings);
}

void SettingsViewModelTest::freshProfileCreation()
{
    QVERIFY(m_viewModel->isFirstLaunch());
    QVERIFY(m_defaults->boolValue(u"hasLaunchedNomlyBefore"_s));
    QVERIFY(m_defaults->boolValue(u"hasSeededBundledPresets"_s));
    QCOMPARE(m_viewModel->presets().size(), 11);
    QCOMPARE(m_database->loadPresets().value().size(), 11);
    QVERIFY(!m_viewModel->isOnboardingComplete());
    QVERIFY(!m_viewModel->aiDataConsentGranted());
    QVERIFY(m_viewModel->folderConfigs().isEmpty());
}

void SettingsViewModelTest::secondCreationAddsNothing()
{
    // An older launch left a watched folder reached through a link, twice,
    // and flags that disagree with the secret store.
    Settings stored = m_viewModel->settings();
    stored.watchedFolders = { path(u"alias"_s), path(u"a/b"_s) };
    stored.hasGeminiApiKey = true;
    QVERIFY(m_database->saveSettings(stored).ok());
    m_defaults->setValue(SettingsStore::HasCompletedOnboardingKey, true);
    m_defaults->setValue(SettingsViewModel::HasAgreedToAIDataProcessingKey, true);

    m_viewModel
        = createViewModel([](AIProvider provider) -> QCoro::Task<bool> { co_return provider == AIProvider::Groq; });
    QCoro::waitFor(m_viewModel->setUp());

    QVERIFY(!m_viewModel->isFirstLaunch());
    QCOMPARE(m_database->loadPresets().value().size(), 11);
    QVERIFY(m_viewModel->isOnboardingComplete());
    QVERIFY(m_viewModel->aiDataConsentGranted());
    const Settings reloaded = m_database->loadSettings().value().value();
    QCOMPARE(reloaded.watchedFolders, QStringList { path(u"a/b"_s) });
    QVERIFY(!reloaded.hasGeminiApiKey);
    QVERIFY(reloaded.hasGroqApiKey);
    QCOMPARE(m_viewModel->settings(), reloaded);
}

void SettingsViewModelTest::watchedFolderFor_data()
{
    QTest::addColumn<QStringList>("folders");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("expected");

    QTest::newRow("nested-folder-wins") << QStringList { u"a"_s, u"a/b"_s } << u"a/b/c/x.txt"_s << u"a/b"_s;
    QTest::newRow("nested-wins-whatever-the-order") << QStringList { u"a/b"_s, u"a"_s } << u"a/b/c/x.txt"_s << u"a/b"_s;
    QTest::newRow("name-prefix-is-not-nesting") << QStringList { u"a"_s, u"a/b"_s } << u"a/bc/x.txt"_s << u"a"_s;
    QTest::newRow("outside-all-folders") << QStringList { u"a"_s, u"a/b"_s } << u"other/x.txt"_s << QString();
    QTest::newRow("linked-file-keeps-its-name")
        << QStringList { u"a/b"_s, u"other"_s } << u"a/b/link.txt"_s << u"a/b"_s;
    QTest::newRow("file-reached-through-linked-folder")
        << QStringList { u"a"_s, u"a/b"_s } << u"alias/c/x.txt"_s << u"a/b"_s;
    QTest::newRow("watched-through-link") << QStringList { u"alias"_s } << u"a/b/c/x.txt"_s << u"a/b"_s;
    QTest::newRow("the-folder-itself-is-not-inside") << QStringList { u"a/b"_s } << u"a/b"_s << QString();
}

void SettingsViewModelTest::watchedFolderFor()
{
    QFETCH(QStringList, folders);
    QFETCH(QString, file);
    QFETCH(QString, expected);

    watch(folders);
    QCOMPARE(m_viewModel->watchedFolder(path(file)).value_or(QString()), path(expected));
}

void SettingsViewModelTest::effectiveForFile_data()
{
    QTest::addColumn<QString>("configFolder");
    QTest::addColumn<bool>("templateExists");
    QTest::addColumn<QString>("file");
    QTest::addColumn<int>("expectedStyle");

    const int kebab = int(NamingCaseStyle::Kebab);
    const int global = int(NamingCaseStyle::Title);
    QTest::newRow("folder-template-applies") << u"a/b"_s << true << u"a/b/c/x.txt"_s << kebab;
    QTest::newRow("inner-folder-without-config-is-global") << u"a"_s << true << u"a/b/c/x.txt"_s << global;
    QTest::newRow("sibling-takes-parent-template") << u"a"_s << true << u"a/bc/x.txt"_s << kebab;
    QTest::newRow("deleted-template-counts-as-none") << u"a/b"_s << false << u"a/b/c/x.txt"_s << global;
    QTest::newRow("outside-all-folders-is-global") << u"a"_s << true << u"other/x.txt"_s << global;
}

void SettingsViewModelTest::effectiveForFile()
{
    QFETCH(QString, configFolder);
    QFETCH(bool, templateExists);
    QFETCH(QString, file);
    QFETCH(int, expectedStyle);

    watch({ u"a"_s, u"a/b"_s });
    const Preset kebab = makePreset(u"Kebab"_s, NamingCaseStyle::Kebab);
    if (templateExists)
        QVERIFY(QCoro::waitFor(m_viewModel->createPreset(kebab)));
    WatchedFolderConfig config;
    config.path = path(configFolder);
    config.presetId = kebab.id;
    QVERIFY(QCoro::waitFor(m_viewModel->saveFolderConfig(config)));

    QCOMPARE(int(m_viewModel->effectiveAnalysisForFile(path(file)).namingCaseStyle), expectedStyle);
}

void SettingsViewModelTest::deletePresetInUse_data()
{
    QTest::addColumn<bool>("batchUsesDeleted");

    QTest::newRow("batch-used-the-template") << true;
    QTest::newRow("batch-used-another-template") << false;
}

void SettingsViewModelTest::deletePresetInUse()
{
    QFETCH(bool, batchUsesDeleted);

    watch({ u"a"_s, u"a/b"_s, u"a/bc"_s });
    const Preset doomed = makePreset(u"Doomed"_s, NamingCaseStyle::Kebab);
    const Preset kept = makePreset(u"Kept"_s, NamingCaseStyle::Upper);
    QVERIFY(QCoro::waitFor(m_viewModel->createPreset(doomed)));
    QVERIFY(QCoro::waitFor(m_viewModel->createPreset(kept)));
    for (const auto &[folder, preset] :
         { std::pair(u"a"_s, doomed.id), { u"a/b"_s, doomed.id }, { u"a/bc"_s, kept.id } }) {
        WatchedFolderConfig config;
        config.path = path(folder);
        config.presetId = preset;
        QVERIFY(QCoro::waitFor(m_viewModel->saveFolderConfig(config)));
    }
    const QUuid batch = batchUsesDeleted ? doomed.id : kept.id;
    m_viewModel->setBatchPresetId(batch);

    QVERIFY(QCoro::waitFor(m_viewModel->deletePreset(doomed.id)));

    QCOMPARE(m_viewModel->folderConfigs().keys(), QStringList { path(u"a/bc"_s) });
    QCOMPARE(m_database->loadFolderConfigs().value().keys(), QStringList { path(u"a/bc"_s) });
    QCOMPARE(m_viewModel->batchPresetId(), batchUsesDeleted ? QUuid() : kept.id);
    QCOMPARE(m_viewModel->effectiveAnalysisForFile(path(u"a/b/c/x.txt"_s)), m_viewModel->effectiveAnalysisGlobal());
    QCOMPARE(m_viewModel->effectiveAnalysisForFile(path(u"a/x.txt"_s)), m_viewModel->effectiveAnalysisGlobal());
}

void SettingsViewModelTest::failedSaveKeepsValue()
{
    QVERIFY(QCoro::waitFor(m_viewModel->saveSettings()));
    QVERIFY(execute(m_database->filePath(), RefuseSettingsWrites));
    Settings changed = m_viewModel->settings();
    changed.monitorFilePrefix = u"scan-"_s;
    m_viewModel->setSettings(changed);

    QVERIFY(!QCoro::waitFor(m_viewModel->saveSettings()));
    QCOMPARE(m_viewModel->settings(), changed);
    QCOMPARE(m_database->loadSettings().value().value().monitorFilePrefix, QString());

    QVERIFY(execute(m_database->filePath(), "DROP TRIGGER refuse_insert; DROP TRIGGER refuse_update;"));
    QVERIFY(QCoro::waitFor(m_viewModel->saveSettings()));
    QCOMPARE(m_database->loadSettings().value().value().monitorFilePrefix, u"scan-"_s);
}

void SettingsViewModelTest::folderConfigSaving_data()
{
    QTest::addColumn<bool>("withTemplate");
    QTest::addColumn<bool>("withOverride");
    QTest::addColumn<bool>("expectStored");

    QTest::newRow("empty-config-deleted") << false << false << false;
    QTest::newRow("template-only-stored") << true << false << true;
    QTest::newRow("override-only-stored") << false << true << true;
}

void SettingsViewModelTest::folderConfigSaving()
{
    QFETCH(bool, withTemplate);
    QFETCH(bool, withOverride);
    QFETCH(bool, expectStored);

    const Preset preset = makePreset(u"Any"_s, NamingCaseStyle::Snake);
    QVERIFY(QCoro::waitFor(m_viewModel->createPreset(preset)));
    WatchedFolderConfig config;
    config.path = path(u"a"_s);
    config.presetId = preset.id;
    QVERIFY(QCoro::waitFor(m_viewModel->saveFolderConfig(config)));

    if (!withTemplate)
        config.presetId.reset();
    if (withOverride)
        config.legacySettings.dateFormat = u"dd.MM.yyyy"_s;
    QVERIFY(QCoro::waitFor(m_viewModel->saveFolderConfig(config)));

    QCOMPARE(m_viewModel->folderConfigs().contains(config.path), expectStored);
    const auto stored = m_database->loadFolderConfigs().value();
    QCOMPARE(stored.contains(config.path), expectStored);
    if (expectStored)
        QCOMPARE(stored.value(config.path), config);
}

void SettingsViewModelTest::restoreBundledPresets_data()
{
    QTest::addColumn<int>("deleted");
    QTest::addColumn<int>("expectedRestored");
    QTest::addColumn<QStringList>("expectedNotices");

    QTest::newRow("nothing-missing") << 0 << 0 << QStringList { u"Demo templates are already present"_s };
    QTest::newRow("deleted-demos-come-back") << 2 << 2 << QStringList();
}

void SettingsViewModelTest::restoreBundledPresets()
{
    QFETCH(int, deleted);
    QFETCH(int, expectedRestored);
    QFETCH(QStringList, expectedNotices);

    for (int i = 0; i < deleted; ++i)
        QVERIFY(QCoro::waitFor(m_viewModel->deletePreset(m_viewModel->presets().constFirst().id)));
    QSignalSpy notices(m_viewModel.get(), &SettingsViewModel::noticeRequested);

    QCOMPARE(QCoro::waitFor(m_viewModel->restoreBundledPresets()), expectedRestored);

    QStringList shown;
    for (const QList<QVariant> &notice : notices)
        shown.append(notice.constFirst().toString());
    QCOMPARE(shown, expectedNotices);
    QCOMPARE(m_viewModel->presets().size(), 11);
    QCOMPARE(m_database->loadPresets().value().size(), 11);
}

void SettingsViewModelTest::processAnalyzedFileBySource_data()
{
    QTest::addColumn<ProcessedFileSource>("source");
    QTest::addColumn<QString>("expectedName");

    QTest::newRow("watcher-uses-folder-template") << ProcessedFileSource::Watcher << u"quarterly-report.txt"_s;
    QTest::newRow("finder-service-uses-global") << ProcessedFileSource::FinderService << u"Quarterly Report.txt"_s;
    QTest::newRow("hotkey-uses-global") << ProcessedFileSource::Hotkey << u"Quarterly Report.txt"_s;
    QTest::newRow("batch-uses-batch-template") << ProcessedFileSource::Batch << u"QUARTERLY REPORT.txt"_s;
}

void SettingsViewModelTest::processAnalyzedFileBySource()
{
    QFETCH(ProcessedFileSource, source);
    QFETCH(QString, expectedName);

    watch({ u"a"_s, u"a/b"_s });
    const Preset folderTemplate = makePreset(u"Folder"_s, NamingCaseStyle::Kebab);
    const Preset batchTemplate = makePreset(u"Batch"_s, NamingCaseStyle::Upper);
    QVERIFY(QCoro::waitFor(m_viewModel->createPreset(folderTemplate)));
    QVERIFY(QCoro::waitFor(m_viewModel->createPreset(batchTemplate)));
    WatchedFolderConfig config;
    config.path = path(u"a/b"_s);
    config.presetId = folderTemplate.id;
    QVERIFY(QCoro::waitFor(m_viewModel->saveFolderConfig(config)));
    m_viewModel->setBatchPresetId(batchTemplate.id);

    ImageAnalysis analysis;
    analysis.title = u"Quarterly Report"_s;
    const FileProcessingResult result = QCoro::waitFor(
        m_viewModel->processAnalyzedFile(path(u"a/b/c/x.txt"_s), analysis, std::nullopt, source, u"gemini"_s));

    QVERIFY2(result.success, qPrintable(result.error.value_or(QString())));
    QCOMPARE(result.newName.value_or(QString()), expectedName);
    QVERIFY(QFile::exists(path(u"a/b/c/"_s + expectedName)));
    QCOMPARE(m_viewModel->activity().activityFiles().size(), 1);
}

void SettingsViewModelTest::watchedFolderAddAndRemove()
{
    QVERIFY(QCoro::waitFor(m_viewModel->addWatchedFolder(path(u"a/b"_s))));
    QVERIFY(QCoro::waitFor(m_viewModel->addWatchedFolder(path(u"alias"_s))));
    QCOMPARE(m_viewModel->settings().watchedFolders, QStringList { path(u"a/b"_s) });
    QCOMPARE(m_database->loadSettings().value().value().watchedFolders, QStringList { path(u"a/b"_s) });

    QVERIFY(m_bookmarks->saveBookmark(path(u"a/b"_s)));
    WatchedFolderConfig config;
    config.path = path(u"a/b"_s);
    config.legacySettings.outputLanguage = u"de"_s;
    QVERIFY(QCoro::waitFor(m_viewModel->saveFolderConfig(config)));
    QSignalSpy reconfigured(m_viewModel.get(), &SettingsViewModel::watcherReconfigurationRequested);

    QVERIFY(QCoro::waitFor(m_viewModel->removeWatchedFolder(path(u"alias"_s))));

    QVERIFY(m_viewModel->settings().watchedFolders.isEmpty());
    QVERIFY(m_database->loadSettings().value().value().watchedFolders.isEmpty());
    QVERIFY(m_viewModel->folderConfigs().isEmpty());
    QVERIFY(m_database->loadFolderConfigs().value().isEmpty());
    QVERIFY(!m_defaults->value(BookmarkService::BookmarksKey).toMap().contains(path(u"a/b"_s)));
    QCOMPARE(reconfigured.size(), 1);
}

void SettingsViewModelTest::connectivityAndAlerts()
{
    QVERIFY(!m_viewModel->isOffline());
    QSignalSpy changes(m_viewModel.get(), &SettingsViewModel::connectivityChanged);
    emit m_network->isConnectedChanged(false);
    QVERIFY(m_viewModel->isOffline());
    emit m_network->isConnectedChanged(true);
    QVERIFY(!m_viewModel->isOffline());
    QCOMPARE(changes.size(), 2);

    m_viewModel->reportNoSupportedFiles();
    QVERIFY(m_viewModel->showUnsupportedFilesAlert());
    QVERIFY(m_viewModel->unsupportedFilesAlertMessage().startsWith(
        u"We couldn't find supported files in your selection. Try files or folders containing supported formats like "_s));
    QCOMPARE(SettingsViewModel::unsupportedFilesAlertTitle(), u"No supported files found"_s);
}

QTEST_GUILESS_MAIN(SettingsViewModelTest)
#include "settingsviewmodeltest.moc"
