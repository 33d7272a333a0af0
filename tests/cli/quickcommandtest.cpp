// Runs the real `nomly quick`, the entry of the file-manager actions, against
// real files and a real profile; the AI is a provider peer on loopback
// reached through the backend built into nomly. With no notification server
// on the (absent) session bus, the notification is the line on stderr.

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>
#include <filesystem>
#include <memory>

#include "cliprocess.h"
#include "filesystemfixtures.h"
#include "providerpeer.h"

using namespace Qt::StringLiterals;
using namespace Nomly::Test;

class QuickCommandTest : public QObject
{
    Q_OBJECT

private slots:

    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
        QVERIFY(QDir(m_dir->path()).mkpath(u"files"_s));
        m_environment = cliEnvironment(m_dir->filePath(u"profile"_s));
        m_environment.remove(u"NOMLY_BACKEND_URL"_s);
        m_peer = std::make_unique<ProviderPeer>(ProviderPeer::Dialect::ChatCompletions);
        m_environment.insert(u"NOMLY_OPENAI_BASE_URL"_s, m_peer->baseUrl());
        QCOMPARE(nomly({ u"config"_s, u"set"_s, u"aiProvider"_s, u"openai"_s }).exitCode, 0);
        QCOMPARE(nomly({ u"config"_s, u"set"_s, u"byokEnabled"_s, u"true"_s }).exitCode, 0);
        QCOMPARE(nomly({ u"keys"_s, u"set"_s, u"openai"_s }, "sk-quick-1\n").exitCode, 0);
        m_peer->received.clear(); // the key's check with the provider
    }

    void tellsTheOutcome_data()
    {
        QTest::addColumn<bool>("providerFails");
        QTest::addColumn<QStringList>("files"); // "-name" is given but never created
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("notification");
        QTest::addColumn<int>("records");

        QTest::newRow("all renamed") << false << QStringList { u"a.txt"_s, u"b.md"_s } << 0
                                     << u"Rename Complete: Successfully renamed 2 files."_s << 2;
        QTest::newRow("one vanished") << false << QStringList { u"a.txt"_s, u"-gone.txt"_s } << 1
                                      << u"Rename Complete: Rename completed with errors. Success: 1, Failed: 1."_s
                                      << 1;
        QTest::newRow("unsupported ones are left out")
            << false << QStringList { u"a.txt"_s, u"b.md"_s, u"c.unknownext"_s } << 0
            << u"Rename Complete: Successfully renamed 2 files."_s << 2;
        QTest::newRow("provider refuses")
            << true << QStringList { u"a.txt"_s, u"b.md"_s } << 1
            << u"Rename Failed: Invalid OpenAI API key. Please double-check and try again."_s << 0;
        QTest::newRow("nothing selected")
            << false << QStringList {} << 1 << u"No Files Selected: Select files in your file manager and try again."_s
            << 0;
        QTest::newRow("nothing supported")
            << false << QStringList { u"c.unknownext"_s } << 1
            << u"No Supported Files Found: Select supported files in your file manager and try again."_s << 0;
    }

    void tellsTheOutcome()
    {
        QFETCH(bool, providerFails);
        QFETCH(QStringList, files);
        QFETCH(int, exitCode);
        QFETCH(QString, notification);
        QFETCH(int, records);
        if (providerFails)
            m_peer->fail(401, R"({"error":{"message":"Incorrect API key provided","code":"invalid_api_key"}})"_ba);
        else
            m_peer->answer(u"{\"title\":\"Planning Notes\"}"_s);
        QCOMPARE(nomly({ u"consent"_s, u"--agree"_s }).exitCode, 0);

        QStringList arguments { u"quick"_s };
        int sentence = 0;
        for (const QString &file : std::as_const(files)) {
            if (file.startsWith(u'-')) {
                arguments.append(m_dir->filePath(u"files/"_s + file.mid(1)));
                continue;
            }
            writeFile(file,
                      "Minutes of planning meeting " + QByteArray::number(++sentence)
                          + " with the product team about the roadmap.");
            arguments.append(file);
        }
        const CliRun run = nomly(arguments);
        QCOMPARE(run.exitCode, exitCode);
        QVERIFY2(run.err.contains(notification), qPrintable(run.err));

        const QJsonArray history = QJsonDocument::fromJson(nomly({ u"history"_s, u"--json"_s }).out.toUtf8()).array();
        QCOMPARE(history.size(), records);
        for (const QJsonValue &record : history)
            QCOMPARE(record.toObject().value(u"source"_s).toString(), u"finderService"_s);
    }

    // One file given twice and through a link is analysed and renamed once;
    // the link follows the file to its new name instead of dangling.
    void oneFileOnceWhateverTheWay()
    {
        m_peer->answer(u"{\"title\":\"Planning Notes\"}"_s);
        QCOMPARE(nomly({ u"consent"_s, u"--agree"_s }).exitCode, 0);
        writeFile(u"q.txt"_s, "Minutes of the planning meeting with the product team about the roadmap.");
        QVERIFY(QFile::link(u"q.txt"_s, m_dir->filePath(u"files/link-to-q.txt"_s)));

        const CliRun run = nomly({ u"quick"_s, u"q.txt"_s, u"q.txt"_s, u"link-to-q.txt"_s });

        QVERIFY2(run.exitCode == 0, qPrintable(run.err));
        QVERIFY2(run.err.contains(u"Successfully renamed 1 files."_s), qPrintable(run.err));
        QCOMPARE(m_peer->received.size(), 1);
        const QString link = m_dir->filePath(u"files/link-to-q.txt"_s);
        QCOMPARE(QFileInfo(link).symLinkTarget(), m_dir->filePath(u"files/Planning Notes.txt"_s));
        QCOMPARE(std::filesystem::read_symlink(QFile::encodeName(link).toStdString()).string(),
                 "Planning Notes.txt"); // still relative
        QCOMPARE(QDir(m_dir->filePath(u"files"_s)).entryList(QDir::Files),
                 (QStringList { u"link-to-q.txt"_s, u"Planning Notes.txt"_s }));
    }

    void withoutConsentNothingIsSent()
    {
        m_peer->answer(u"{\"title\":\"Planning Notes\"}"_s);
        writeFile(u"a.txt"_s, "Minutes of the planning meeting with the product team about the roadmap.");
        const CliRun run = nomly({ u"quick"_s, u"a.txt"_s });
        QCOMPARE(run.exitCode, 2);
        QVERIFY(run.err.contains(u"AI processing is disabled until you review and accept data processing."_s));
        QVERIFY(m_peer->received.isEmpty());
        QVERIFY(QFile::exists(m_dir->filePath(u"files/a.txt"_s)));
    }

private:
    CliRun nomly(const QStringList &arguments, const QByteArray &input = {})
    {
        return runCliServing(
            QStringLiteral(NOMLY_BINARY), arguments, m_environment, m_dir->filePath(u"files"_s), input);
    }

    void writeFile(const QString &name, const QByteArray &bytes)
    {
        QVERIFY(Nomly::Test::writeFile(m_dir->filePath(u"files/"_s + name), bytes));
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<ProviderPeer> m_peer;
    QProcessEnvironment m_environment;
};

QTEST_GUILESS_MAIN(QuickCommandTest)
#include "quickcommandtest.moc"
