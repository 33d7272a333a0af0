// The launch over a real profile in a temporary folder: the database file, the
// defaults file, and the files that arrive while it comes up.

#include <QDir>
#include <QFile>
#include <QNetworkAccessManager>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <memory>

#include <qcoro/qcorotask.h>

#include "ai/hostedbackend.h"
#include "app/applaunch.h"
#include "app/appservices.h"
#include "app/settingsviewmodel.h"
#include "history/database.h"
#include "loopbackresponder.h"
#include "profileservices.h"

using namespace Qt::StringLiterals;
using namespace Nomly;
using Nomly::Test::LoopbackResponder;
using Nomly::Test::ProfileServices;

namespace {

// "open:a,b" is openFiles({a, b}), "rename:c" quickRename({c}); a handler
// records its call in the same form.
void send(AppLauncher &launcher, const QStringList &events)
{
    for (const QString &event : events) {
        const QString kind = event.section(u':', 0, 0);
        const QStringList paths = event.section(u':', 1).split(u',');
        if (kind == u"open"_s)
            launcher.openFiles(paths);
        else
            launcher.quickRename(paths);
    }
}

void record(AppLauncher &launcher, QStringList &calls)
{
    launcher.openFilesHandler = [&calls](const QStringList &paths) { calls.append(u"open:"_s + paths.join(u',')); };
    launcher.quickRenameHandler = [&calls](const QStringList &paths) { calls.append(u"rename:"_s + paths.join(u',')); };
}

bool started(AppLauncher &launcher)
{
    auto starting = launcher.start();
    return QCoro::waitFor(std::move(starting));
}

} // namespace

class AppLaunchTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void filesHandedOver();
    void corruptDatabaseFails();
    void freshProfileSeedsTemplatesOnce();
    void remoteConfigFetchedAfterSetup();

private:
    QTemporaryDir m_xdg;
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<ProfileServices> m_profile;
};

void AppLaunchTest::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_xdg.filePath(u"config"_s)));
    qputenv("XDG_DATA_HOME", QFile::encodeName(m_xdg.filePath(u"data"_s)));
}

void AppLaunchTest::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_profile = std::make_unique<ProfileServices>(m_dir->path());
}

void AppLaunchTest::cleanup()
{
    m_profile.reset();
    m_dir.reset();
}

void AppLaunchTest::filesHandedOver()
{
    QStringList recorded;
    AppLauncher launcher(m_profile->services());
    record(launcher, recorded);

    send(launcher, { u"open:/a"_s, u"rename:/r1"_s, u"open:/b,/c"_s });
    QCOMPARE(launcher.stage(), AppLauncher::Stage::BeforeSetup);
    // Setup runs until it waits for the database, then these arrive.
    auto starting = launcher.start();
    QCOMPARE(launcher.stage(), AppLauncher::Stage::SettingUp);
    QVERIFY(!launcher.viewModel());
    send(launcher, { u"rename:/r2"_s, u"open:/d"_s });
    QVERIFY(recorded.isEmpty());
    QVERIFY(QCoro::waitFor(std::move(starting)));
    QCOMPARE(launcher.stage(), AppLauncher::Stage::Running);
    send(launcher, { u"open:/e"_s });
    // A second start hands nothing over again.
    QVERIFY(started(launcher));

    // Buffered files are merged by kind, in arrival order; later ones pass straight through.
    QCOMPARE(recorded, (QStringList { u"open:/a,/b,/c,/d"_s, u"rename:/r1,/r2"_s, u"open:/e"_s }));
}

void AppLaunchTest::corruptDatabaseFails()
{
    QVERIFY(QDir().mkpath(m_profile->dataDirectory));
    QFile garbage(m_profile->dataDirectory + u"/nomly.db"_s);
    QVERIFY(garbage.open(QIODevice::WriteOnly));
    QCOMPARE(garbage.write(QByteArray(4096, 'x')), 4096);
    garbage.close();

    QStringList recorded;
    AppLauncher launcher(m_profile->services());
    record(launcher, recorded);
    launcher.openFiles({ u"/early"_s });

    QTest::ignoreMessage(QtCriticalMsg, QRegularExpression(u"^Error initializing app: .+"_s));
    QVERIFY(!started(launcher));

    QCOMPARE(launcher.stage(), AppLauncher::Stage::Failed);
    QVERIFY(!launcher.viewModel());
    // Nothing of the profile was touched.
    QVERIFY(!m_profile->defaults.contains(ConsentState::HasLaunchedBeforeKey));
    // Files neither buffered for later nor passed to a face with no state.
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Setup failed; dropped"_s));
    launcher.quickRename({ u"/late"_s });
    QVERIFY(recorded.isEmpty());
    QVERIFY(!started(launcher));
    QCOMPARE(launcher.stage(), AppLauncher::Stage::Failed);
}

void AppLaunchTest::freshProfileSeedsTemplatesOnce()
{
    QUuid deleted;
    {
        AppLauncher launcher(m_profile->services());
        QVERIFY(started(launcher));
        QVERIFY(launcher.viewModel()->consent().isFirstLaunch());
        QCOMPARE(launcher.database()->loadPresets().value().size(), 11);
        deleted = launcher.viewModel()->templates().presets().first().id;
        auto deleting = launcher.viewModel()->templates().deletePreset(deleted);
        QVERIFY(QCoro::waitFor(std::move(deleting)));
    }

    AppLauncher relaunched(m_profile->services());
    QVERIFY(started(relaunched));
    QVERIFY(!relaunched.viewModel()->consent().isFirstLaunch());
    const QList<Preset> presets = relaunched.viewModel()->templates().presets();
    QCOMPARE(presets.size(), 10);
    for (const Preset &preset : presets)
        QVERIFY(preset.id != deleted);
}

// Set up first, then, not waited for, the backend's values arrive.
void AppLaunchTest::remoteConfigFetchedAfterSetup()
{
    LoopbackResponder backend(200, R"({"image_extensions":["xyz"],"ai_model":"model-from-backend"})");
    QNetworkAccessManager network;
    const HostedBackend hosted(backend.baseUrl(), u"token"_s);
    m_profile->remoteConfig = std::make_unique<RemoteConfigService>(network, hosted, m_profile->defaults);
    AppLauncher launcher(m_profile->services());
    QTest::ignoreMessage(QtInfoMsg, "Remote Config Loaded: true");
    QTest::ignoreMessage(QtInfoMsg, "AI Model: model-from-backend");
    QVERIFY(started(launcher));
    QVERIFY(!m_profile->remoteConfig->isLoaded());
    QTRY_VERIFY(m_profile->remoteConfig->isLoaded());
    QCOMPARE(backend.received.size(), 1);
}

QTEST_GUILESS_MAIN(AppLaunchTest)

#include "applaunchtest.moc"
