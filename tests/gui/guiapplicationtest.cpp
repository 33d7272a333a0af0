// The desktop face coming up over a real profile: which window a profile
// gets, where files handed over from outside go, and the launch that fails
// on a database it cannot read.

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFile>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QPointer>
#include <QPushButton>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBrowser>
#include <QUrl>
#include <algorithm>
#include <memory>

#include <qcoro/qcorotask.h>

#include "app/applaunch.h"
#include "app/appworkflows.h"
#include "app/consenttexts.h"
#include "app/menubarpresenter.h"
#include "app/settingsstore.h"
#include "app/settingsviewmodel.h"
#include "filesystemfixtures.h"
#include "gui/consentwindow.h"
#include "gui/guiapplication.h"
#include "gui/menubarcontroller.h"
#include "gui/monitortab.h"
#include "gui/settingswindow.h"
#include "gui/welcomewindow.h"
#include "notificationpeer.h"
#include "ollamapeer.h"
#include "platform/diagnostics.h"
#include "platform/monitorlock.h"
#include "profileservices.h"
#include "workflows/batchrenameviewmodel.h"
#include "workflows/monitoringviewmodel.h"

using namespace Qt::StringLiterals;
using namespace Nomly;
using Nomly::Test::OllamaPeer;
using Nomly::Test::ProfileServices;

namespace {

enum class Shown
{
    Welcome,
    ConsentQuestion,
    AIRename,
};

} // namespace

Q_DECLARE_METATYPE(Shown)

