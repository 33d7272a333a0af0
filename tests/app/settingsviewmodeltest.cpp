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

#include "app/appworkflows.h"
#include "app/bookmarkservice.h"
#include "app/networkservice.h"
#include "app/settingsviewmodel.h"
#include "history/database.h"
#include "history/undoignoreservice.h"
#include "platform/canonicalpath.h"
#include "platform/diagnostics.h"
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

Preset makePreset(NamingCaseStyle style)
{
    Preset preset;
    preset.id = QUuid::createUuid();
    preset.name = u"Template"_s;
    preset.settings.namingCaseStyle = style;
    preset.createdAt = QDateTime::currentDateTimeUtc();
    return preset;
}

} // namespace

class SettingsViewModelTest : public QObject
{
    Q_OBJECT

    QTemporaryDir m_xdg;
    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_root;
    std::unique_ptr<Database> m_database;
    std::unique_ptr<UserDefaults> m_defaults;
    std::unique_ptr<UndoIgnoreService> m_undoIgnore;
    std::unique_ptr<NetworkService> m_network;
    std::unique_ptr<BookmarkService> m_bookmarks;
    std::unique_ptr<SettingsViewModel> m_viewModel;

    QString path(const QString &relative) const { return relative.isEmpty() ? QString() : m_root + u'/' + relative; }

    void createViewModel(SettingsViewModel::HasApiKey hasApiKey = {})
    {
        m_viewModel = std::make_unique<SettingsViewModel>(
            *m_database, *m_defaults, *m_network, *m_bookmarks, std::move(hasApiKey));
        QCoro::waitFor(m_viewModel->setUp());
    }

    void watch(const QStringList &relativeFolders)
    {
        Settings settings = m_viewModel->settings();
        settings.watchedFolders.clear();
        for (const QString &folder : relativeFolders)
            settings.watchedFolders.append(path(folder));
        m_viewModel->setSettings(settings);
    }

