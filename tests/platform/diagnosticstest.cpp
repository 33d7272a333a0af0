#include <QFile>
#include <QLoggingCategory>
#include <QTemporaryDir>
#include <QTest>

#include "platform/diagnostics.h"

using namespace Qt::StringLiterals;

namespace Nomly {

class DiagnosticsTest final : public QObject
{
    Q_OBJECT

private slots:

    void initTestCase()
    {
        // Every record is logged too; the file is what is tested.
        QLoggingCategory::setFilterRules(u"com.nomly.app.*=false"_s);
    }

    void valueRule_data()
    {
        QTest::addColumn<QString>("value");
        QTest::addColumn<bool>("kept");
        QTest::newRow("count") << u"42"_s << true;
        QTest::newRow("version") << u"0.23.1"_s << true;
        QTest::newRow("flag") << u"true"_s << true;
        QTest::newRow("reason word") << u"retry_exhausted"_s << true;
        QTest::newRow("list of groups") << u"image,document"_s << true;
        QTest::newRow("path") << u"/home/ada/Documents/lease.pdf"_s << false;
        QTest::newRow("file name") << u"lease.pdf"_s << false;
        QTest::newRow("title with spaces") << u"Harbour Lease Agreement"_s << false;
        QTest::newRow("capitalised name") << u"Invoice"_s << false;
        QTest::newRow("vendor key") << u"sk-proj-4f2a9c"_s << false;
        QTest::newRow("lower-case hex token") << u"a3f9c2e81b7d4e60"_s << false;
        QTest::newRow("long word") << QString(41, u'a') << false;
        QTest::newRow("empty") << QString() << false;
        QTest::newRow("list with a name") << u"image,scan.png"_s << false;
    }

    void valueRule()
    {
        QFETCH(QString, value);
        QFETCH(bool, kept);
        QCOMPARE(DiagnosticsVocabulary::isValue(value), kept);
        int withheld = 0;
        const DiagnosticsParameters sanitized
            = DiagnosticsVocabulary::sanitized({ { u"source"_s, value }, { u"Bad Key"_s, u"1"_s } }, &withheld);
        QCOMPARE(sanitized.value(u"source"_s), kept ? value : u"withheld"_s);
        QVERIFY(!sanitized.contains(u"Bad Key"_s));
        QCOMPARE(withheld, kept ? 1 : 2);
    }

    // What a caller passes by mistake never reaches the file: not in the
    // parameters, not as an area, a reason, a breadcrumb or an event name.
    void recordsHoldNoNameOrPath()
    {
        QTemporaryDir directory;
        Diagnostics diagnostics(directory.path());
        const QString path = u"/home/ada/Scans/Passport Ada.jpg"_s;
        diagnostics.setCommonParameters([&] { return DiagnosticsParameters { { u"app_version"_s, u"1.2.0"_s } }; });
        diagnostics.reportFailure(u"monitoring_batch"_s, path, { { u"file"_s, path } });
        diagnostics.reportWarning(path, u"timeout"_s);
        diagnostics.addBreadcrumb(path, u"ui.navigation"_s, { { u"to_tab"_s, u"about"_s } });
        diagnostics.track(u"ai_rename_files_added"_s, { { u"source"_s, u"dropzone"_s }, { u"name"_s, path } });
        diagnostics.track(path);

        QFile file(diagnostics.filePath());
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray written = file.readAll();
        QVERIFY2(!written.contains("Passport") && !written.contains("/home"), written.constData());

        const QList<DiagnosticsEntry> entries = Diagnostics::readEntries(directory.path());
        QCOMPARE(entries.size(), 4);
        QCOMPARE(entries[0].kind, DiagnosticsEntry::Kind::Failure);
        QCOMPARE(entries[0].name, u"processing_failure:monitoring_batch:unknown"_s);
        QCOMPARE(entries[0].parameters.value(u"failure_kind"_s), u"monitoring_batch"_s);
        // Retries are breadcrumbs, not failures.
        QCOMPARE(entries[1].kind, DiagnosticsEntry::Kind::Warning);
        QCOMPARE(entries[1].category, u"processing.warning"_s);
        QCOMPARE(entries[2].name, u"unknown"_s);
        QCOMPARE(entries[3].name, u"ai_rename_files_added"_s);
        // The caller's parameters stand beside the common ones.
        QCOMPARE(entries[3].parameters.value(u"app_version"_s), u"1.2.0"_s);
        QCOMPARE(entries[3].parameters.value(u"source"_s), u"dropzone"_s);
    }

    // The file stays small however long the program runs, and a report read
    // just after a rotation still has the records before it.
    void rotatesKeepingOneEarlierFile()
    {
        QTemporaryDir directory;
        Diagnostics diagnostics(directory.path());
        int written = 0;
        while (!QFile::exists(diagnostics.filePath() + u".1"_s)) {
            diagnostics.reportFailure(
                u"ai_rename_rename"_s, u"permission_denied"_s, { { u"n"_s, QString::number(written) } });
            ++written;
        }
        for (int i = 0; i < written; ++i)
            diagnostics.reportFailure(
                u"ai_rename_rename"_s, u"permission_denied"_s, { { u"n"_s, QString::number(written + i) } });
        QVERIFY(QFileInfo(diagnostics.filePath()).size() <= Diagnostics::MaxFileBytes);
        QVERIFY(QFileInfo(diagnostics.filePath() + u".1"_s).size() <= Diagnostics::MaxFileBytes);
        const QList<DiagnosticsEntry> entries = Diagnostics::readEntries(directory.path());
        QVERIFY(entries.size() >= written);
        QCOMPARE(entries.last().parameters.value(u"n"_s), QString::number(2 * written - 1));
        for (qsizetype i = 1; i < entries.size(); ++i)
            QCOMPARE(entries[i].parameters.value(u"n"_s).toInt(), entries[i - 1].parameters.value(u"n"_s).toInt() + 1);
    }
};

} // namespace Nomly

QTEST_GUILESS_MAIN(Nomly::DiagnosticsTest)
#include "diagnosticstest.moc"
