// The settings window over a started application: a real profile in a
// temporary home folder, its database, defaults and secret file.

#include <QApplication>
#include <QAreaSeries>
#include <QChart>
#include <QChartView>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QLineSeries>
#include <QListWidget>
#include <QPushButton>
#include <QStandardPaths>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeWidget>
#include <memory>

#include <qcoro/qcorotask.h>

#include "app/airoute.h"
#include "app/applaunch.h"
#include "app/appworkflows.h"
#include "app/settingsviewmodel.h"
#include "cliprocess.h"
#include "gui/aisetuptab.h"
#include "gui/generaltab.h"
#include "gui/monitortab.h"
#include "gui/patternblockeditor.h"
#include "gui/settingswindow.h"
#include "gui/statisticstab.h"
#include "gui/templateeditor.h"
#include "gui/templatestab.h"
#include "history/database.h"
#include "loopbackresponder.h"
#include "ollamapeer.h"
#include "platform/autostartentry.h"
#include "profileservices.h"
#include "providerpeer.h"
#include "settings/bundledpresets.h"

using namespace Qt::StringLiterals;
using namespace Nomly;
using Nomly::Test::ProfileServices;
using Nomly::Test::ProviderPeer;

namespace {

struct Alert
{
    QString title;
    QString message;
    QStringList buttons;
};

} // namespace