    // Watches a and a/b, and gives the folder a template of the given style.
    Preset configureFolder(const QString &folder, NamingCaseStyle style)
    {
        watch({ u"a"_s, u"a/b"_s });
        const Preset preset = makePreset(style);
        [&] { QVERIFY(QCoro::waitFor(m_viewModel->templates().createPreset(preset))); }();
        WatchedFolderConfig config;
        config.path = path(folder);
        config.presetId = preset.id;
        [&] { QVERIFY(QCoro::waitFor(m_viewModel->folders().saveFolderConfig(config))); }();
        return preset;
    }

private slots:

    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_xdg.filePath(u"config"_s)));
        qputenv("XDG_DATA_HOME", QFile::encodeName(m_xdg.filePath(u"data"_s)));
    }

    // Folders a, a/b, a/bc and other, a file in each, a link "alias" to a/b
    // and a link file in a/b pointing into other.
    void init()
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
        for (const QString &folder : { u"a/b/c"_s, u"a/bc"_s, u"other"_s })
            QVERIFY(QDir(m_root).mkpath(folder));
        for (const QString &file : { u"a/x.txt"_s, u"a/b/c/x.txt"_s, u"a/bc/x.txt"_s, u"other/x.txt"_s }) {
            QFile out(path(file));
            QVERIFY(out.open(QIODevice::WriteOnly) && out.write("text") == 4);
        }
        QVERIFY(QFile::link(path(u"a/b"_s), path(u"alias"_s)));
        QVERIFY(QFile::link(path(u"other/x.txt"_s), path(u"a/b/link.txt"_s)));
        createViewModel();
    }

    void cleanup()
    {
        m_viewModel.reset();
        m_bookmarks.reset();
        m_network.reset();
        m_undoIgnore.reset();
        m_defaults.reset();
        m_database.reset();
        m_dir.reset();
    }

    void secondCreationAddsNothing()
    {
        // An older launch left a watched folder reached through a link, twice,
        // and flags that disagree with the secret store.
        Settings stored = m_viewModel->settings();
        stored.watchedFolders = { path(u"alias"_s), path(u"a/b"_s) };
        stored.hasGeminiApiKey = true;
        QVERIFY(m_database->saveSettings(stored).ok());
        m_defaults->setValue(SettingsStore::HasCompletedOnboardingKey, true);

        createViewModel([](AIProvider provider) -> QCoro::Task<bool> { co_return provider == AIProvider::Groq; });

        QVERIFY(!m_viewModel->consent().isFirstLaunch());
        QCOMPARE(m_database->loadPresets().value().size(), 11);
        QVERIFY(m_viewModel->consent().isOnboardingComplete());
        const Settings reloaded = m_database->loadSettings().value().value();
        QCOMPARE(reloaded.watchedFolders, QStringList { path(u"a/b"_s) });
        QVERIFY(!reloaded.hasGeminiApiKey);
        QVERIFY(reloaded.hasGroqApiKey);
        QCOMPARE(m_viewModel->settings(), reloaded);
    }

    // One demo template that cannot be stored does not stop the others, and
    // the profile still counts as seeded: a later launch adds nothing.
    void partialSeedingStillMarksSeeded()
    {
        m_viewModel.reset();
        QVERIFY(execute(m_database->filePath(), R"(
            DELETE FROM presets;
            CREATE TRIGGER refuse_music BEFORE INSERT ON presets WHEN NEW.name = 'Music Tracks'
            BEGIN SELECT RAISE(ABORT, 'disk full'); END;)"));
        m_defaults->remove(u"hasSeededBundledPresets"_s);

        createViewModel();
        QCOMPARE(m_viewModel->templates().presets().size(), 10);
        QVERIFY(m_defaults->boolValue(u"hasSeededBundledPresets"_s));

        m_viewModel.reset();
        QVERIFY(execute(m_database->filePath(), "DROP TRIGGER refuse_music;"));
        createViewModel();
        QCOMPARE(m_viewModel->templates().presets().size(), 10);
    }

    void watchedFolderFor_data()
    {
        QTest::addColumn<QStringList>("folders");
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("expected");

        QTest::newRow("nested-wins-whatever-the-order")
            << QStringList { u"a/b"_s, u"a"_s } << u"a/b/c/x.txt"_s << u"a/b"_s;
        QTest::newRow("name-prefix-is-not-nesting") << QStringList { u"a"_s, u"a/b"_s } << u"a/bc/x.txt"_s << u"a"_s;
        QTest::newRow("outside-all-folders") << QStringList { u"a"_s } << u"other/x.txt"_s << QString();
        QTest::newRow("linked-file-keeps-its-name")
            << QStringList { u"a/b"_s, u"other"_s } << u"a/b/link.txt"_s << u"a/b"_s;
        QTest::newRow("file-reached-through-linked-folder")
            << QStringList { u"a"_s, u"a/b"_s } << u"alias/c/x.txt"_s << u"a/b"_s;
        QTest::newRow("watched-through-link") << QStringList { u"alias"_s } << u"a/b/c/x.txt"_s << u"a/b"_s;
        QTest::newRow("the-folder-itself-is-not-inside") << QStringList { u"a/b"_s } << u"a/b"_s << QString();
    }

    void watchedFolderFor()
    {
        QFETCH(QStringList, folders);
        QFETCH(QString, file);
        QFETCH(QString, expected);

        watch(folders);
        QCOMPARE(m_viewModel->folders().watchedFolder(path(file)).value_or(QString()), path(expected));
    }

    void deletePresetInUse()
    {
        configureFolder(u"a/bc"_s, NamingCaseStyle::Upper);
        const Preset doomed = configureFolder(u"a/b"_s, NamingCaseStyle::Kebab);
        watch({ u"a"_s, u"a/b"_s, u"a/bc"_s });
        m_viewModel->templates().setBatchPresetId(doomed.id);

        QVERIFY(QCoro::waitFor(m_viewModel->templates().deletePreset(doomed.id)));

        QCOMPARE(m_viewModel->folders().folderConfigs().keys(), QStringList { path(u"a/bc"_s) });
        QCOMPARE(m_database->loadFolderConfigs().value().keys(), QStringList { path(u"a/bc"_s) });
        QCOMPARE(m_viewModel->templates().batchPresetId(), QUuid());
        QCOMPARE(m_viewModel->effectiveAnalysisForFile(path(u"a/b/c/x.txt"_s)), m_viewModel->effectiveAnalysisGlobal());
        QCOMPARE(m_viewModel->effectiveAnalysisForFile(path(u"a/bc/x.txt"_s)).namingCaseStyle, NamingCaseStyle::Upper);
    }

    void failedSaveKeepsValue()
    {
        QVERIFY(QCoro::waitFor(m_viewModel->saveSettings()));
        // Any write to the settings row fails, as on a full or read-only disk.
        QVERIFY(execute(m_database->filePath(), R"(
            CREATE TRIGGER refuse_insert BEFORE INSERT ON settings BEGIN SELECT RAISE(ABORT, 'disk full'); END;
            CREATE TRIGGER refuse_update BEFORE UPDATE ON settings BEGIN SELECT RAISE(ABORT, 'disk full'); END;)"));
        Settings changed = m_viewModel->settings();
        changed.monitorFilePrefix = u"scan-"_s;
        m_viewModel->setSettings(changed);

        QVERIFY(!QCoro::waitFor(m_viewModel->saveSettings()));
        QCOMPARE(m_viewModel->settings(), changed);
        QCOMPARE(m_database->loadSettings().value().value().monitorFilePrefix, QString());
    }

    void processAnalyzedFileBySource_data()
    {
        QTest::addColumn<ProcessedFileSource>("source");
        QTest::addColumn<QString>("expectedName");

        QTest::newRow("watcher-uses-folder-template") << ProcessedFileSource::Watcher << u"quarterly-report.txt"_s;
        QTest::newRow("hotkey-uses-global") << ProcessedFileSource::Hotkey << u"Quarterly Report.txt"_s;
        QTest::newRow("batch-uses-batch-template") << ProcessedFileSource::Batch << u"QUARTERLY REPORT.txt"_s;
    }

    void processAnalyzedFileBySource()
    {
        QFETCH(ProcessedFileSource, source);
        QFETCH(QString, expectedName);

        m_viewModel->templates().setBatchPresetId(configureFolder(u"other"_s, NamingCaseStyle::Upper).id);
        configureFolder(u"a/b"_s, NamingCaseStyle::Kebab);
        ImageAnalysis analysis;
        analysis.title = u"Quarterly Report"_s;
        Diagnostics diagnostics { QString() };
        AppWorkflows workflows(*m_viewModel, *m_database, *m_undoIgnore, *m_defaults, diagnostics);
        const FileProcessingResult result = QCoro::waitFor(
            workflows.processAnalyzedFile(path(u"a/b/c/x.txt"_s), analysis, std::nullopt, source, u"gemini"_s));

        QVERIFY2(result.success, qPrintable(result.error.value_or(QString())));
        QCOMPARE(result.newName.value_or(QString()), expectedName);
        QVERIFY(QFile::exists(path(u"a/b/c/"_s + expectedName)));
        QCOMPARE(workflows.activity().activityFiles().size(), 1);
    }

    void watchedFolderAddAndRemove()
    {
        QVERIFY(QCoro::waitFor(m_viewModel->folders().addWatchedFolder(path(u"a/b"_s))));
        QVERIFY(QCoro::waitFor(m_viewModel->folders().addWatchedFolder(path(u"alias"_s))));
        QCOMPARE(m_database->loadSettings().value().value().watchedFolders, QStringList { path(u"a/b"_s) });

        QVERIFY(m_bookmarks->saveBookmark(path(u"a/b"_s)));
        WatchedFolderConfig config;
        config.path = path(u"a/b"_s);
        config.legacySettings.outputLanguage = u"de"_s;
        QVERIFY(QCoro::waitFor(m_viewModel->folders().saveFolderConfig(config)));
        QSignalSpy reconfigured(m_viewModel.get(), &SettingsViewModel::watcherReconfigurationRequested);

        QVERIFY(QCoro::waitFor(m_viewModel->folders().removeWatchedFolder(path(u"alias"_s))));

        QVERIFY(m_viewModel->settings().watchedFolders.isEmpty());
        QVERIFY(m_database->loadSettings().value().value().watchedFolders.isEmpty());
        QVERIFY(m_database->loadFolderConfigs().value().isEmpty());
        QVERIFY(!m_defaults->value(BookmarkService::BookmarksKey).toMap().contains(path(u"a/b"_s)));
        QCOMPARE(reconfigured.size(), 1);
    }
};

QTEST_GUILESS_MAIN(SettingsViewModelTest)
#include "settingsviewmodeltest.moc"
