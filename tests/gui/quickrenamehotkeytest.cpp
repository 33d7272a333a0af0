// Quick rename from the hotkey, the whole way on a virtual X server: the
// desktop application grabs the shortcut, xdotool presses it, the flow reads
// the files copied to the clipboard, a local model on loopback names them and
// the file is renamed and recorded with the source "hotkey".

#include <QClipboard>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QMimeData>
#include <QProcess>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

#include <qcoro/qcorotask.h>

#include "app/applaunch.h"
#include "app/appworkflows.h"
#include "app/hotkeyservice.h"
#include "app/settingsstore.h"
#include "app/settingsviewmodel.h"
#include "gui/guiapplication.h"
#include "history/database.h"
#include "ollamapeer.h"
#include "profileservices.h"

using namespace Qt::StringLiterals;
using namespace Nomly;
using Nomly::Test::OllamaPeer;
using Nomly::Test::ProfileServices;

class QuickRenameHotkeyTest : public QObject
{
    Q_OBJECT

private slots:

    void initTestCase()
    {
        if (QGuiApplication::platformName() != u"xcb")
            QSKIP("needs an X server (run under xvfb-run)");
        if (QStandardPaths::findExecutable(u"xdotool"_s).isEmpty())
            QSKIP("xdotool is not installed");
        QStandardPaths::setTestModeEnabled(true);
    }

    void hotkeyRenamesCopiedFiles()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        ProfileServices profile(dir.path(), ProfileServices::Keys::InFile);
        profile.defaults.setValue(SettingsStore::HasCompletedOnboardingKey, true);
        profile.defaults.setValue(ConsentState::HasAgreedToAIDataProcessingKey, true);
        OllamaPeer ollama;
        ollama.answerAlways(OllamaPeer::reply(u"{\"title\":\"Harbour Survey\"}"_s));

        QVERIFY(QDir(dir.path()).mkpath(u"files"_s));
        const QString original = dir.filePath(u"files/notes.txt"_s);
        QFile note(original);
        QVERIFY(note.open(QIODevice::WriteOnly));
        note.write("Survey of the harbour walls and moorings, with the repairs planned for spring.");
        note.close();

        GuiApplication gui(profile.services());
        QVERIFY(QCoro::waitFor(gui.start()));
        SettingsViewModel *model = gui.launcher().viewModel();
        QVERIFY(model && gui.hotkeys());
        Settings settings = model->settings();
        settings.aiProcessingMode = AIProcessingMode::Local;
        settings.localAIEndpoint = ollama.endpoint();
        settings.hotkeyEnabled = true;
        settings.hotkeyShortcut = KeyboardShortcut {}; // Ctrl+Shift+R here
        model->setSettings(settings);
        QVERIFY(QCoro::waitFor(model->saveSettings()));
        QSignalSpy registered(gui.hotkeys(), SIGNAL(setupFinished(bool)));
        gui.launcher().workflows()->hotkey().registerHotkey();
        QTRY_VERIFY_WITH_TIMEOUT(!registered.isEmpty(), 10000);
        QVERIFY(registered.last().first().toBool());

        auto *copied = new QMimeData;
        copied->setUrls({ QUrl::fromLocalFile(original) });
        QGuiApplication::clipboard()->setMimeData(copied);
        QCOMPARE(QProcess::execute(u"xdotool"_s, { u"key"_s, u"ctrl+shift+r"_s }), 0);

        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(dir.filePath(u"files/Harbour Survey.txt"_s)), 60000);
        QVERIFY(!QFile::exists(original));
        QCOMPARE(ollama.chatRequests().size(), 1);
        QTRY_COMPARE(gui.launcher().workflows()->activity().activityFiles().size(), qsizetype(1));
        QCOMPARE(gui.launcher().workflows()->activity().activityFiles().first().source, ProcessedFileSource::Hotkey);
    }
};

QTEST_MAIN(QuickRenameHotkeyTest)
#include "quickrenamehotkeytest.moc"
