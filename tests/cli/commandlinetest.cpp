// Runs the real `nomly` binary against real files in a temporary folder.

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

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
    environment.insert(QStringLiteral("TZ"), QStringLiteral("UTC"));
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
    void fieldsListsTheCatalogue();
    void fieldsJson();
    void preview_data();
    void preview();
    void previewNumbersATakenName();
    void previewJson();
    void previewTouchesNothing();
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
    touch(path(QStringLiteral("file.txt")));
    touch(path(QStringLiteral("scan.pdf")));
    touch(path(QStringLiteral("notes")));
}

void CommandLineTest::fieldsListsTheCatalogue()
{
    const Run run = runNomly({ QStringLiteral("fields") });
    QCOMPARE(run.exitCode, 0);
    const QStringList lines = run.out.split(u'\n', Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), 145);
    QCOMPARE(lines.first(), QStringLiteral("{title}\tTitle\tcore"));
    QCOMPARE(lines.last(), QStringLiteral("{thread_name}\tThread Name\tdetected"));
}

void CommandLineTest::fieldsJson()
{
    const Run run = runNomly({ QStringLiteral("fields"), QStringLiteral("--json") });
    QCOMPARE(run.exitCode, 0);
    const QJsonArray fields = QJsonDocument::fromJson(run.out.toUtf8()).array();
    QCOMPARE(fields.size(), 145);
    const QJsonObject vendor = fields.at(58).toObject();
    QCOMPARE(vendor.value(QStringLiteral("token")).toString(), QStringLiteral("{vendor}"));
    QCOMPARE(vendor.value(QStringLiteral("group")).toString(), QStringLiteral("Finance"));
    QCOMPARE(vendor.value(QStringLiteral("aliases")).toArray().size(), 3);
}

void CommandLineTest::preview_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("expected");

    const QStringList now { QStringLiteral("--now"), QStringLiteral("2026-05-10T12:00:00Z") };
    QTest::newRow("acronym-survives-title-case")
        << (now + QStringList { QStringLiteral("--title"), QStringLiteral("NASA launch plan") })
        << QStringLiteral("file.txt") << QStringLiteral("NASA Launch Plan.txt");
    QTest::newRow("date-then-title") << (now
                                         + QStringList { QStringLiteral("--pattern"),
                                                         QStringLiteral("{date} {title}"),
                                                         QStringLiteral("--title"),
                                                         QStringLiteral("quarterly report") })
                                     << QStringLiteral("file.txt") << QStringLiteral("2026-05-10 Quarterly Report.txt");
    QTest::newRow("no-extension-keeps-none") << (now
                                                 + QStringList { QStringLiteral("--title"),
                                                                 QStringLiteral("meeting notes"),
                                                                 QStringLiteral("--style"),
                                                                 QStringLiteral("kebab") })
                                             << QStringLiteral("notes") << QStringLiteral("meeting-notes");
    QTest::newRow("detected-fields-and-date-format")
        << (now
            + QStringList { QStringLiteral("--pattern"),
                            QStringLiteral("{invoice_date}_{vendor}_{invoice_number}"),
                            QStringLiteral("--style"),
                            QStringLiteral("snake"),
                            QStringLiteral("--vendor"),
                            QStringLiteral("Acme Tools"),
                            QStringLiteral("--field"),
                            QStringLiteral("receipt date=03/04/2026"),
                            QStringLiteral("--field"),
                            QStringLiteral("invoice_number=INV-7"),
                            QStringLiteral("--date-format"),
                            QStringLiteral("dot") })
        << QStringLiteral("scan.pdf") << QStringLiteral("03.04.2026_acme_tools_INV-7.pdf");
    QTest::newRow("missing-title-is-untitled") << now << QStringLiteral("scan.pdf") << QStringLiteral("Untitled.pdf");
    QTest::newRow("pascal-ignores-word-separator")
        << (now
            + QStringList { QStringLiteral("--pattern"),
                            QStringLiteral("{year} {title}"),
                            QStringLiteral("--word-separator"),
                            QStringLiteral("none"),
                            QStringLiteral("--style"),
                            QStringLiteral("pascal"),
                            QStringLiteral("--title"),
                            QStringLiteral("tax return") })
        << QStringLiteral("file.txt") << QStringLiteral("2026 TaxReturn.txt");
    QTest::newRow("block-separator-joins-every-block")
        << (now
            + QStringList { QStringLiteral("--pattern"),
                            QStringLiteral("{year} {month}-{title}"),
                            QStringLiteral("--block-separator"),
                            QStringLiteral("underscore"),
                            QStringLiteral("--title"),
                            QStringLiteral("tax return") })
        << QStringLiteral("file.txt") << QStringLiteral("2026_05_Tax Return.txt");
}

void CommandLineTest::preview()
{
    QFETCH(QStringList, options);
    QFETCH(QString, file);
    QFETCH(QString, expected);

    const Run run = runNomly(QStringList { QStringLiteral("preview") } + options + QStringList { path(file) });
    QCOMPARE(run.err, QString());
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.out, expected + u'\n');
}