class SettingsWindowTest : public QObject
{
    Q_OBJECT

private slots:

    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        // Watched folders must lie inside the home folder.
        qputenv("HOME", QFile::encodeName(m_home.path()));
    }

    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>(m_home.filePath(u"profile-XXXXXX"_s));
        m_profile = std::make_unique<ProfileServices>(m_dir->path(), ProfileServices::Keys::InFile);
        m_launcher = std::make_unique<AppLauncher>(m_profile->services());
        auto starting = m_launcher->start();
        QVERIFY(QCoro::waitFor(std::move(starting)));
        // Keys are tried with a provider on loopback before they are kept.
        m_provider = std::make_unique<ProviderPeer>(ProviderPeer::Dialect::ChatCompletions);
        m_provider->answer(u"{}"_s);
        qputenv("NOMLY_OPENAI_BASE_URL", m_provider->baseUrl().toUtf8());
        qunsetenv("NOMLY_BACKEND_URL");
        auto route = AIRoute::open(m_profile->defaults, *m_profile->device, *m_profile->custody, true);
        QVERIFY2(route.ok(), qPrintable(route.error()));
        m_route = std::move(route).value();
        m_window = std::make_unique<SettingsWindow>(model(),
                                                    *m_launcher->workflows(),
                                                    m_profile->custody.get(),
                                                    [this](QString *) { return &m_route->keySync(); });
        m_alerts.clear();
        const auto record
            = [this](const QString &title, const QString &message, const QStringList &buttons) -> QCoro::Task<QString> {
            m_alerts.append({ title, message, buttons });
            co_return m_answer;
        };
        m_window->templatesTab()->setAlertPresenter(record);
        m_window->monitorTab()->setAlertPresenter(record);
        m_window->aiSetupTab()->setAlertPresenter(record);
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
    }

    void cleanup()
    {
        m_window.reset();
        m_route.reset();
        m_provider.reset();
        m_launcher.reset();
        m_profile.reset();
        m_dir.reset();
    }

    // The tabs in order, following the selected tab both ways.
    void tabsFollowSelection()
    {
        QCOMPARE(m_window->shownTabs(),
                 (QList<SettingsTab> { SettingsTab::AIRename,
                                       SettingsTab::Monitor,
                                       SettingsTab::Activity,
                                       SettingsTab::Statistics,
                                       SettingsTab::Templates,
                                       SettingsTab::General,
                                       SettingsTab::AISetup,
                                       SettingsTab::About }));
        m_window->selectTab(SettingsTab::Templates);
        QCOMPARE(m_window->tabs()->currentWidget(), m_window->templatesTab());
        m_window->tabs()->setCurrentWidget(m_window->aiSetupTab());
        QCOMPARE(m_window->selectedTab(), SettingsTab::AISetup);
        QVERIFY(m_window->close());
        QVERIFY(!m_window->isVisible());
    }

    void screenshotOfEachTab()
    {
        const QString folder = QCoreApplication::applicationDirPath() + u"/screenshots"_s;
        QVERIFY(QDir().mkpath(folder));
        for (int i = 0; i < m_window->tabs()->count(); ++i) {
            m_window->tabs()->setCurrentIndex(i);
            QCoreApplication::processEvents();
            const QString name = m_window->tabs()->tabText(i).toLower().replace(u' ', u'-');
            QVERIFY(m_window->grab().save(folder + u"/settings-"_s + name + u".png"_s));
        }
    }

    // Typing text and picking a variable in the block editor shows the
    // sample name at once, and saving keeps the pattern.
    void editedTemplatePreviewsName()
    {
        TemplatesTab &tab = *m_window->templatesTab();
        auto creating = tab.createTemplate();
        QCoro::waitFor(std::move(creating));
        TemplateEditor &editor = *tab.editor();
        editor.setClock([] { return QDateTime(QDate(2026, 11, 23), QTime(9, 30), Qt::UTC); });
        selectData(editor.findChild<QComboBox *>(u"caseStyle"_s), u"title"_s);
        selectData(editor.findChild<QComboBox *>(u"wordSeparator"_s), u"_"_s);
        auto *text = editor.findChild<QLineEdit *>(u"addText"_s);
        QTest::keyClicks(text, u"Invoice"_s);
        QTest::keyClick(text, Qt::Key_Return);
        selectData(editor.findChild<QComboBox *>(u"addVariable"_s), u"{vendor}"_s);

        auto *preview = editor.findChild<QLabel *>(u"preview"_s);
        QCOMPARE(preview->text(), u"Wireless_Headphones Invoice Sample_Vendor.pdf"_s);
        editor.findChild<QPushButton *>(u"saveTemplate"_s)->click();
        QTRY_COMPARE(presetPattern(tab.selectedId()), u"{Title_Name} Invoice {vendor}"_s);
    }

    // The global pattern and title style, changed by hand, are what the
    // command line renders next for the same title; start at login is an
    // autostart entry, and the appearance switches at once and back.
    void generalTabReachesEveryFace()
    {
        const QString cliRoot = m_dir->filePath(u"cli"_s);
        QVERIFY(QDir().mkpath(cliRoot + u"/data"_s));
        QVERIFY(QFile::link(m_profile->dataDirectory, cliRoot + u"/data/Nomly"_s));
        QFile notes(m_dir->filePath(u"notes.txt"_s));
        QVERIFY(notes.open(QIODevice::WriteOnly));
        notes.close();
        const auto preview = [&] {
            const Test::CliRun run
                = Test::runCli(QStringLiteral(NOMLY_BINARY),
                               { u"preview"_s, u"--title"_s, u"harbour lease agreement"_s, u"notes.txt"_s },
                               cliRoot,
                               m_dir->path());
            return QString(run.out.trimmed() + run.err.trimmed());
        };
        QCOMPARE(preview(), u"Harbour Lease Agreement.txt"_s);

        GeneralTab &tab = *m_window->generalTab();
        m_window->selectTab(SettingsTab::General);
        auto *text = tab.findChild<QLineEdit *>(u"addText"_s);
        QTest::keyClicks(text, u"Signed"_s);
        QTest::keyClick(text, Qt::Key_Return);
        selectData(tab.findChild<QComboBox *>(u"caseStyle"_s), u"kebab"_s);
        // The sample of the preview, with the block typed and the style chosen.
        QCOMPARE(tab.findChild<QLabel *>(u"preview"_s)->text(), u"wireless-headphones Signed.pdf"_s);
        // Saved on the database's thread; the command reads it when it is in.
        QTRY_COMPARE_WITH_TIMEOUT(preview(), u"harbour-lease-agreement Signed.txt"_s, 5000);

        auto *login = tab.findChild<QCheckBox *>(u"startAtLogin"_s);
        login->click();
        QVERIFY(AutostartEntry::isEnabled());
        QFile entry(AutostartEntry::filePath());
        QVERIFY(entry.open(QIODevice::ReadOnly));
        QVERIFY(entry.readAll().contains("--background"));
        QTRY_VERIFY(model().settings().autoStart);
        login->click();
        QVERIFY(!QFile::exists(AutostartEntry::filePath()));

        const QString desktopStyle = QApplication::style()->name();
        const QColor desktopWindow = QApplication::palette().color(QPalette::Window);
        auto *appearance = tab.findChild<QComboBox *>(u"appearance"_s);
        selectData(appearance, u"dark"_s);
        QCOMPARE(QApplication::style()->name(), u"fusion"_s);
        QVERIFY(QApplication::palette().color(QPalette::Window).lightness() < 100);
        selectData(appearance, u"auto"_s);
        QCOMPARE(QApplication::style()->name(), desktopStyle);
        QCOMPARE(QApplication::palette().color(QPalette::Window), desktopWindow);
        QTRY_COMPARE(model().settings().appearance, AppearanceMode::Auto);
    }

    // Choosing another template keeps the edits of the one left.
    void switchingTemplatesKeepsEdits()
    {
        TemplatesTab &tab = *m_window->templatesTab();
        tab.list()->setCurrentRow(0);
        const QUuid edited = tab.selectedId();
        for (int row = 0; row < tab.list()->count(); ++row) {
            tab.list()->setCurrentRow(row);
            QVERIFY2(!tab.editor()->hasChanges(), qPrintable(tab.list()->currentItem()->text()));
        }
        tab.list()->setCurrentRow(0);
        auto *name = tab.editor()->findChild<QLineEdit *>(u"templateName"_s);
        name->selectAll();
        QTest::keyClicks(name, u"Renamed Template"_s);
        QVERIFY(tab.editor()->hasChanges());
        tab.list()->setCurrentRow(1);
        QTRY_COMPARE(presetName(edited), u"Renamed Template"_s);
        QVERIFY(!tab.editor()->hasChanges());
    }

    void deleteAsksAndRestoreBringsBack_data()
    {
        QTest::addColumn<QString>("answer");
        QTest::addColumn<bool>("deleted");
        QTest::newRow("dismissed") << QString() << false;
        QTest::newRow("confirmed") << TemplatesTab::DeleteButton << true;
    }

    void deleteAsksAndRestoreBringsBack()
    {
        QFETCH(QString, answer);
        QFETCH(bool, deleted);
        TemplatesTab &tab = *m_window->templatesTab();
        const qsizetype before = model().templates().presets().size();
        QVERIFY(before > 0);
        tab.list()->setCurrentRow(0);
        const QUuid id = tab.selectedId();
        m_answer = answer;
        m_window->findChild<QPushButton *>(u"deleteTemplate"_s)->click();
        QTRY_COMPARE(m_alerts.size(), 1);
        QCOMPARE(m_alerts.first().buttons, QStringList { TemplatesTab::DeleteButton });
        QTRY_COMPARE(model().templates().presets().size(), deleted ? before - 1 : before);
        QCOMPARE(tab.list()->count(), model().templates().presets().size());
        m_window->findChild<QPushButton *>(u"restoreTemplates"_s)->click();
        QTRY_COMPARE(model().templates().presets().size(), before);
        QVERIFY(!presetPattern(id).isNull() || deleted);
    }

    void monitorRefusesForbiddenFolder_data()
    {
        QTest::addColumn<QString>("picked");
        QTest::addColumn<bool>("added");
        QTest::newRow("root") << u"/"_s << false;
        QTest::newRow("home itself") << QDir::homePath() << false;
        QTest::newRow("inside home") << u"Documents"_s << true;
    }

    void monitorRefusesForbiddenFolder()
    {
        QFETCH(QString, picked);
        QFETCH(bool, added);
        const QString folder = QDir::isAbsolutePath(picked) ? picked : m_dir->filePath(picked);
        QVERIFY(QDir().mkpath(folder));
        MonitorTab &tab = *m_window->monitorTab();
        tab.setFolderPicker([folder](QWidget *) { return folder; });
        m_window->findChild<QPushButton *>(u"addFolder"_s)->click();
        QTRY_COMPARE(tab.folders()->topLevelItemCount(), added ? 1 : 0);
        QTRY_COMPARE(m_alerts.size(), added ? 0 : 1);
        if (!added) {
            QCOMPARE(m_alerts.first().title, u"Folder Not Allowed"_s);
            QVERIFY(model().settings().watchedFolders.isEmpty());
            return;
        }
        // A template chosen on the row becomes the folder's configuration.
        auto *choice = qobject_cast<QComboBox *>(tab.folders()->itemWidget(tab.folders()->topLevelItem(0), 1));
        QVERIFY(choice);
        const QUuid chosen = choice->itemData(1).toUuid();
        choice->setCurrentIndex(1);
        emit choice->activated(1);
        const QString watched = model().settings().watchedFolders.value(0);
        QTRY_COMPARE(model().folders().folderConfigs().value(watched).presetId.value_or(QUuid()), chosen);
    }

    // A key goes into the secret file and only its flag into the settings;
    // removing it clears both.
    void keyKeptInCustody()
    {
        AISetupTab &tab = *m_window->aiSetupTab();
        selectData(tab.findChild<QComboBox *>(u"provider"_s), u"OpenAI"_s, Qt::DisplayRole);
        QTRY_COMPARE(model().settings().aiProvider, AIProvider::OpenAI);
        auto *key = tab.findChild<QLineEdit *>(u"apiKey"_s);
        QTest::keyClicks(key, u"sk-test-123"_s);
        tab.findChild<QPushButton *>(u"saveKey"_s)->click();
        QTRY_VERIFY(model().settings().hasOpenaiApiKey);
        QTRY_VERIFY(key->text().isEmpty());
        // The stored key is tried at once and the provider's models listed;
        // this provider lists none that can analyse.
        QTRY_COMPARE(tab.findChild<QLabel *>(u"connectionStatus"_s)->text(),
                     u"No compatible analysis models returned by provider"_s);
        auto loading = m_profile->custody->load(AIProvider::OpenAI);
        QCOMPARE(QCoro::waitFor(std::move(loading)), std::optional<QString>(u"sk-test-123"_s));
        // A model choice goes to the backend, which takes it.
        selectData(tab.findChild<QComboBox *>(u"byokModel"_s), u"Default"_s, Qt::DisplayRole);
        QTRY_COMPARE(tab.findChild<QLabel *>(u"connectionStatus"_s)->text(), u"Connection OK"_s);

        // Clearing asks first; cancelled, the key stays.
        m_answer.clear();
        tab.findChild<QPushButton *>(u"removeKey"_s)->click();
        QTRY_COMPARE(m_alerts.size(), 1);
        QCOMPARE(m_alerts.first().title, u"Clear API Key?"_s);
        QVERIFY(model().settings().hasOpenaiApiKey);
        m_answer = u"Clear"_s;
        tab.findChild<QPushButton *>(u"removeKey"_s)->click();
        QTRY_VERIFY(!model().settings().hasOpenaiApiKey);
        auto checking = m_profile->custody->has(AIProvider::OpenAI);
        QVERIFY(!QCoro::waitFor(std::move(checking)));
    }

    // The user's own server is tried at the address typed, without a key,
    // and lists its models; once it says it is asked too often, checks
    // wait and say how long.
    void ownServerAndRateLimit()
    {
        AISetupTab &tab = *m_window->aiSetupTab();
        Test::LoopbackResponder server(
            200, R"({"object":"list","data":[{"id":"qwen2.5-vl-7b"},{"id":"nomic-embed-text-v1.5"}]})");
        selectData(tab.findChild<QComboBox *>(u"provider"_s), u"OpenAI-compatible server"_s, Qt::DisplayRole);
        QTRY_COMPARE(model().settings().aiProvider, AIProvider::OpenAICompatible);
        auto *address = tab.findChild<QLineEdit *>(u"serverUrl"_s);
        QVERIFY(address->isVisibleTo(&tab));
        address->setText(server.baseUrl() + u"/v1"_s);
        emit address->editingFinished();
        auto *picker = tab.findChild<QComboBox *>(u"byokModel"_s);
        QTRY_COMPARE(picker->count(), 2);
        QCOMPARE(picker->itemData(1).toString(), u"qwen2.5-vl-7b"_s);
        QCOMPARE(tab.findChild<QLabel *>(u"connectionStatus"_s)->text(), u"Connection OK"_s);
        QCOMPARE(model().settings().ownProvider(), std::optional(AIProvider::OpenAICompatible));
        QVERIFY(!server.received.first().head.contains("authorization"));

        server.status = 429;
        tab.findChild<QPushButton *>(u"testKey"_s)->click();
        QTRY_VERIFY2(
            tab.findChild<QLabel *>(u"connectionStatus"_s)->text().startsWith(u"Too many Cloud AI key checks"_s),
            qPrintable(tab.findChild<QLabel *>(u"connectionStatus"_s)->text()));
        const qsizetype asked = server.received.size();
        tab.findChild<QPushButton *>(u"testKey"_s)->click();
        QTest::qWait(100);
        QCOMPARE(server.received.size(), asked);
    }

    // The tab shows what the rename events hold, and a chart with one bar
    // a day of the chosen period.
    void statisticsShowTheEvents()
    {
        Database &database = *m_launcher->database();
        const QString now = QDateTime::currentDateTimeUtc().toString(Qt::ISODate);
        for (const QString &name : { u"a.pdf"_s, u"b.PDF"_s, u"c.txt"_s }) {
            ProcessedFile file;
            file.originalPath = m_home.filePath(name);
            file.newPath = m_home.filePath(u"named-"_s + name);
            file.originalName = name;
            file.newName = u"named-"_s + name;
            file.processedAt = now;
            file.source = name == u"c.txt" ? ProcessedFileSource::Watcher : ProcessedFileSource::Batch;
            QVERIFY(database.insertProcessedFile(file));
        }
        m_window->selectTab(SettingsTab::Statistics);
        StatisticsTab &tab = *m_window->statisticsTab();
        QTRY_COMPARE(tab.findChild<QLabel *>(u"filesRenamed"_s)->text(), u"3"_s);
        QCOMPARE(tab.findChild<QLabel *>(u"fromMonitor"_s)->text(), u"1"_s);
        QCOMPARE(tab.findChild<QLabel *>(u"monitorShare"_s)->text(), u"33% of all renames"_s);
        QCOMPARE(tab.findChild<QLabel *>(u"activeStreak"_s)->text(), u"1 day"_s);
        QCOMPARE(tab.findChild<QLabel *>(u"timeSaved"_s)->text(), u"30 sec"_s);
        QCOMPARE(tab.findChild<QLabel *>(u"topExtensions"_s)->text(), u".pdf: 2\n.txt: 1"_s);
        const auto days = [&tab] {
            QChart *chart = tab.findChild<QChartView *>(u"activityChart"_s)->chart();
            auto *area = qobject_cast<QAreaSeries *>(chart->series().value(0));
            return area ? area->upperSeries() : nullptr;
        };
        QVERIFY(days());
        QCOMPARE(days()->count(), StatisticsViewModel::DefaultWindowDays);
        QCOMPARE(days()->at(StatisticsViewModel::DefaultWindowDays - 1).y(), 3.0);
        selectData(tab.findChild<QComboBox *>(u"period"_s), u"7 days"_s, Qt::DisplayRole);
        QTRY_COMPARE(days()->count(), 7);
    }

    // The local route is switched on only where Ollama answers with a
    // model; otherwise the tab says why and the route stays.
    void localRouteWaitsForOllama()
    {
        AISetupTab &tab = *m_window->aiSetupTab();
        const auto pointAt = [this](const QString &endpoint) {
            Settings settings = model().settings();
            settings.localAIEndpoint = endpoint;
            model().setSettings(settings);
        };
        pointAt(u"http://127.0.0.1:%1"_s.arg(Test::closedLoopbackPort()));
        auto *mode = tab.findChild<QComboBox *>(u"processingMode"_s);
        selectData(mode, u"Local (Ollama)"_s, Qt::DisplayRole);
        QTRY_VERIFY2(tab.findChild<QLabel *>(u"ollamaState"_s)->text().endsWith(u"before enabling Offline AI mode."_s),
                     qPrintable(tab.findChild<QLabel *>(u"ollamaState"_s)->text()));
        QCOMPARE(model().settings().aiProcessingMode, AIProcessingMode::Cloud);
        QCOMPARE(mode->currentText(), u"Cloud"_s);

        Test::OllamaPeer ollama;
        pointAt(ollama.endpoint());
        selectData(mode, u"Local (Ollama)"_s, Qt::DisplayRole);
        QTRY_COMPARE(model().settings().aiProcessingMode, AIProcessingMode::Local);
    }

