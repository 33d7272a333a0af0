#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTest>

#include "platform/autostartentry.h"

using namespace Qt::StringLiterals;

namespace Nomly {

class AutostartEntryTest final : public QObject
{
    Q_OBJECT

private slots:

    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void cleanup() { QFile::remove(AutostartEntry::filePath()); }

    // The Exec value is unquoted after its string escapes are undone, so a
    // character quoting reserves gets its backslash, which is doubled again.
    void execValue_data()
    {
        QTest::addColumn<QString>("program");
        QTest::addColumn<QString>("exec");
        QTest::newRow("plain") << u"/usr/bin/nomly-gui"_s << u"\"/usr/bin/nomly-gui\" --background"_s;
        QTest::newRow("space") << u"/home/ada/My Apps/nomly-gui"_s << u"\"/home/ada/My Apps/nomly-gui\" --background"_s;
        QTest::newRow("quote") << u"/opt/a\"b/nomly-gui"_s << u"\"/opt/a\\\\\"b/nomly-gui\" --background"_s;
        QTest::newRow("backslash") << u"/opt/a\\b/nomly-gui"_s << u"\"/opt/a\\\\\\\\b/nomly-gui\" --background"_s;
        QTest::newRow("dollar and backtick")
            << u"/opt/$x`y/nomly-gui"_s << u"\"/opt/\\\\$x\\\\`y/nomly-gui\" --background"_s;
        QTest::newRow("percent") << u"/opt/100%/nomly-gui"_s << u"\"/opt/100%%/nomly-gui\" --background"_s;
        QTest::newRow("equals refused") << u"/opt/a=b/nomly-gui"_s << QString();
        QTest::newRow("line break refused") << u"/opt/a\nb/nomly-gui"_s << QString();
    }

    void execValue()
    {
        QFETCH(QString, program);
        QFETCH(QString, exec);
        QCOMPARE(AutostartEntry::execValue(program), exec);
        const bool written = bool(AutostartEntry::setEnabled(true, program));
        QCOMPARE(written, !exec.isEmpty());
        QCOMPARE(AutostartEntry::isEnabled(), written);
    }

    // The entry on disk is the truth: hidden by the desktop it is off, and
    // one the user wrote by hand is never removed.
    void entryIsTheTruth()
    {
        QVERIFY(AutostartEntry::setEnabled(true, u"/usr/bin/nomly-gui"_s));
        QFile entry(AutostartEntry::filePath());
        QVERIFY(entry.open(QIODevice::Append));
        entry.write("Hidden=true\n");
        entry.close();
        QVERIFY(!AutostartEntry::isEnabled());
        QVERIFY(AutostartEntry::setEnabled(false, u"/usr/bin/nomly-gui"_s));
        QVERIFY(!QFileInfo::exists(AutostartEntry::filePath()));

        QVERIFY(entry.open(QIODevice::WriteOnly));
        entry.write("[Desktop Entry]\nType=Application\nExec=nomly-gui --my-own-flags\n");
        entry.close();
        QVERIFY(AutostartEntry::isEnabled());
        QVERIFY(!AutostartEntry::setEnabled(false, u"/usr/bin/nomly-gui"_s));
        QVERIFY(QFileInfo::exists(AutostartEntry::filePath()));
    }
};

} // namespace Nomly

QTEST_GUILESS_MAIN(Nomly::AutostartEntryTest)
#include "autostartentrytest.moc"