void CommandLineTest::previewNumbersATakenName()
{
    QTemporaryDir dir;
    touch(dir.filePath(QStringLiteral("a.txt")));
    touch(dir.filePath(QStringLiteral("a_1.txt")));
    touch(dir.filePath(QStringLiteral("other.txt")));
    const Run run = runNomly({ QStringLiteral("preview"),
                               QStringLiteral("--style"),
                               QStringLiteral("lower"),
                               QStringLiteral("--title"),
                               QStringLiteral("a"),
                               dir.filePath(QStringLiteral("other.txt")),
                               dir.filePath(QStringLiteral("a.txt")) });
    QCOMPARE(run.exitCode, 0);
    // The file already called a.txt keeps its name.
    QCOMPARE(run.out, QStringLiteral("a_2.txt\na.txt\n"));
}

void CommandLineTest::previewJson()
{
    const Run run = runNomly({ QStringLiteral("preview"),
                               QStringLiteral("--json"),
                               QStringLiteral("--title"),
                               QStringLiteral("Budget"),
                               path(QStringLiteral("scan.pdf")) });
    QCOMPARE(run.exitCode, 0);
    const QJsonArray results = QJsonDocument::fromJson(run.out.toUtf8()).array();
    QCOMPARE(results.size(), 1);
    const QJsonObject result = results.first().toObject();
    QCOMPARE(result.value(QStringLiteral("name")).toString(), QStringLiteral("Budget.pdf"));
    QCOMPARE(result.value(QStringLiteral("file")).toString(), path(QStringLiteral("scan.pdf")));
    QCOMPARE(result.value(QStringLiteral("destination")).toString(), path(QStringLiteral("Budget.pdf")));
}

void CommandLineTest::previewTouchesNothing()
{
    const QStringList before = QDir(m_dir.path()).entryList(QDir::Files, QDir::Name);
    const Run run = runNomly({ QStringLiteral("preview"),
                               QStringLiteral("--title"),
                               QStringLiteral("x"),
                               path(QStringLiteral("file.txt")),
                               path(QStringLiteral("scan.pdf")) });
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(QDir(m_dir.path()).entryList(QDir::Files, QDir::Name), before);
}

void CommandLineTest::usageErrors_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("message");

    const QString file = path(QStringLiteral("file.txt"));
    QTest::newRow("missing-file") << QStringList { QStringLiteral("preview"), path(QStringLiteral("nope.txt")) }
                                  << QStringLiteral("no such file");
    QTest::newRow("folder-not-file") << QStringList { QStringLiteral("preview"), m_dir.path() }
                                     << QStringLiteral("is a folder");
    QTest::newRow("no-files") << QStringList { QStringLiteral("preview") } << QStringLiteral("no files given");
    QTest::newRow("unknown-style") << QStringList {
        QStringLiteral("preview"), QStringLiteral("--style"), QStringLiteral("shouty"), file
    } << QStringLiteral("unknown style 'shouty'");
    QTest::newRow("unknown-word-separator")
        << QStringList { QStringLiteral("preview"), QStringLiteral("--word-separator"), QStringLiteral("comma"), file }
        << QStringLiteral("unknown separator 'comma' for --word-separator");
    QTest::newRow("unknown-block-separator")
        << QStringList { QStringLiteral("preview"), QStringLiteral("--block-separator"), QStringLiteral("_"), file }
        << QStringLiteral("unknown separator '_' for --block-separator");
    QTest::newRow("field-without-equals")
        << QStringList { QStringLiteral("preview"), QStringLiteral("--field"), QStringLiteral("vendor"), file }
        << QStringLiteral("malformed --field 'vendor'");
    QTest::newRow("field-without-name") << QStringList {
        QStringLiteral("preview"), QStringLiteral("--field"), QStringLiteral("=x"), file
    } << QStringLiteral("malformed --field '=x'");
    QTest::newRow("bad-now") << QStringList {
        QStringLiteral("preview"), QStringLiteral("--now"), QStringLiteral("yesterday"), file
    } << QStringLiteral("malformed --now 'yesterday'");
    QTest::newRow("unknown-option") << QStringList { QStringLiteral("preview"), QStringLiteral("--frobnicate"), file }
                                    << QStringLiteral("frobnicate");
    QTest::newRow("unknown-command") << QStringList { QStringLiteral("rename-everything") }
                                     << QStringLiteral("unknown command");
    QTest::newRow("fields-takes-no-arguments")
        << QStringList { QStringLiteral("fields"), QStringLiteral("x") } << QStringLiteral("takes no arguments");
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
    QTest::newRow("top-level") << QStringList { QStringLiteral("--help") } << QStringLiteral("preview");
    QTest::newRow("fields") << QStringList { QStringLiteral("fields"), QStringLiteral("--help") }
                            << QStringLiteral("--json");
    QTest::newRow("preview") << QStringList { QStringLiteral("preview"), QStringLiteral("--help") }
                             << QStringLiteral("--word-separator");
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