class GuiApplicationTest : public QObject
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
    }

    void cleanup()
    {
        m_profile.reset();
        m_dir.reset();
    }

    // A new profile walks the first-run guide from the welcome to a watched
    // folder: closed half-way, the tray's only offer brings it back where
    // it was; at the end Monitor renames what arrives, and the next launch
    // opens the settings window straight away.
    void firstRunGuideToAWatchedFolder()
    {
        const QString inbox = m_dir->filePath(u"Inbox"_s);
        QVERIFY(QDir().mkpath(inbox));
        OllamaPeer ollama;
        ollama.answerAlways(OllamaPeer::reply(u"{\"title\":\"Harbour Survey\"}"_s));
        {
            GuiApplication gui(m_profile->services());
            QVERIFY(started(gui));
            WelcomeWindow *guide = gui.welcomeWindow();
            QVERIFY(guide && guide->isVisible());
            QVERIFY(!gui.settingsWindow());
            QCOMPARE(trayItems(gui), (QStringList { u"Finish Setup..."_s, u"Quit"_s }));
            screenshot(*guide, u"welcome"_s);

            click(*guide, u"getStarted"_s);
            QCOMPARE(guide->step(), WelcomeWindow::Step::Consent);
            screenshot(*guide, u"consent"_s);
            guide->close();
            trayItem(gui, u"Finish Setup..."_s)->trigger();
            QVERIFY(guide->isVisible());
            QCOMPARE(guide->step(), WelcomeWindow::Step::Consent);
            click(*guide, u"agree"_s);
            QVERIFY(gui.launcher().viewModel()->consent().aiDataConsentGranted());

            QCOMPARE(guide->step(), WelcomeWindow::Step::Route);
            SettingsViewModel &model = *gui.launcher().viewModel();
            Settings settings = model.settings();
            settings.localAIEndpoint = ollama.endpoint();
            model.setSettings(settings);
            auto *mode = guide->routeTab()->findChild<QComboBox *>(u"processingMode"_s);
            mode->setCurrentIndex(mode->findText(u"Local (Ollama)"_s));
            emit mode->activated(mode->currentIndex());
            QTRY_COMPARE(model.settings().aiProcessingMode, AIProcessingMode::Local);
            screenshot(*guide, u"route"_s);
            click(*guide, u"routeContinue"_s);

            QCOMPARE(guide->step(), WelcomeWindow::Step::Start);
            guide->setFolderPicker([&](QWidget *) { return inbox; });
            click(*guide, u"watchFolder"_s);
            QTRY_COMPARE(guide->chosenFolder(), inbox);
            screenshot(*guide, u"start"_s);
            click(*guide, u"finishSetup"_s);

            QVERIFY(model.consent().isOnboardingComplete());
            QVERIFY(m_profile->defaults.boolValue(SettingsStore::HasCompletedOnboardingKey));
            QVERIFY(!guide->isVisible());
            QVERIFY(gui.settingsWindow() && gui.settingsWindow()->isVisible());
            QCOMPARE(gui.settingsWindow()->selectedTab(), SettingsTab::Monitor);
            QVERIFY(trayItems(gui).contains(u"Open Nomly"_s));
            MonitoringViewModel &monitoring = gui.launcher().workflows()->monitoring();
            QTRY_VERIFY(monitoring.isWatching());
            QTest::qWait(100);
            QVERIFY(Test::writeFile(inbox + u"/scan.txt"_s, "Survey of the harbour walls, measured in the spring."));
            const ActivityViewModel &activity = gui.launcher().workflows()->activity();
            QTRY_COMPARE_WITH_TIMEOUT(activity.activityFiles().size(), qsizetype(1), 10000);
            QCOMPARE(activity.activityFiles().first().newName, u"Harbour Survey.txt"_s);
            QVERIFY(QFile::exists(inbox + u"/Harbour Survey.txt"_s));
        }
        GuiApplication again(m_profile->services());
        QVERIFY(started(again));
        QVERIFY(!again.welcomeWindow());
        QVERIFY(again.settingsWindow() && again.settingsWindow()->isVisible());
        QCOMPARE(again.settingsWindow()->windowTitle(), u"Nomly"_s);
        QCOMPARE(again.settingsWindow()->minimumSize(), QSize(780, 640));
    }

    // Files dropped on the guide's last step wait for its end, then come up
    // in AI Rename, once each.
    void guideDropsFilesIntoAIRename()
    {
        OllamaPeer ollama;
        GuiApplication gui(m_profile->services());
        QVERIFY(started(gui));
        answerLocally(gui, ollama);
        WelcomeWindow &guide = *gui.welcomeWindow();
        for (const QString &step : { u"getStarted"_s, u"agree"_s, u"routeContinue"_s })
            click(guide, step);
        QCOMPARE(guide.step(), WelcomeWindow::Step::Start);
        QMimeData files;
        files.setUrls({ QUrl::fromLocalFile(sample(u"a.txt"_s)),
                        QUrl::fromLocalFile(sample(u"b.txt"_s)),
                        QUrl::fromLocalFile(sample(u"a.txt"_s)) });
        QDragEnterEvent enter(QPoint(10, 10), Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&guide, &enter);
        QVERIFY(enter.isAccepted());
        QDropEvent drop(QPointF(10, 10), Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&guide, &drop);
        QCOMPARE(guide.chosenFiles().size(), 2);
        QVERIFY(gui.launcher().workflows()->batchRename().items().isEmpty());

        click(guide, u"finishSetup"_s);
        BatchRenameViewModel &batch = gui.launcher().workflows()->batchRename();
        QTRY_COMPARE(batch.items().size(), qsizetype(2));
        QCOMPARE(gui.settingsWindow()->selectedTab(), SettingsTab::AIRename);
    }

    // Data & Privacy leads to what is sent; agreeing there is what every AI
    // workflow checks.
    void consentIsReviewedAndGiven()
    {
        m_profile->defaults.setValue(SettingsStore::HasCompletedOnboardingKey, true);
        GuiApplication gui(m_profile->services());
        QVERIFY(started(gui));
        SettingsViewModel *model = gui.launcher().viewModel();
        QVERIFY(!model->consent().aiDataConsentGranted());
        auto *action = gui.settingsWindow()->findChild<QPushButton *>(u"consentAction"_s);
        QVERIFY(action);
        QCOMPARE(action->text(), u"Review Consent..."_s);
        action->click();
        QVERIFY(gui.consentWindow() && gui.consentWindow()->isVisible());
        // Every section of what is sent, and the whole policy a link away.
        for (const QString &section : ConsentTexts::sections()) {
            const auto labels = gui.consentWindow()->findChildren<QLabel *>();
            QVERIFY2(std::any_of(
                         labels.cbegin(), labels.cend(), [&](const QLabel *label) { return label->text() == section; }),
                     qPrintable(section));
        }
        QCOMPARE(ConsentTexts::sections().size(), 7);
        auto *link = gui.consentWindow()->findChild<QLabel *>(u"privacyPolicyLink"_s);
        QVERIFY(link && link->text().contains(u"Read full Privacy Policy"_s));
        emit link->linkActivated(u"#policy"_s);
        auto *policy = gui.consentWindow()->findChild<QTextBrowser *>(u"privacyPolicy"_s);
        QVERIFY(policy && policy->isVisible());
        QVERIFY(policy->toPlainText().contains(u"Nomly Privacy Policy"_s));
        gui.consentWindow()->findChild<QPushButton *>(u"agree"_s)->click();
        QVERIFY(model->consent().aiDataConsentGranted());
        QVERIFY(!gui.consentWindow()->isVisible());
        QVERIFY(m_profile->defaults.boolValue(ConsentState::HasAgreedToAIDataProcessingKey));
        QCOMPARE(action->text(), u"Withdraw Consent..."_s);
    }

    // Files from the command line, a file-manager action or a second launch
    // go where the profile can take them.
    void receivedFilesAreRouted_data()
    {
        QTest::addColumn<bool>("onboarded");
        QTest::addColumn<bool>("consented");
        QTest::addColumn<Shown>("shown");
        QTest::addColumn<int>("items");
        QTest::newRow("onboarding-incomplete-welcome") << false << false << Shown::Welcome << 0;
        QTest::newRow("consent-missing-asks") << true << false << Shown::ConsentQuestion << 0;
        QTest::newRow("ready-ai-rename") << true << true << Shown::AIRename << 2;
    }

    void receivedFilesAreRouted()
    {
        QFETCH(bool, onboarded);
        QFETCH(bool, consented);
        QFETCH(Shown, shown);
        QFETCH(int, items);
        m_profile->defaults.setValue(SettingsStore::HasCompletedOnboardingKey, onboarded);
        m_profile->defaults.setValue(ConsentState::HasAgreedToAIDataProcessingKey, consented);
        GuiApplication gui(m_profile->services());
        QVERIFY(started(gui));
        OllamaPeer ollama;
        answerLocally(gui, ollama);
        if (gui.welcomeWindow())
            gui.welcomeWindow()->hide();
        if (gui.settingsWindow())
            gui.settingsWindow()->selectTab(SettingsTab::About);

        // The same file twice, once through a link, is one item.
        gui.launcher().openFiles({ sample(u"a.txt"_s), sample(u"b.txt"_s), link(u"a.txt"_s) });
        BatchRenameViewModel &batch = gui.launcher().workflows()->batchRename();
        QTRY_VERIFY(batch.isIdle());
        QCOMPARE(gui.welcomeWindow() && gui.welcomeWindow()->isVisible(), shown == Shown::Welcome);
        QCOMPARE(gui.settingsWindow() && gui.settingsWindow()->isVisible(), shown != Shown::Welcome);
        if (shown != Shown::Welcome)
            QCOMPARE(gui.settingsWindow()->selectedTab(), SettingsTab::AIRename);
        QMessageBox *question = consentQuestion(gui);
        QCOMPARE(question != nullptr, shown == Shown::ConsentQuestion);
        if (question) {
            const QPointer<QMessageBox> asked(question);
            question->reject();
            // The answer is read on the event loop, which then lets the box go.
            QTRY_VERIFY(!asked);
        }
        QCOMPARE(int(batch.items().size()), items);
    }

    // The desktop runs Monitor: a file dropped into a watched folder is
    // renamed and shows in Activity; the pause stops that, and the Monitor
    // tab's button resumes.
    void monitorRunsInTheDesktop()
    {
        m_profile->defaults.setValue(SettingsStore::HasCompletedOnboardingKey, true);
        m_profile->defaults.setValue(ConsentState::HasAgreedToAIDataProcessingKey, true);
        // The desktop's notification server, where the test runs on a session
        // bus (the x11 run); offscreen runs have none.
        Test::NotificationPeer notifications;
        GuiApplication gui(m_profile->services());
        QVERIFY(started(gui));
        OllamaPeer ollama;
        const QString inbox = watchInbox(gui, ollama);
        SettingsViewModel &model = *gui.launcher().viewModel();
        MonitoringViewModel &monitoring = gui.launcher().workflows()->monitoring();
        QTRY_VERIFY(monitoring.isWatching());
        QTest::qWait(100);
        // The tray tells the work while it runs.
        QSignalSpy tray(gui.menuBarPresenter(), &MenuBarPresenter::stateChanged);

        QVERIFY(Test::writeFile(inbox + u"/scan.txt"_s, "Survey of the harbour walls, measured in the spring."));
        const ActivityViewModel &activity = gui.launcher().workflows()->activity();
        QTRY_COMPARE_WITH_TIMEOUT(activity.activityFiles().size(), qsizetype(1), 10000);
        QCOMPARE(activity.activityFiles().first().newName, u"Harbour Survey.txt"_s);
        QCOMPARE(activity.activityFiles().first().source, ProcessedFileSource::Watcher);
        QVERIFY(std::any_of(tray.cbegin(), tray.cend(), [](const QList<QVariant> &change) {
            return change.first().value<MenuBarPresentationState>().iconMode == MenuBarIconMode::Processing;
        }));
        QTRY_COMPARE(gui.menuBar()->iconState(), TrayIconState::Standard);

        QAction *pause = nullptr;
        for (QAction *action : gui.menuBar()->menu()->actions())
            pause = action->text() == u"Pause Monitor"_s ? action : pause;
        QVERIFY(pause && pause->isEnabled());
        pause->trigger();
        QVERIFY(!monitoring.isWatching());
        QCOMPARE(gui.menuBar()->iconState(), TrayIconState::Paused);
        QCOMPARE(pause->text(), u"Resume Monitor"_s);
        if (notifications.isServing())
            QTRY_VERIFY(notifications.summaries().contains(u"Monitoring Paused"_s));
        QVERIFY(model.settings().monitoringPaused);
        MonitorTab *tab = gui.settingsWindow()->monitorTab();
        QCOMPARE(tab->monitorState()->text(), u"Monitor is paused. New files are not renamed until you resume."_s);
        QVERIFY(Test::writeFile(inbox + u"/later.txt"_s, "Minutes of the harbour board, held in the autumn."));
        QTest::qWait(2000);
        QCOMPARE(activity.activityFiles().size(), qsizetype(1));

        tab->findChild<QPushButton *>(u"resumeMonitor"_s)->click();
        QVERIFY(!model.settings().monitoringPaused);
        // The file that came during the pause is found by the look back.
        QTRY_COMPARE_WITH_TIMEOUT(activity.activityFiles().size(), qsizetype(2), 10000);
    }

    // While another process watches, the desktop only says so; once that
    // process lets go, the desktop takes over.
    void monitorTakenOverWhenTheWatcherEnds()
    {
        m_profile->defaults.setValue(SettingsStore::HasCompletedOnboardingKey, true);
        m_profile->defaults.setValue(ConsentState::HasAgreedToAIDataProcessingKey, true);
        MonitorLock other(m_profile->dataDirectory);
        QVERIFY(other.tryLock());
        GuiApplication gui(m_profile->services());
        QVERIFY(started(gui));
        OllamaPeer ollama;
        watchInbox(gui, ollama);
        MonitoringViewModel &monitoring = gui.launcher().workflows()->monitoring();
        QTest::qWait(200);
        QVERIFY(!monitoring.isWatching());
        QVERIFY(gui.settingsWindow()->monitorTab()->monitorState()->text().startsWith(u"Monitor runs in"_s));

        other.unlock();
        QTRY_VERIFY(monitoring.isWatching());
        QCOMPARE(gui.settingsWindow()->monitorTab()->monitorState()->text(), u"Watching for new files."_s);
    }

    // Files handed over before the profile is ready wait through the welcome
    // window and the consent, then arrive once.
    void keptFilesArriveOnceReady()
    {
        GuiApplication gui(m_profile->services());
        gui.launcher().openFiles({ sample(u"a.txt"_s), sample(u"b.txt"_s) });
        QVERIFY(started(gui));
        OllamaPeer ollama;
        answerLocally(gui, ollama);
        QVERIFY(gui.welcomeWindow() && gui.welcomeWindow()->isVisible());
        gui.launcher().openFiles({ link(u"b.txt"_s) });

        // Through the guide without agreeing: the files wait for the question.
        for (const QString &step : { u"getStarted"_s, u"skipConsent"_s, u"routeContinue"_s, u"finishSetup"_s })
            click(*gui.welcomeWindow(), step);
        QMessageBox *question = nullptr;
        QTRY_VERIFY((question = consentQuestion(gui)));
        const QList<QAbstractButton *> buttons = question->buttons();
        const auto review = std::find_if(buttons.cbegin(), buttons.cend(), [](const QAbstractButton *button) {
            return button->text() == u"Review Consent"_s;
        });
        QVERIFY(review != buttons.cend());
        (*review)->click();
        QTRY_VERIFY(gui.consentWindow() && gui.consentWindow()->isVisible());
        // The record says why the question came, in words only.
        const QList<DiagnosticsEntry> records = Diagnostics::readEntries(m_profile->dataDirectory);
        const auto asked = std::find_if(records.cbegin(), records.cend(), [](const DiagnosticsEntry &entry) {
            return entry.name == u"consent_review_requested"_s;
        });
        QVERIFY(asked != records.cend());
        QCOMPARE(asked->parameters.value(u"source"_s), u"dock_drop"_s);
        BatchRenameViewModel &batch = gui.launcher().workflows()->batchRename();
        QVERIFY(batch.items().isEmpty());

        gui.consentWindow()->findChild<QPushButton *>(u"agree"_s)->click();
        QTRY_COMPARE(batch.items().size(), qsizetype(2));
        QTRY_VERIFY(batch.isIdle());
        QCOMPARE(batch.items().at(0).fileName, u"a.txt"_s);
        QCOMPARE(batch.items().at(1).suggestedName, std::optional<QString>(u"Loopback Answer"_s));
        QCOMPARE(gui.settingsWindow()->selectedTab(), SettingsTab::AIRename);
    }

    void unreadableDatabaseFails_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("garbage") << QByteArray(4096, 'x');
        QTest::newRow("truncated header") << QByteArray("SQLite format 3");
    }

    void unreadableDatabaseFails()
    {
        QFETCH(QByteArray, content);
        QVERIFY(QDir().mkpath(m_profile->dataDirectory));
        QFile file(m_profile->dataDirectory + u"/nomly.db"_s);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(content), content.size());
        file.close();

        GuiApplication gui(m_profile->services());
        QTest::ignoreMessage(QtCriticalMsg, QRegularExpression(u"^Error initializing app: .+"_s));
        QVERIFY(!started(gui));
        QVERIFY(!gui.launcher().viewModel());
        QVERIFY(!gui.welcomeWindow() && !gui.settingsWindow());
        gui.showPrimary();
        QVERIFY(!gui.welcomeWindow() && !gui.settingsWindow());
        // The file is left as it was, for the user to rescue.
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), content);
    }

