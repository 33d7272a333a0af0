// AI Rename's batch over real folders, files and a real history: intake,
// names that must not collide, the words for failures, and what a second look
// asks the AI.

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <qcoro/qcorotask.h>

#include "filesystemfixtures.h"
#include "history/database.h"
#include "history/undoignoreservice.h"
#include "platform/canonicalpath.h"
#include "samplepdfs.h"
#include "settings/effectiveanalysissettings.h"
#include "workflows/analyzefilesusecase.h"
#include "workflows/batchanalysisissues.h"
#include "workflows/batchdropsummary.h"
#include "workflows/batchnaming.h"
#include "workflows/batchrenameviewmodel.h"
#include "workflows/regeneraterequest.h"

using namespace Qt::StringLiterals;
using namespace Nomly;

class BatchRenameTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;

    QString path(const QString &relative) const { return m_dir->filePath(relative); }

    void write(const QStringList &relativePaths)
    {
        for (const QString &relative : relativePaths) {
            QVERIFY(QDir(m_dir->path()).mkpath(QFileInfo(relative).path()));
            QVERIFY(Test::writeFile(path(relative), "content of " + relative.toUtf8()));
        }
    }

    QStringList names(const QString &folder = {}) const
    {
        return QDir(path(folder)).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    }

private slots:

    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
    }

    void collect_data()
    {
        QTest::addColumn<QStringList>("files");
        QTest::addColumn<QStringList>("dropped");
        QTest::addColumn<int>("capacity");
        QTest::addColumn<QStringList>("added");
        QTest::addColumn<int>("skipped");
        QTest::addColumn<bool>("hitLimit");

        QTest::newRow("folder-walked-hidden-and-unknown-left-out")
            << QStringList { u"d/b.txt"_s, u"d/a.txt"_s, u"d/.secret.txt"_s, u"d/x.unknownkind"_s, u"d/s/c.txt"_s }
            << QStringList { u"d"_s } << 50 << QStringList { u"d/a.txt"_s, u"d/b.txt"_s, u"d/s/c.txt"_s } << 2 << false;
        QTest::newRow("bundle-is-one-document")
            << QStringList { u"d/Plan.pages/Index.xml"_s, u"d/Plan.pages/preview.jpg"_s } << QStringList { u"d"_s }
            << 50 << QStringList { u"d/Plan.pages"_s } << 0 << false;
        QTest::newRow("limit-stops-the-walk")
            << QStringList { u"d/a.txt"_s, u"d/b.txt"_s, u"d/c.txt"_s } << QStringList { u"d"_s } << 2
            << QStringList { u"d/a.txt"_s, u"d/b.txt"_s } << 0 << true;
        QTest::newRow("same-file-twice-counted-once")
            << QStringList { u"a.txt"_s } << QStringList { u"a.txt"_s, u"a.txt"_s } << 50 << QStringList { u"a.txt"_s }
            << 1 << false;
        QTest::newRow("missing-path-passed-over")
            << QStringList { u"a.txt"_s } << QStringList { u"gone.txt"_s, u"a.txt"_s } << 50
            << QStringList { u"a.txt"_s } << 0 << false;
    }

    void collect()
    {
        QFETCH(QStringList, files);
        QFETCH(QStringList, dropped);
        QFETCH(int, capacity);
        QFETCH(QStringList, added);
        QFETCH(int, skipped);
        QFETCH(bool, hitLimit);

        write(files);
        QStringList given;
        for (const QString &relative : dropped)
            given.append(path(relative));
        const BatchDropSummary summary
            = BatchDropSummary::collect(given, { u"txt"_s, u"pages"_s, u"pdf"_s }, {}, capacity);
        QStringList expected;
        for (const QString &relative : added)
            expected.append(path(relative));
        QCOMPARE(summary.pathsToAdd, expected);
        QCOMPARE(summary.skippedCount, skipped);
        QCOMPARE(summary.didHitLimit, hitLimit);
    }

    // A PDF saved without an extension is taken for what it holds.
    void fileWithoutExtensionTakenByContent()
    {
        QVERIFY(Test::writeTextPdf(path(u"scan"_s), { u"Receipt"_s }));
        QCOMPARE(BatchDropSummary::collect({ path(u"scan"_s) }, { u"pdf"_s }, {}, 5).pathsToAdd,
                 QStringList { path(u"scan"_s) });
    }

    // A file and a link to it, dropped together, are one item.
    void linkAndItsFileAreOne()
    {
        write({ u"photo.txt"_s });
        QVERIFY(QFile::link(path(u"photo.txt"_s), path(u"latest.txt"_s)));
        const BatchDropSummary summary
            = BatchDropSummary::collect({ path(u"latest.txt"_s), path(u"photo.txt"_s) }, { u"txt"_s }, {}, 5);
        QCOMPARE(summary.pathsToAdd, QStringList { path(u"latest.txt"_s) });
        QCOMPARE(summary.skippedCount, 1);
    }

    void reservedDestination_data()
    {
        QTest::addColumn<QStringList>("present");
        QTest::addColumn<QStringList>("reserved");
        QTest::addColumn<QString>("base");
        QTest::addColumn<QString>("expected");

        QTest::newRow("free") << QStringList { u"x.txt"_s } << QStringList {} << u"Name"_s << u"Name.txt"_s;
        QTest::newRow("reserved-by-earlier-item")
            << QStringList { u"x.txt"_s } << QStringList { u"Name.txt"_s, u"Name_1.txt"_s } << u"Name"_s
            << u"Name_2.txt"_s;
        QTest::newRow("taken-on-disk") << QStringList { u"x.txt"_s, u"Name.txt"_s } << QStringList {} << u"Name"_s
                                       << u"Name_1.txt"_s;
        QTest::newRow("own-name-is-free")
            << QStringList { u"Name.txt"_s } << QStringList {} << u"Name"_s << u"Name.txt"_s;
        QTest::newRow("case-differs-is-another-name")
            << QStringList { u"x.txt"_s, u"name.txt"_s } << QStringList {} << u"Name"_s << u"Name.txt"_s;
    }

    void reservedDestination()
    {
        QFETCH(QStringList, present);
        QFETCH(QStringList, reserved);
        QFETCH(QString, base);
        QFETCH(QString, expected);

        write(present);
        QSet<QString> claimed;
        for (const QString &name : reserved)
            claimed.insert(canonicalPath(m_dir->path()) + u'/' + name);
        const QString own = path(present.first());
        QCOMPARE(BatchNaming::reservedDestination(base, u"txt"_s, m_dir->path(), own, claimed),
                 QDir(m_dir->path()).filePath(expected));
    }

    // Rename all over real files and a real history: names given twice in one
    // folder get suffixes in list order, a vanished file and an empty name
    // fail alone, and every renamed file has its record in the run.
    void renameAllKeepsItemsApart()
    {
        write({ u"a.txt"_s, u"b.txt"_s, u"c.txt"_s, u"gone.txt"_s, u"bad.txt"_s, u"keep.txt"_s });
        auto opened = Database::open(path(u"profile"_s));
        QVERIFY(opened.ok());
        const std::unique_ptr<Database> database = std::move(opened).value();
        UndoIgnoreService undoIgnore;
        BatchRenameViewModel batch(*database, undoIgnore);
        QList<ProcessedFile> recorded;
        Settings settings;
        settings.namingPattern = u"{original}"_s;
        BatchRenameViewModel::Dependencies dependencies;
        dependencies.settingsProvider = [&] { return settings; };
        dependencies.effectiveAnalysisForBatch = [&] { return resolveEffectiveAnalysisSettings(settings, {}, {}); };
        dependencies.hasAIDataConsent = [] { return true; };
        dependencies.remoteConfig = [] { return RemoteConfig(); };
        dependencies.extractionOptions = [] { return ExtractionOptions(); };
        dependencies.aiService = [](QString *error) -> AIService * {
            *error = u"no AI in this test"_s;
            return nullptr;
        };
        dependencies.addActivityFile = [&](const ProcessedFile &record) { recorded.append(record); };
        batch.setDependencies(dependencies);

        const QStringList order { u"a.txt"_s, u"b.txt"_s, u"c.txt"_s, u"gone.txt"_s, u"bad.txt"_s, u"keep.txt"_s };
        QStringList given;
        for (const QString &name : order)
            given.append(path(name));
        QVERIFY(batch.addFiles(given, BatchRenameViewModel::DropSource::Dropzone));
        QCoro::waitFor(batch.untilIdle());
        QCOMPARE(batch.analyzedCount(), 6);
        for (const BatchRenameItem &item : batch.items())
            QCOMPARE(item.aiProvider.value_or(QString()), u"file-metadata"_s);

        const QList<QString> edits { u"Same"_s, u"Same"_s, u"Same"_s, u"Same"_s, u"/:*"_s, u"keep"_s };
        for (int i = 0; i < edits.size(); ++i)
            batch.updateEditedName(batch.items().at(i).id, edits.at(i));
        QVERIFY(QFile::remove(path(u"gone.txt"_s)));
        QSignalSpy finished(&batch, &BatchRenameViewModel::renameAllFinished);
        QCoro::waitFor(batch.renameAll());

        QCOMPARE(finished.size(), 1);
        QCOMPARE(finished.first().first().toBool(), false);
        QCOMPARE(names(),
                 (QStringList { u"Same.txt"_s, u"Same_1.txt"_s, u"Same_2.txt"_s, u"bad.txt"_s, u"keep.txt"_s }));
        QCOMPARE(batch.items().at(3).error.value_or(QString()), u"File not found"_s);
        QCOMPARE(batch.items().at(4).error.value_or(QString()), u"Invalid name"_s);
        QCOMPARE(batch.items().at(5).status, BatchRenameStatus::Completed);
        QCOMPARE(recorded.size(), 4);
        const auto stored = database->fetchRunProcessedFiles(batch.runId());
        QVERIFY(stored.ok());
        QCOMPARE(stored.value().size(), 4);
        QCOMPARE(batch.statusText(), u"6 of 6 analyzed, 1 skipped, 1 failed"_s);
    }

    void chunkSize_data()
    {
        QTest::addColumn<int>("configured");
        QTest::addColumn<bool>("local");
        QTest::addColumn<int>("expected");

        QTest::newRow("hosted-as-configured") << 10 << false << 10;
        QTest::newRow("local-at-most-five") << 10 << true << 5;
        QTest::newRow("local-below-five-kept") << 3 << true << 3;
        QTest::newRow("zero-is-one") << 0 << false << 1;
    }

    void chunkSize()
    {
        QFETCH(int, configured);
        QFETCH(bool, local);
        QFETCH(int, expected);

        QCOMPARE(AnalyzeFilesUseCase::chunkSizeFor(configured, local), expected);
    }

    void issueWords_data()
    {
        QTest::addColumn<QString>("error");
        QTest::addColumn<BatchAnalysisIssueCategory>("category");
        QTest::addColumn<bool>("retry");

        QTest::newRow("timeout-retried") << u"OpenAI request timed out. Please retry."_s
                                         << BatchAnalysisIssueCategory::Timeout << true;
        QTest::newRow("api-key-is-service-error")
            << u"Invalid API key"_s << BatchAnalysisIssueCategory::ServiceError << true;
        QTest::newRow("password-counted-as-skipped")
            << u"PDF is password protected"_s << BatchAnalysisIssueCategory::PasswordProtected << true;
        QTest::newRow("monitor-lock-not-retried")
            << u"File is being processed by monitor"_s << BatchAnalysisIssueCategory::OtherFailure << false;
        QTest::newRow("unknown-text-retried") << u"Rename failed"_s << BatchAnalysisIssueCategory::OtherFailure << true;
        QTest::newRow("missing-file-not-retried")
            << u"File not found"_s << BatchAnalysisIssueCategory::FileUnavailable << false;
        QTest::newRow("unkept-record-not-retried") << u"not renamed: its record could not be written: disk full"_s
                                                   << BatchAnalysisIssueCategory::OtherFailure << false;
        QTest::newRow("unsupported-not-retried")
            << u"Unsupported file type"_s << BatchAnalysisIssueCategory::UnsupportedFile << false;
    }

    void issueWords()
    {
        QFETCH(QString, error);
        QFETCH(BatchAnalysisIssueCategory, category);
        QFETCH(bool, retry);

        QCOMPARE(BatchAnalysisIssues::issueCategory(error), category);
        BatchRenameItem item = BatchRenameItem::forFile(u"/tmp/x.txt"_s);
        item.status = BatchRenameStatus::Failed;
        item.error = error;
        QCOMPARE(BatchAnalysisIssues::canRetryFailure(item), retry);
    }

    void regeneratePrompt_data()
    {
        QTest::addColumn<QStringList>("rejected");
        QTest::addColumn<QString>("base");
        QTest::addColumn<QString>("expectedStart");
        QTest::addColumn<QString>("expectedQuotes");

        QTest::newRow("no-rejections-keeps-own")
            << QStringList {} << u"  Own prompt "_s << u"Own prompt"_s << QString();
        QTest::newRow("last-four-quoted")
            << QStringList { u"one"_s, u"two"_s, u"q3_budget"_s, u"four-x"_s, u"five"_s, u"six"_s } << QString()
            << u"This is a regenerate request."_s << u"\"q3 budget\", \"four x\", \"five\", \"six\""_s;
        QTest::newRow("too-long-keeps-own-alone")
            << QStringList { u"one"_s } << QString(950, u'p') << QString(950, u'p') << QString();
    }

    void regeneratePrompt()
    {
        QFETCH(QStringList, rejected);
        QFETCH(QString, base);
        QFETCH(QString, expectedStart);
        QFETCH(QString, expectedQuotes);

        const std::optional<QString> prompt
            = RegenerateRequest::renamePrompt(base.isEmpty() ? std::nullopt : std::optional(base), rejected, 1000);
        QVERIFY(prompt);
        QVERIFY2(prompt->startsWith(expectedStart), qPrintable(*prompt));
        QCOMPARE(prompt->contains(u"rejected these filename ideas"_s), !expectedQuotes.isEmpty());
        if (!expectedQuotes.isEmpty())
            QVERIFY2(prompt->contains(expectedQuotes + u'.'), qPrintable(*prompt));
    }

    void rejectedNames()
    {
        QCOMPARE(RegenerateRequest::normalizedNames({ u" Q3 Budget "_s, u"q3_budget"_s, u"__"_s, u"Plan: A/B"_s }),
                 (QStringList { u"q3_budget"_s, u"plan_ab"_s }));
        QCOMPARE(RegenerateRequest::rejectedTitles({ u"q3_budget"_s }), QStringList { u"q3 budget"_s });
        QVERIFY(RegenerateRequest::isDuplicate(u"Q3-Budget"_s.replace(u'-', u' '), { u"q3_budget"_s }));
        QVERIFY(!RegenerateRequest::isDuplicate(u"..."_s, { u""_s }));
    }
};

QTEST_MAIN(BatchRenameTest)
#include "batchrenametest.moc"