private:
    SettingsViewModel &model() { return *m_launcher->viewModel(); }

    QString presetName(const QUuid &id)
    {
        for (const Preset &preset : model().templates().presets())
            if (preset.id == id)
                return preset.name;
        return {};
    }

    QString presetPattern(const QUuid &id)
    {
        for (const Preset &preset : model().templates().presets())
            if (preset.id == id)
                return preset.settings.namingPattern.value_or(u""_s);
        return {};
    }

    // Chooses as a user does: the item, then the activation signal the
    // widgets act on.
    static void selectData(QComboBox *box, const QString &value, int role = Qt::UserRole)
    {
        QVERIFY(box);
        const int index = box->findData(value, role);
        QVERIFY2(index >= 0, qPrintable(value));
        box->setCurrentIndex(index);
        emit box->activated(index);
    }

    QTemporaryDir m_home;
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<ProfileServices> m_profile;
    std::unique_ptr<AppLauncher> m_launcher;
    std::unique_ptr<ProviderPeer> m_provider;
    std::unique_ptr<AIRoute> m_route;
    std::unique_ptr<SettingsWindow> m_window;
    QString m_answer;
    QList<Alert> m_alerts;
};

QTEST_MAIN(SettingsWindowTest)
#include "settingswindowtest.moc"