private:
    QString sample(const QString &name) const
    {
        const QString path = m_dir->filePath(name);
        QFile file(path);
        if (file.open(QIODevice::WriteOnly))
            file.write("A survey of the harbour walls.");
        return path;
    }

    // A link to the named file, under another name.
    QString link(const QString &name) const
    {
        const QString path = m_dir->filePath(u"link-to-"_s + name);
        QFile::link(m_dir->filePath(name), path);
        return path;
    }

    // A watched folder whose new files a local model on loopback names.
    QString watchInbox(GuiApplication &gui, OllamaPeer &ollama)
    {
        ollama.answerAlways(OllamaPeer::reply(u"{\"title\":\"Harbour Survey\"}"_s));
        const QString inbox = m_dir->filePath(u"Inbox"_s);
        QDir().mkpath(inbox);
        SettingsViewModel &model = *gui.launcher().viewModel();
        Settings settings = model.settings();
        settings.watchedFolders = { inbox };
        settings.namingPattern = u"{title}"_s;
        model.setSettings(settings);
        answerLocally(gui, ollama);
        return inbox;
    }

    // Analysis goes to a local model on loopback.
    static void answerLocally(GuiApplication &gui, const OllamaPeer &ollama)
    {
        SettingsViewModel &model = *gui.launcher().viewModel();
        Settings settings = model.settings();
        settings.aiProcessingMode = AIProcessingMode::Local;
        settings.localAIEndpoint = ollama.endpoint();
        model.setSettings(settings);
        QVERIFY(QCoro::waitFor(model.saveSettings()));
    }

    // The question the settings window asks when consent is missing.
    static QMessageBox *consentQuestion(GuiApplication &gui)
    {
        if (!gui.settingsWindow())
            return nullptr;
        for (QMessageBox *box : gui.settingsWindow()->findChildren<QMessageBox *>()) {
            if (box->isVisible() && box->text() == ConsentTexts::missingTitle())
                return box;
        }
        return nullptr;
    }

    static void click(QWidget &window, const QString &name)
    {
        auto *button = window.findChild<QPushButton *>(name);
        QVERIFY2(button && button->isVisible(), qPrintable(name));
        button->click();
    }

    // The tray's items a user sees, separators left out.
    static QStringList trayItems(const GuiApplication &gui)
    {
        QStringList texts;
        for (const QAction *action : gui.menuBar()->menu()->actions()) {
            if (action->isVisible() && !action->isSeparator())
                texts.append(action->text());
        }
        return texts;
    }

    static QAction *trayItem(const GuiApplication &gui, const QString &text)
    {
        for (QAction *action : gui.menuBar()->menu()->actions()) {
            if (action->text() == text)
                return action;
        }
        return nullptr;
    }

    // The pictures of the README come from these runs.
    static void screenshot(QWidget &window, const QString &name)
    {
        const QString folder = QCoreApplication::applicationDirPath() + u"/screenshots"_s;
        QVERIFY(QDir().mkpath(folder));
        QCoreApplication::processEvents();
        QVERIFY(window.grab().save(folder + u"/guide-"_s + name + u".png"_s));
    }

    static bool started(GuiApplication &gui)
    {
        auto starting = gui.start();
        return QCoro::waitFor(std::move(starting));
    }

    QTemporaryDir m_home;
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<ProfileServices> m_profile;
};

QTEST_MAIN(GuiApplicationTest)
#include "guiapplicationtest.moc"
