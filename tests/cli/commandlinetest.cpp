// Runs the real `nomly` binary against real files in a temporary folder.

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

struct Run
{
    int exitCode = -1;
    QString out;
    QString err;
};

Run runNomly(const QStringList &arguments)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"TZ"_s, u"UTC"_s);
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(NOMLY_BINARY), arguments);
    if (!process.waitForFinished(60000))
        return {};
    return { process.exitCode(),
             QString::fromUtf8(process.readAllStandardOutput()),
             QString::fromUtf8(process.readAllStandardError()) };
}

void touch(const QString &path)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
}

} // namespace

class CommandLineTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void fields();
    void preview_data();
    void preview();
    void usageErrors_data();
    void usageErrors();
    void everyCommandHasHelp_data();
    void everyCommandHasHelp();

private:
    QTemporaryDir m_dir;

    QString path(const QString &name) const { return m_dir.filePath(name); }
};

void CommandLineTest::initTestCase()
{
    QVERIFY(m_dir.isValid());
    touch(path(u"file.txt"_s));
    touch(path(u"scan.pdf"_s));
    touch(path(u"notes"_s));
}

// One field a line, or one JSON object each with its group and aliases.
void CommandLineTest::fields()
{
    const Run plain = runNomly({ u"fields"_s });
    QCOMPARE(plain.exitCode, 0);
    const QStringList lines = plain.out.split(u'\n', Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), 145);
    QCOMPARE(lines.first(), u"{title}\tTitle\tcore"_s);

    const Run json = runNomly({ u"fields"_s, u"--json"_s });
    QCOMPARE(json.exitCode, 0);
    const QJsonArray fields = QJsonDocument::fromJson(json.out.toUtf8()).array();
    QCOMPARE(fields.size(), lines.size());
    const QJsonObject vendor = fields.at(58).toObject();
    QCOMPARE(vendor.value(u"token"_s).toString(), u"{vendor}"_s);
    QCOMPARE(vendor.value(u"group"_s).toString(), u"Finance"_s);
    QCOMPARE(vendor.value(u"aliases"_s).toArray().size(), 3);
}

// `options` is split at "|"; every run is on 10 May 2026.
void CommandLineTest::preview_data()
{
    QTest::addColumn<QString>("options");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("expected");

    QTest::newRow("acronym-survives-title-case")
        << u"--title|NASA launch plan"_s << u"file.txt"_s << u"NASA Launch Plan.txt"_s;
    QTest::newRow("date-then-title") << u"--pattern|{date} {title}|--title|quarterly report"_s << u"file.txt"_s
                                     << u"2026-05-10 Quarterly Report.txt"_s;
    QTest::newRow("no-extension-keeps-none")
        << u"--title|meeting notes|--style|kebab"_s << u"notes"_s << u"meeting-notes"_s;
    QTest::newRow("detected-fields-and-date-format")
        << u"--pattern|{invoice_date}_{vendor}_{invoice_number}|--style|snake|--vendor|Acme Tools|"
           "--field|receipt date=03/04/2026|--field|invoice_number=INV-7|--date-format|dot"_s
        << u"scan.pdf"_s << u"03.04.2026_acme_tools_INV-7.pdf"_s;
    QTest::newRow("block-separator-joins-every-block")
        << u"--pattern|{year} {month}-{title}|--block-separator|underscore|--title|tax return"_s << u"file.txt"_s
        << u"2026_05_Tax Return.txt"_s;
}

void CommandLineTest::preview()
{
    QFETCH(QString, options);
    QFETCH(QString, file);
    QFETCH(QString, expected);

    const Run run = runNomly(QStringList { u"preview"_s, u"--now"_s, u"2026-05-10T12:00:00Z"_s } + options.split(u'|')
                             + QStringList { path(file) });
    QCOMPARE(run.err, QString());
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.out, expected + u'\n');
}

void CommandLineTest::usageErrors_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("message");

    const QString file = path(u"file.txt"_s);
    QTest::newRow("folder-not-file") << QStringList { u"preview"_s, m_dir.path() } << u"is a folder"_s;
    QTest::newRow("no-files") << QStringList { u"preview"_s } << u"no files given"_s;
    QTest::newRow("unknown-style") << QStringList { u"preview"_s, u"--style"_s, u"shouty"_s, file }
                                   << u"unknown style 'shouty'"_s;
    QTest::newRow("unknown-separator") << QStringList { u"preview"_s, u"--block-separator"_s, u"_"_s, file }
                                       << u"unknown separator '_' for --block-separator"_s;
    QTest::newRow("field-without-name") << QStringList { u"preview"_s, u"--field"_s, u"=x"_s, file }
                                        << u"malformed --field '=x'"_s;
    QTest::newRow("bad-now") << QStringList { u"preview"_s, u"--now"_s, u"yesterday"_s, file }
                             << u"malformed --now 'yesterday'"_s;
    QTest::newRow("unknown-option") << QStringList { u"preview"_s, u"--frobnicate"_s, file } << u"frobnicate"_s;
    QTest::newRow("unknown-command") << QStringList { u"rename-everything"_s } << u"unknown command"_s;
    QTest::newRow("fields-takes-no-arguments") << QStringList { u"fields"_s, u"x"_s } << u"takes no arguments"_s;
}

void CommandLineTest::usageErrors()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, message);

    const Run run = runNomly(arguments);
    QCOMPARE(run.exitCode, 2);
    QCOMPARE(run.out, QString());
    QVERIFY2(run.err.contains(message), qPrintable(run.err));
}

void CommandLineTest::everyCommandHasHelp_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("mentions");

    QTest::newRow("top-level") << QStringList { u"--help"_s } << u"preview"_s;
    QTest::newRow("fields") << QStringList { u"fields"_s, u"--help"_s } << u"--json"_s;
    QTest::newRow("preview") << QStringList { u"preview"_s, u"--help"_s } << u"--word-separator"_s;
}

void CommandLineTest::everyCommandHasHelp()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, mentions);

    const Run run = runNomly(arguments);
    QCOMPARE(run.exitCode, 0);
    QVERIFY2(run.out.contains(mentions), qPrintable(run.out));
}

QTEST_GUILESS_MAIN(CommandLineTest)
#include "commandlinetest.moc"
