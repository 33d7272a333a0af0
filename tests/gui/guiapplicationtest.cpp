// The desktop face coming up over a real profile: which window a profile
// gets, and the launch that fails on a database it cannot read.

#include <QDir>
#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBrowser>
#include <algorithm>
#include <memory>

#include <qcoro/qcorotask.h>

#include "app/applaunch.h"
#include "app/consenttexts.h"
#include "app/settingsstore.h"
#include "app/settingsviewmodel.h"
#include "gui/consentwindow.h"
#include "gui/guiapplication.h"
#include "gui/settingswindow.h"
#include "gui/welcomewindow.h"
#include "profileservices.h"

using namespace Qt::StringLiterals;
using namespace Nomly;
using Nomly::Test::ProfileServices;

class GuiApplicationTest : public QObject
{
    Q_OBJECT

private slots:

    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        m_profile = std::make_unique<ProfileServices>(m_dir->path());
    }

    void cleanup()
    {
        m_profile.reset();
        m_dir.reset();
    }

    // A new profile meets the welcome window; going on stores that, opens
    // the settings window, and the next launch opens it straight away.
    void welcomeOnceThenSettings()
    {
        {
            GuiApplication gui(m_profile->services());
            // Handed over before setup, handled once after it.
            gui.launcher().openFiles({ u"/early/file.pdf"_s });
            QTest::ignoreMessage(QtInfoMsg, "Received 1 file(s): /early/file.pdf");
            QVERIFY(started(gui));
            QVERIFY(gui.welcomeWindow() && gui.welcomeWindow()->isVisible());
            QVERIFY(!gui.settingsWindow());

            gui.welcomeWindow()->findChild<QPushButton *>(u"getStarted"_s)->click();
            QVERIFY(gui.launcher().viewModel()->consent().isOnboardingComplete());
            QVERIFY(gui.settingsWindow() && gui.settingsWindow()->isVisible());
            QVERIFY(!gui.welcomeWindow()->isVisible());
            QVERIFY(m_profile->defaults.boolValue(SettingsStore::HasCompletedOnboardingKey));
        }
        GuiApplication again(m_profile->services());
        QVERIFY(started(again));
        QVERIFY(!again.welcomeWindow());
        QVERIFY(again.settingsWindow() && again.settingsWindow()->isVisible());
        QCOMPARE(again.settingsWindow()->windowTitle(), u"Nomly"_s);
        QCOMPARE(again.settingsWindow()->minimumSize(), QSize(780, 640));
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
    static bool started(GuiApplication &gui)
    {
        auto starting = gui.start();
        return QCoro::waitFor(std::move(starting));
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<ProfileServices> m_profile;
};

QTEST_MAIN(GuiApplicationTest)
#include "guiapplicationtest.moc"
