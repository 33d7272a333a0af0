// Runs the real `nomly consent`, `analyze`, `rename` and `undo` against real
// files and a real profile, with the AI answered by peers on loopback that
// speak the providers' and Ollama's own protocols.

#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <csignal>
#include <memory>

#include "cliprocess.h"
#include "filesystemfixtures.h"
#include "loopbackresponder.h"
#include "ollamapeer.h"
#include "providerpeer.h"
#include "samplepdfs.h"

using namespace Qt::StringLiterals;
using namespace Nomly::Test;

namespace {

QString answerJson(const QString &title)
{
    return QString::fromUtf8(QJsonDocument(QJsonObject { { u"title"_s, title },
                                                         { u"description"_s, u"A sample file"_s },
                                                         { u"tags"_s, QJsonArray { u"sample"_s } },
                                                         { u"type"_s, u"document"_s } })
                                 .toJson(QJsonDocument::Compact));
}

QStringList fileNames(const QString &folder)
{
    return QDir(folder).entryList(QDir::Files, QDir::Name);
}

} // namespace

class AICommandsTest : public QObject
{
    Q_OBJECT

private slots:

    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
        QVERIFY(QDir(m_dir->path()).mkpath(u"files"_s));
        m_environment = cliEnvironment(m_dir->filePath(u"profile"_s));
        // Any provider the built-in backend might reach stays on loopback.
        for (const char *name :
             { "NOMLY_OPENAI_BASE_URL", "NOMLY_GEMINI_BASE_URL", "NOMLY_ANTHROPIC_BASE_URL", "NOMLY_GROQ_BASE_URL" })
            m_environment.insert(QString::fromLatin1(name), u"http://127.0.0.1:9"_s);
        m_environment.remove(u"NOMLY_BACKEND_URL"_s);
    }

    void withoutConsentNothingIsSent_data()
    {
        QTest::addColumn<QStringList>("command");
        QTest::newRow("rename, local") << QStringList { u"rename"_s, u"--mode"_s, u"local"_s };
        QTest::newRow("analyze, local") << QStringList { u"analyze"_s, u"--mode"_s, u"local"_s };
    }

    void withoutConsentNothingIsSent()
    {
        QFETCH(QStringList, command);
        OllamaPeer ollama;
        ollama.answerAlways(OllamaPeer::reply(answerJson(u"Quarterly Report"_s)));
        QVERIFY(nomly({ u"config"_s, u"set"_s, u"localAIEndpoint"_s, ollama.endpoint() }).exitCode == 0);
        writeFile(u"notes.txt"_s, "Minutes of the quarterly planning meeting with the product team.");

        const CliRun run = nomly(command << u"notes.txt"_s);
        QCOMPARE(run.exitCode, 2);
        QVERIFY2(run.err.contains(u"AI processing is disabled until you review and accept data processing."_s),
                 qPrintable(run.err));
        QVERIFY(run.err.contains(u"nomly consent --agree"_s));
        QVERIFY(ollama.received.isEmpty());
        QCOMPARE(fileNames(m_dir->filePath(u"files"_s)), QStringList { u"notes.txt"_s });
    }

    void consentIsRecordedAndWithdrawn()
    {
        CliRun run = nomly({ u"consent"_s });
        QCOMPARE(run.exitCode, 0);
        QVERIFY(run.out.contains(u"How Nomly Uses Your Data"_s));
        QVERIFY(run.out.contains(u"You have not agreed yet"_s));
        QCOMPARE(nomly({ u"consent"_s, u"--agree"_s }).exitCode, 0);
        QVERIFY(nomly({ u"consent"_s }).out.contains(u"You have agreed"_s));
        QCOMPARE(nomly({ u"consent"_s, u"--withdraw"_s }).exitCode, 0);
        QVERIFY(nomly({ u"consent"_s }).out.contains(u"You have not agreed yet"_s));
        QCOMPARE(nomly({ u"consent"_s, u"--agree"_s, u"--withdraw"_s }).exitCode, 2);

        // A change that cannot be stored is a failure, and nothing changes.
        QCOMPARE(nomly({ u"consent"_s, u"--agree"_s }).exitCode, 0);
        {
            LockedFolder locked(m_dir->filePath(u"profile/config/Nomly"_s));
            if (!locked.isLocked())
                QSKIP("this file system cannot lock a folder");
            run = nomly({ u"consent"_s, u"--withdraw"_s });
        }
        QCOMPARE(run.exitCode, 1);
        QVERIFY2(run.err.contains(u"could not be stored, so AI processing is still allowed"_s), qPrintable(run.err));
        QVERIFY(nomly({ u"consent"_s }).out.contains(u"You have agreed"_s));
    }

    void localRouteKeepsTwoInFlightWithSmallPictures()
    {
        OllamaPeer ollama;
        ollama.answerWith([](const OllamaPeer::Request &request) {
            // A little delay makes overlapping calls visible to the peer.
            const bool picture = request.json().value(u"messages"_s).toArray().first().toObject().contains(u"images"_s);
            return OllamaPeer::reply(answerJson(picture ? u"Harbour Photo"_s : u"Meeting Notes"_s),
                                     std::chrono::milliseconds(150));
        });
        QVERIFY(nomly({ u"config"_s, u"set"_s, u"localAIEndpoint"_s, ollama.endpoint() }).exitCode == 0);
        QVERIFY(nomly({ u"config"_s, u"set"_s, u"localAIModel"_s, u"llava"_s }).exitCode == 0);
        QCOMPARE(nomly({ u"consent"_s, u"--agree"_s }).exitCode, 0);

        QStringList files;
        for (int i = 0; i < 5; ++i) {
            const QString name = u"note%1.txt"_s.arg(i);
            writeFile(name,
                      QByteArray("Minutes of planning meeting number ") + QByteArray::number(i)
                          + " with the product team about the roadmap.");
            files.append(name);
        }
        QImage picture(1600, 1200, QImage::Format_RGB32);
        picture.fill(Qt::darkCyan);
        QVERIFY(picture.save(m_dir->filePath(u"files/photo.jpg"_s), "JPEG"));
        files.append(u"photo.jpg"_s);

        const CliRun run = nomly(QStringList { u"analyze"_s, u"--json"_s, u"--mode"_s, u"local"_s } + files);
        QVERIFY2(run.exitCode == 0, qPrintable(run.err + run.out));
        QCOMPARE(ollama.chatRequests().size(), 6);
        QVERIFY(ollama.maxInFlight() >= 1);
        QVERIFY2(ollama.maxInFlight() <= 2, qPrintable(QString::number(ollama.maxInFlight())));

        const QJsonObject output = QJsonDocument::fromJson(run.out.toUtf8()).object();
        QCOMPARE(output.value(u"route"_s).toString(), u"local (ollama:llava)"_s);
        const QJsonArray entries = output.value(u"files"_s).toArray();
        QCOMPARE(entries.size(), 6);
        QCOMPARE(entries.at(5).toObject().value(u"analysis"_s).toObject().value(u"title"_s).toString(),
                 u"Harbour Photo"_s);

        int pictures = 0;
        for (const OllamaPeer::Request &request : ollama.chatRequests()) {
            const QJsonObject message = request.json().value(u"messages"_s).toArray().first().toObject();
            for (const QJsonValue &image : message.value(u"images"_s).toArray()) {
                const QImage sent = QImage::fromData(QByteArray::fromBase64(image.toString().toLatin1()), "JPEG");
                QCOMPARE(std::max(sent.width(), sent.height()), 384);
                ++pictures;
            }
        }
        QCOMPARE(pictures, 1);
        // Nothing was renamed.
        QCOMPARE(fileNames(m_dir->filePath(u"files"_s)).size(), 6);
    }

    // With the user's own OpenAI key, the built-in backend calls the provider
    // (here a peer on loopback), the file takes the title's name, the rename
    // is recorded and undone. Every byte the provider gets is checked: a
    // bounded request, the key only in its header, no path of this machine.
    void renamesWithOwnOpenAIKeyAndUndoes()
    {
        ProviderPeer openai(ProviderPeer::Dialect::ChatCompletions);
        openai.answer(answerJson(u"Acme Invoice 2041"_s));
        m_environment.insert(u"NOMLY_OPENAI_BASE_URL"_s, openai.baseUrl());
        setUpOwnKey(openai);
        QVERIFY(writeTextPdf(m_dir->filePath(u"files/invoice.pdf"_s),
                             { u"INVOICE 2041\nAcme Corporation\nTotal due: 120.00 EUR"_s }));
        QFile original(m_dir->filePath(u"files/invoice.pdf"_s));
        QVERIFY(original.open(QIODevice::ReadOnly));
        const QByteArray pdfBytes = original.readAll();
        original.close();

        const CliRun before = nomly({ u"rename"_s, u"invoice.pdf"_s });
        QCOMPARE(before.exitCode, 2);
        QVERIFY(openai.received.isEmpty());

        QCOMPARE(nomly({ u"consent"_s, u"--agree"_s }).exitCode, 0);
        const CliRun run = nomly({ u"rename"_s, u"invoice.pdf"_s });
        QVERIFY2(run.exitCode == 0, qPrintable(run.err + run.out));
        QCOMPARE(run.out.trimmed(), u"invoice.pdf -> Acme Invoice 2041.pdf\nRenamed 1 of 1 files."_s);
        QCOMPARE(fileNames(m_dir->filePath(u"files"_s)), QStringList { u"Acme Invoice 2041.pdf"_s });

        QCOMPARE(openai.received.size(), 1);
        const ProviderPeer::Request &sent = openai.received.first();
        QCOMPARE(sent.header("authorization"), QByteArray("Bearer sk-test-4242"));
        QVERIFY(!sent.body.contains("sk-test-4242"));
        QVERIFY(!sent.body.contains(m_dir->path().toUtf8()));
        QVERIFY(!sent.body.contains(pdfBytes.toBase64()));
        QVERIFY(sent.body.size() < 2 * 1024 * 1024);
        QVERIFY(!run.err.contains(u"sk-test-4242"_s) && !run.out.contains(u"sk-test-4242"_s));

        const CliRun history = nomly({ u"history"_s, u"--json"_s });
        QVERIFY(history.out.contains(u"Acme Invoice 2041.pdf"_s));
        QCOMPARE(nomly({ u"undo"_s, u"--last"_s }).exitCode, 0);
        QCOMPARE(fileNames(m_dir->filePath(u"files"_s)), QStringList { u"invoice.pdf"_s });
    }

    void renameTakesFolders_data()
    {
        QTest::addColumn<bool>("dryRun");
        QTest::addColumn<QStringList>("folder");
        QTest::addColumn<QStringList>("subfolder");

        QTest::newRow("renames")
            << false << QStringList { u".hidden.txt"_s, u"Field Notes.txt"_s, u"Field Notes_1.txt"_s, u"d.xyz"_s }
            << QStringList { u"Field Notes.txt"_s };
        QTest::newRow("dry-run-moves-nothing")
            << true << QStringList { u".hidden.txt"_s, u"a.txt"_s, u"b.txt"_s, u"d.xyz"_s }
            << QStringList { u"c.txt"_s };
    }

    // A folder's supported files, its subfolders' too, hidden ones left out;
    // two files given one name in one folder get it and its first suffix.
    void renameTakesFolders()
    {
        QFETCH(bool, dryRun);
        QFETCH(QStringList, folder);
        QFETCH(QStringList, subfolder);

        OllamaPeer ollama;
        ollama.answerAlways(OllamaPeer::reply(answerJson(u"Field Notes"_s)));
        QVERIFY(nomly({ u"config"_s, u"set"_s, u"localAIEndpoint"_s, ollama.endpoint() }).exitCode == 0);
        QCOMPARE(nomly({ u"consent"_s, u"--agree"_s }).exitCode, 0);
        QVERIFY(QDir(m_dir->filePath(u"files"_s)).mkpath(u"batch/sub"_s));
        for (const QString &name : { u"batch/a.txt"_s, u"batch/b.txt"_s, u"batch/sub/c.txt"_s, u"batch/.hidden.txt"_s })
            writeFile(name, "Notes from the field trip to the northern coast, day " + name.toUtf8());
        writeFile(u"batch/d.xyz"_s, "not a kind anything reads");

        QStringList arguments { u"rename"_s, u"--mode"_s, u"local"_s, u"batch"_s };
        if (dryRun)
            arguments.insert(1, u"--dry-run"_s);
        const CliRun run = nomly(arguments);
        QVERIFY2(run.exitCode == 0, qPrintable(run.err + run.out));
        QVERIFY2(run.out.contains(u"a.txt -> Field Notes.txt"_s), qPrintable(run.out));
        QVERIFY2(run.out.contains(u"b.txt -> Field Notes_1.txt"_s), qPrintable(run.out));
        QVERIFY2(run.out.contains(dryRun ? u"Proposed names for 3 of 3 files; nothing was moved."_s
                                         : u"Renamed 3 of 3 files."_s),
                 qPrintable(run.out));
        QCOMPARE(ollama.received.size(), 3);
        const QDir batch(m_dir->filePath(u"files/batch"_s));
        QCOMPARE(batch.entryList(QDir::Files | QDir::Hidden, QDir::Name), folder);
        QCOMPARE(QDir(batch.filePath(u"sub"_s)).entryList(QDir::Files, QDir::Name), subfolder);
        const QJsonArray history = QJsonDocument::fromJson(nomly({ u"history"_s, u"--json"_s }).out.toUtf8()).array();
        QCOMPARE(history.size(), dryRun ? 0 : 3);
    }

    // A saved plan, edited by hand, renames without asking the AI again; a
    // file changed since the plan was made is left alone.
    void planRoundTrip()
    {
        OllamaPeer ollama;
        ollama.answerAlways(OllamaPeer::reply(answerJson(u"Budget Review"_s)));
        QVERIFY(nomly({ u"config"_s, u"set"_s, u"localAIEndpoint"_s, ollama.endpoint() }).exitCode == 0);
        QCOMPARE(nomly({ u"consent"_s, u"--agree"_s }).exitCode, 0);
        writeFile(u"a.txt"_s, "Budget review for the second quarter, department of works.");
        writeFile(u"b.txt"_s, "Budget review for the third quarter, department of works.");
        const QString planPath = m_dir->filePath(u"plan.json"_s);

        const CliRun saving = nomly({ u"rename"_s,
                                      u"--mode"_s,
                                      u"local"_s,
                                      u"--dry-run"_s,
                                      u"--save-plan"_s,
                                      planPath,
                                      u"a.txt"_s,
                                      u"b.txt"_s });
        QVERIFY2(saving.exitCode == 0, qPrintable(saving.err + saving.out));
        QCOMPARE(fileNames(m_dir->filePath(u"files"_s)), (QStringList { u"a.txt"_s, u"b.txt"_s }));
        QFile file(planPath);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QJsonObject plan = QJsonDocument::fromJson(file.readAll()).object();
        file.close();
        QJsonArray items = plan[u"items"_s].toArray();
        QCOMPARE(items.size(), 2);
        QJsonObject first = items.at(0).toObject();
        QCOMPARE(first[u"suggestedName"_s].toString(), u"Budget Review"_s);
        first[u"editedName"_s] = u"Q2 Works Budget"_s;
        items[0] = first;
        plan[u"items"_s] = items;
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(QJsonDocument(plan).toJson());
        file.close();
        QFile changed(m_dir->filePath(u"files/b.txt"_s));
        QVERIFY(changed.open(QIODevice::WriteOnly | QIODevice::Truncate));
        changed.write("Rewritten since the plan was made.");
        changed.close();
        const qsizetype asked = ollama.received.size();

        const CliRun renaming = nomly({ u"rename"_s, u"--plan"_s, planPath });
        QCOMPARE(renaming.exitCode, 1);
        QVERIFY2(renaming.out.contains(u"a.txt -> Q2 Works Budget.txt"_s), qPrintable(renaming.out));
        QVERIFY2(renaming.err.contains(u"b.txt: changed since the plan was made"_s), qPrintable(renaming.err));
        QCOMPARE(ollama.received.size(), asked);
        QCOMPARE(fileNames(m_dir->filePath(u"files"_s)), (QStringList { u"Q2 Works Budget.txt"_s, u"b.txt"_s }));
    }

    // The proposals one by one: an edit is used, a skipped file stays, and a
    // regenerate asks again with the turned-down name.
    void interactiveReview()
    {
        OllamaPeer ollama;
        int calls = 0;
        ollama.answerWith([&calls](const OllamaPeer::Request &) {
            return OllamaPeer::reply(answerJson(u"Harbour Notes %1"_s.arg(++calls)));
        });
        QVERIFY(nomly({ u"config"_s, u"set"_s, u"localAIEndpoint"_s, ollama.endpoint() }).exitCode == 0);
        QCOMPARE(nomly({ u"consent"_s, u"--agree"_s }).exitCode, 0);
        writeFile(u"a.txt"_s, "Notes on the harbour walls, first visit.");
        writeFile(u"b.txt"_s, "Notes on the harbour walls, second visit.");
        writeFile(u"c.txt"_s, "Notes on the harbour walls, third visit.");

        const CliRun run = nomly({ u"rename"_s, u"-i"_s, u"--mode"_s, u"local"_s, u"a.txt"_s, u"b.txt"_s, u"c.txt"_s },
                                 "e\nWalls First Visit\ns\nr\na\n");
        QVERIFY2(run.exitCode == 0, qPrintable(run.err + run.out));
        const QStringList names = fileNames(m_dir->filePath(u"files"_s));
        QCOMPARE(names.size(), 3);
        QVERIFY2(names.contains(u"Walls First Visit.txt"_s) && names.contains(u"b.txt"_s),
                 qPrintable(names.join(u", "_s)));
        QCOMPARE(ollama.received.size(), 4);
        QVERIFY2(ollama.received.last().prompt().contains(u"rejected these filename ideas"_s),
                 qPrintable(ollama.received.last().prompt()));

        // No answer at all renames nothing.
        writeFile(u"d.txt"_s, "Notes on the harbour walls, fourth visit.");
        const CliRun unanswered = nomly({ u"rename"_s, u"-i"_s, u"--mode"_s, u"local"_s, u"d.txt"_s }, "");
        QVERIFY2(unanswered.exitCode == 0, qPrintable(unanswered.err + unanswered.out));
        QVERIFY(fileNames(m_dir->filePath(u"files"_s)).contains(u"d.txt"_s));
    }

    // A pattern of the file's own facts names files with no AI call.
    void metadataOnlyPatternAsksNoAI()
    {
        OllamaPeer ollama;
        ollama.answerAlways(OllamaPeer::reply(answerJson(u"Never Asked"_s)));
        QVERIFY(nomly({ u"config"_s, u"set"_s, u"localAIEndpoint"_s, ollama.endpoint() }).exitCode == 0);
        QCOMPARE(nomly({ u"consent"_s, u"--agree"_s }).exitCode, 0);
        writeFile(u"minutes.txt"_s, "Minutes of the planning meeting.");
        writeFile(u"notes.unknownkind"_s, "Nothing reads this kind.");

        const CliRun run = nomly({ u"rename"_s,
                                   u"--mode"_s,
                                   u"local"_s,
                                   u"--pattern"_s,
                                   u"{original} copy"_s,
                                   u"minutes.txt"_s,
                                   u"notes.unknownkind"_s });
        QVERIFY2(run.exitCode == 1, qPrintable(run.err + run.out));
        QVERIFY2(run.err.contains(u"notes.unknownkind: Unsupported file type"_s), qPrintable(run.err));
        QVERIFY(ollama.received.isEmpty());
        QCOMPARE(fileNames(m_dir->filePath(u"files"_s)),
                 (QStringList { u"minutes copy.txt"_s, u"notes.unknownkind"_s }));
        const QJsonArray history = QJsonDocument::fromJson(nomly({ u"history"_s, u"--json"_s }).out.toUtf8()).array();
        QCOMPARE(history.size(), 1);
        QCOMPARE(history.first()[u"aiProvider"_s].toString(), u"file-metadata"_s);
    }

    // Ctrl-C lets the files in flight finish and asks nothing more: what was
    // renamed stays renamed and recorded, and undo brings every name back.
    void interruptKeepsWhatWasRenamed()
    {
        OllamaPeer ollama;
        ollama.answerAlways(OllamaPeer::reply(answerJson(u"Harbour Survey"_s), std::chrono::milliseconds(300)));
        QVERIFY(nomly({ u"config"_s, u"set"_s, u"localAIEndpoint"_s, ollama.endpoint() }).exitCode == 0);
        QCOMPARE(nomly({ u"consent"_s, u"--agree"_s }).exitCode, 0);
        QStringList names;
        for (int i = 0; i < 20; ++i) {
            names.append(u"survey%1.txt"_s.arg(i, 2, 10, QLatin1Char('0')));
            writeFile(names.last(), "Survey of the harbour walls, section " + QByteArray::number(i));
        }

        QProcess rename;
        rename.setProcessEnvironment(m_environment);
        rename.setWorkingDirectory(m_dir->filePath(u"files"_s));
        rename.start(QStringLiteral(NOMLY_BINARY), QStringList { u"rename"_s, u"--mode"_s, u"local"_s } + names);
        QVERIFY(rename.waitForStarted());
        QByteArray out;
        QTRY_VERIFY_WITH_TIMEOUT((out += rename.readAllStandardOutput()).contains(" -> "), 60000);
        ::kill(pid_t(rename.processId()), SIGINT);
        QTRY_VERIFY_WITH_TIMEOUT(rename.state() == QProcess::NotRunning, 60000);
        out += rename.readAllStandardOutput();
        QCOMPARE(rename.exitCode(), 130);
        QVERIFY2(out.contains("Interrupted."), out.constData());

        const QStringList after = fileNames(m_dir->filePath(u"files"_s));
        const qsizetype renamed = std::count_if(
            after.cbegin(), after.cend(), [](const QString &name) { return name.startsWith(u"Harbour Survey"_s); });
        QVERIFY2(renamed >= 5 && renamed < 20, qPrintable(after.join(u", "_s)));
        const QJsonArray history = QJsonDocument::fromJson(nomly({ u"history"_s, u"--json"_s }).out.toUtf8()).array();
        QCOMPARE(history.size(), renamed);

        QCOMPARE(nomly({ u"undo"_s, u"--last-run"_s }).exitCode, 0);
        QCOMPARE(fileNames(m_dir->filePath(u"files"_s)), names);
    }

    void providerFailureLeavesEveryFileAlone_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("expected");
        QTest::newRow("401") << 401
                             << QByteArray(R"({"error":{"message":"Incorrect API key provided: sk-te****","type":)"
                                           R"("invalid_request_error","code":"invalid_api_key"}})")
                             << u"Invalid OpenAI API key. Please double-check and try again."_s;
        QTest::newRow("503") << 503 << QByteArray(R"({"error":{"message":"overloaded","type":"server_error"}})")
                             << u"OpenAI is temporarily unavailable. Wait a moment, then retry."_s;
    }

    void providerFailureLeavesEveryFileAlone()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(QString, expected);
        ProviderPeer openai(ProviderPeer::Dialect::ChatCompletions);
        openai.answer(answerJson(u"unused"_s));
        m_environment.insert(u"NOMLY_OPENAI_BASE_URL"_s, openai.baseUrl());
        setUpOwnKey(openai);
        openai.fail(status, body);
        QCOMPARE(nomly({ u"consent"_s, u"--agree"_s }).exitCode, 0);
        writeFile(u"a.txt"_s, "Minutes of the quarterly planning meeting with the product team.");
        writeFile(u"b.txt"_s, "Shopping list for the weekend: apples, bread, coffee and cheese.");

        const CliRun run = nomly({ u"rename"_s, u"a.txt"_s, u"b.txt"_s });
        QCOMPARE(run.exitCode, 1);
        QCOMPARE(run.err.count(expected), 2);
        QCOMPARE(fileNames(m_dir->filePath(u"files"_s)), (QStringList { u"a.txt"_s, u"b.txt"_s }));
        QVERIFY(QJsonDocument::fromJson(nomly({ u"history"_s, u"--json"_s }).out.toUtf8()).array().isEmpty());
    }

    // A key the provider refuses is said to be refused and kept nowhere.
    void refusedKeyIsNotStored()
    {
        ProviderPeer openai(ProviderPeer::Dialect::ChatCompletions);
        openai.fail(401,
                    R"({"error":{"message":"Incorrect API key provided: sk-bad","type":"invalid_request_error",)"
                    R"("code":"invalid_api_key"}})"_ba);
        m_environment.insert(u"NOMLY_OPENAI_BASE_URL"_s, openai.baseUrl());

        const CliRun run = nomly({ u"keys"_s, u"set"_s, u"openai"_s }, "sk-bad");
        QCOMPARE(run.exitCode, 1);
        QVERIFY2(run.err.contains(u"Invalid OpenAI API key. Please double-check and try again."_s),
                 qPrintable(run.err));
        QVERIFY(!run.out.contains(u"Stored"_s));
        QVERIFY(nomly({ u"keys"_s, u"list"_s }).out.contains(QRegularExpression(u"openai +not set"_s)));
        QVERIFY(!nomly({ u"config"_s, u"get"_s, u"hasOpenaiApiKey"_s }).out.contains(u"true"_s));
    }

    // A stored key is tried again on demand; a key revoked since is told.
    void storedKeyIsTested()
    {
        ProviderPeer openai(ProviderPeer::Dialect::ChatCompletions);
        m_environment.insert(u"NOMLY_OPENAI_BASE_URL"_s, openai.baseUrl() + u"/v1"_s);
        setUpOwnKey(openai);

        const CliRun good = nomly({ u"keys"_s, u"test"_s, u"openai"_s });
        QCOMPARE(good.exitCode, 0);
        QVERIFY2(good.out.contains(u"Connection OK"_s), qPrintable(good.err));
        QCOMPARE(openai.received.last().header("authorization"), QByteArray("Bearer sk-test-4242"));

        openai.fail(401, R"({"error":{"message":"revoked"}})"_ba);
        const CliRun revoked = nomly({ u"keys"_s, u"test"_s, u"openai"_s });
        QCOMPARE(revoked.exitCode, 1);
        QVERIFY2(revoked.err.contains(u"OpenAI rejected the API key (401)"_s), qPrintable(revoked.err));
        const CliRun models = nomly({ u"models"_s, u"openai"_s });
        QCOMPARE(models.exitCode, 1);
        QVERIFY2(models.err.contains(u"OpenAI returned status 401"_s), qPrintable(models.err));
    }

    // The local route goes on only where Ollama answers with a model;
    // `ollama status` and `models ollama` say what there is.
    void localRouteNeedsOllamaWithAModel()
    {
        const QString deadEndpoint = u"http://127.0.0.1:%1"_s.arg(Nomly::Test::closedLoopbackPort());
        QCOMPARE(nomly({ u"config"_s, u"set"_s, u"localAIEndpoint"_s, deadEndpoint }).exitCode, 0);
        const CliRun refused = nomly({ u"config"_s, u"set"_s, u"aiProcessingMode"_s, u"local"_s });
        QCOMPARE(refused.exitCode, 1);
        QVERIFY2(refused.err.contains(u"Ollama before enabling Offline AI mode."_s), qPrintable(refused.err));
        QVERIFY(nomly({ u"config"_s, u"get"_s, u"aiProcessingMode"_s }).out.contains(u"cloud"_s));
        QVERIFY(nomly({ u"ollama"_s, u"status"_s }).out.contains(u"Ollama is not "_s));

        OllamaPeer ollama;
        ollama.models.clear();
        QCOMPARE(nomly({ u"config"_s, u"set"_s, u"localAIEndpoint"_s, ollama.endpoint() }).exitCode, 0);
        QVERIFY(nomly({ u"config"_s, u"set"_s, u"aiProcessingMode"_s, u"local"_s })
                    .err.contains(u"Install at least one Ollama model before enabling Offline AI mode."_s));

        ollama.models = QStringList { u"qwen3:latest"_s, u"llava:7b"_s };
        QCOMPARE(nomly({ u"config"_s, u"set"_s, u"localAIModel"_s, u"qwen3"_s }).exitCode, 0);
        QCOMPARE(nomly({ u"config"_s, u"set"_s, u"aiProcessingMode"_s, u"local"_s }).exitCode, 0);
        const CliRun status = nomly({ u"ollama"_s, u"status"_s });
        QVERIFY2(status.out.contains(u"Models: qwen3:latest, llava:7b\nChosen model: qwen3\n"_s),
                 qPrintable(status.out));
        QCOMPARE(QJsonDocument::fromJson(nomly({ u"models"_s, u"ollama"_s, u"--json"_s }).out.toUtf8()).array(),
                 QJsonArray({ u"qwen3:latest"_s, u"llava:7b"_s }));
    }

private:
    // The key is tried with the provider (one call to its model list, the
    // key in the header) before it is stored.
    void setUpOwnKey(ProviderPeer &openai)
    {
        QCOMPARE(nomly({ u"config"_s, u"set"_s, u"aiProvider"_s, u"openai"_s }).exitCode, 0);
        QCOMPARE(nomly({ u"config"_s, u"set"_s, u"byokEnabled"_s, u"true"_s }).exitCode, 0);
        QCOMPARE(nomly({ u"keys"_s, u"set"_s, u"openai"_s }, "sk-test-4242\n").exitCode, 0);
        QCOMPARE(openai.received.size(), 1);
        QCOMPARE(openai.received.first().method, QByteArray("GET"));
        QCOMPARE(openai.received.first().path, u"/v1/models"_s);
        QCOMPARE(openai.received.first().header("authorization"), QByteArray("Bearer sk-test-4242"));
        openai.received.clear();
    }

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
    QProcessEnvironment m_environment;
};

QTEST_MAIN(AICommandsTest)
#include "aicommandstest.moc"
