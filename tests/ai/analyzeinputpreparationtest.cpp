// Preparing a batch: outcomes sorted into inputs and failures in path order,
// never more extractions at once than asked, known hashes handed to images,
// and symbolic links resolved when the flow wants it.

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMutex>
#include <QSemaphore>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <QThreadPool>
#include <atomic>

#include "ai/analyzeinputpreparationservice.h"
#include "awaited.h"

using namespace Nomly;
using namespace Nomly::Test;
using namespace Qt::StringLiterals;

namespace Preparation = AnalyzeInputPreparationService;
using PathMap = QMap<QString, QString>;

namespace {

const QByteArray Letter = "Dear tenant, the rent for March is due on the first of the month.\n";

bool writeBytes(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size();
}

Preparation::Options imageOptions()
{
    Preparation::Options options;
    options.extraction.imageExtensions = { u"jpg"_s, u"png"_s };
    return options;
}

FileExtractionResult textInput(const QString &path)
{
    FileTextAnalysisPayload payload;
    payload.originalPath = path;
    payload.text = u"text of "_s + path;
    payload.filename = QFileInfo(path).fileName();
    return FileExtractionResult::input(payload);
}

} // namespace

class AnalyzeInputPreparationTest : public QObject
{
    Q_OBJECT

private slots:

    // More workers than any width here, so that only the service's own bound
    // can hold the count of extractions at once down.
    void initTestCase() { QThreadPool::globalInstance()->setMaxThreadCount(16); }

    void init() { QVERIFY(m_dir.emplace().isValid()); }

    // Real files through the real extractor. Names: "letter.txt" holds readable
    // text, "photo.jpg" is an image, "missing-*" do not exist, "data.zzqq" is of a
    // type nothing reads.
    void outcomes_data()
    {
        QTest::addColumn<QStringList>("names");
        QTest::addColumn<QStringList>("analyzed");
        QTest::addColumn<QList<AIAnalyzeInputKind>>("kinds");
        QTest::addColumn<PathMap>("failures");

        QTest::newRow("no-paths") << QStringList {} << QStringList {} << QList<AIAnalyzeInputKind> {}
                                  << QMap<QString, QString> {};
        QTest::newRow("two-fail-one-succeeds")
            << QStringList { u"missing-1.txt"_s, u"letter.txt"_s, u"missing-2.jpg"_s }
            << QStringList { u"letter.txt"_s } << QList<AIAnalyzeInputKind> { AIAnalyzeInputKind::Text }
            << QMap<QString, QString> { { u"missing-1.txt"_s, u"File not found"_s },
                                        { u"missing-2.jpg"_s, u"File not found"_s } };
        QTest::newRow("unsupported-has-its-reason")
            << QStringList { u"data.zzqq"_s, u"photo.jpg"_s } << QStringList { u"photo.jpg"_s }
            << QList<AIAnalyzeInputKind> { AIAnalyzeInputKind::Image }
            << QMap<QString, QString> { { u"data.zzqq"_s, u"Unsupported file type"_s } };
        QTest::newRow("inputs-in-path-order")
            << QStringList { u"photo.jpg"_s, u"letter.txt"_s } << QStringList { u"photo.jpg"_s, u"letter.txt"_s }
            << QList<AIAnalyzeInputKind> { AIAnalyzeInputKind::Image, AIAnalyzeInputKind::Text }
            << QMap<QString, QString> {};
    }

    void outcomes()
    {
        QFETCH(QStringList, names);
        QFETCH(QStringList, analyzed);
        QFETCH(QList<AIAnalyzeInputKind>, kinds);
        QFETCH(PathMap, failures);

        QVERIFY(writeBytes(file(u"letter.txt"_s), Letter.repeated(3)));
        QVERIFY(writeBytes(file(u"photo.jpg"_s), "\xff\xd8\xff\xe0"));
        QVERIFY(writeBytes(file(u"data.zzqq"_s), "\x01\x02\x03"));
        auto absolute = [this](const QStringList &relative) {
            QStringList paths;
            for (const QString &name : relative)
                paths << file(name);
            return paths;
        };
        QMap<QString, QString> expectedFailures;
        for (auto it = failures.cbegin(); it != failures.cend(); ++it)
            expectedFailures.insert(file(it.key()), it.value());

        const PreparedAnalyzeInputs prepared = awaited(Preparation::prepare(absolute(names), imageOptions()));

        QCOMPARE(prepared.analyzedPaths, absolute(analyzed));
        QCOMPARE(prepared.failures, expectedFailures);
        QCOMPARE(prepared.inputs.size(), kinds.size());
        for (qsizetype i = 0; i < kinds.size(); ++i) {
            QCOMPARE(prepared.inputs[i].kind(), kinds[i]);
            QCOMPARE(prepared.inputs[i].originalPath(), prepared.analyzedPaths[i]);
        }
    }

    void width_data()
    {
        QTest::addColumn<int>("pathCount");
        QTest::addColumn<int>("maximumWidth");

        QTest::newRow("one-path-width-three") << 1 << 3;
        QTest::newRow("seven-paths-width-three") << 7 << 3;
        QTest::newRow("five-paths-width-one") << 5 << 1;
        QTest::newRow("width-zero-still-runs") << 3 << 0;
    }

    // Every path is extracted exactly once, and never more at once than the
    // width: the extractor counts the calls in flight.
    void width()
    {
        QFETCH(int, pathCount);
        QFETCH(int, maximumWidth);

        std::atomic<int> active = 0;
        std::atomic<int> peak = 0;
        QMutex seenLock;
        QStringList seen;
        const Preparation::Extractor extractor = [&](const QString &path, const ExtractionOptions &) {
            const int now = ++active;
            int previous = peak.load();
            while (previous < now && !peak.compare_exchange_weak(previous, now)) {}
            QThread::msleep(15);
            {
                const QMutexLocker locker(&seenLock);
                seen << path;
            }
            --active;
            return textInput(path);
        };
        QStringList paths;
        for (int i = 0; i < pathCount; ++i)
            paths << u"/batch/file-%1.txt"_s.arg(i);
        Preparation::Options options;
        options.maximumWidth = maximumWidth;

        const PreparedAnalyzeInputs prepared = awaited(Preparation::prepare(paths, options, extractor));

        const int width = std::max(1, std::min(maximumWidth, pathCount));
        QCOMPARE_LE(peak.load(), width);
        QCOMPARE_GE(peak.load(), 1);
        seen.sort();
        QStringList expected = paths;
        expected.sort();
        QCOMPARE(seen, expected);
        QCOMPARE(prepared.analyzedPaths, paths);
    }

    // The first path finishes last: it waits until the third has finished.
    void outOfOrderFinishesKeepPathOrder()
    {
        QSemaphore thirdDone;
        QMutex orderLock;
        QStringList finished;
        const QStringList paths { u"/a/first.txt"_s, u"/a/second.txt"_s, u"/a/third.txt"_s, u"/a/fourth.txt"_s };
        const Preparation::Extractor extractor = [&](const QString &path, const ExtractionOptions &) {
            if (path == paths[0])
                thirdDone.acquire();
            {
                const QMutexLocker locker(&orderLock);
                finished << path;
            }
            if (path == paths[2])
                thirdDone.release();
            if (path == paths[1])
                return FileExtractionResult::failed(u"Failed to read file"_s);
            return textInput(path);
        };
        Preparation::Options options;
        options.maximumWidth = 3;

        const PreparedAnalyzeInputs prepared = awaited(Preparation::prepare(paths, options, extractor));

        QCOMPARE_GT(finished.indexOf(paths[0]), finished.indexOf(paths[2]));
        QCOMPARE(prepared.analyzedPaths, (QStringList { paths[0], paths[2], paths[3] }));
        QCOMPARE(prepared.inputs.size(), 3);
        for (qsizetype i = 0; i < prepared.inputs.size(); ++i)
            QCOMPARE(prepared.inputs[i].originalPath(), prepared.analyzedPaths[i]);
        QCOMPARE(prepared.failures, (QMap<QString, QString> { { paths[1], u"Failed to read file"_s } }));
    }

    void cancellationStopsStarting()
    {
        std::atomic<int> calls = 0;
        const Preparation::Extractor extractor = [&](const QString &path, const ExtractionOptions &) {
            ++calls;
            return textInput(path);
        };
        Preparation::Options options;
        options.maximumWidth = 1;
        options.isCancelled = [&calls] { return calls.load() >= 2; };

        const PreparedAnalyzeInputs prepared = awaited(
            Preparation::prepare({ u"/c/1.txt"_s, u"/c/2.txt"_s, u"/c/3.txt"_s, u"/c/4.txt"_s }, options, extractor));

        QCOMPARE(calls.load(), 2);
        QCOMPARE(prepared.analyzedPaths, (QStringList { u"/c/1.txt"_s, u"/c/2.txt"_s }));
        QVERIFY(prepared.failures.isEmpty());
    }

    // The extractor reports the image under "originalPath", which may differ
    // from the path it was given.
    void imageHash_data()
    {
        QTest::addColumn<QString>("originalPath");
        QTest::addColumn<std::optional<QString>>("payloadHash");
        QTest::addColumn<PathMap>("hashes");
        QTest::addColumn<std::optional<QString>>("expected");

        const QString given = u"/p/given.jpg"_s;
        const QString original = u"/p/original.jpg"_s;
        QTest::newRow("own-path") << given << std::optional<QString>() << QMap<QString, QString> { { given, u"own"_s } }
                                  << std::optional(u"own"_s);
        QTest::newRow("own-path-before-original")
            << original << std::optional<QString>()
            << QMap<QString, QString> { { given, u"own"_s }, { original, u"original"_s } } << std::optional(u"own"_s);
        QTest::newRow("original-path-as-fallback")
            << original << std::optional<QString>() << QMap<QString, QString> { { original, u"original"_s } }
            << std::optional(u"original"_s);
        QTest::newRow("hash-of-payload-kept")
            << given << std::optional(u"payload"_s) << QMap<QString, QString> { { given, u"own"_s } }
            << std::optional(u"payload"_s);
        QTest::newRow("unknown-stays-absent")
            << given << std::optional<QString>() << QMap<QString, QString> { { u"/p/other.jpg"_s, u"other"_s } }
            << std::optional<QString>();
    }

    void imageHash()
    {
        QFETCH(QString, originalPath);
        QFETCH(std::optional<QString>, payloadHash);
        QFETCH(PathMap, hashes);
        QFETCH(std::optional<QString>, expected);

        const Preparation::Extractor extractor = [&](const QString &, const ExtractionOptions &) {
            return FileExtractionResult::input(FileImageAnalysisPayload { originalPath, payloadHash });
        };
        Preparation::Options options;
        options.hashes = hashes;

        const PreparedAnalyzeInputs prepared = awaited(Preparation::prepare({ u"/p/given.jpg"_s }, options, extractor));

        QCOMPARE(prepared.inputs.size(), 1);
        const auto *image = prepared.inputs[0].get<FileImageAnalysisPayload>();
        QVERIFY(image);
        QCOMPARE(image->contentHash, expected);
        QCOMPARE(image->originalPath, originalPath);
    }

    void symlinks_data()
    {
        QTest::addColumn<bool>("resolveSymlinks");

        QTest::newRow("resolved-for-rename-flows") << true;
        QTest::newRow("kept-for-quick-rename") << false;
    }

    // The link is named in the paths and in the hash map; resolved, both name
    // the target, so the hash still reaches the image.
    void symlinks()
    {
        QFETCH(bool, resolveSymlinks);

        QVERIFY(QDir().mkpath(file(u"real"_s)));
        const QString target = file(u"real/photo.jpg"_s);
        QVERIFY(writeBytes(target, "\xff\xd8\xff\xe0"));
        const QString link = file(u"link.jpg"_s);
        QVERIFY(QFile::link(target, link));
        const QString canonicalTarget = QFileInfo(target).canonicalFilePath();

        QStringList extracted;
        const Preparation::Extractor extractor = [&extracted](const QString &path, const ExtractionOptions &options) {
            extracted << path;
            return FileExtractionService::extract(path, options);
        };
        Preparation::Options options = imageOptions();
        options.resolveSymlinks = resolveSymlinks;
        options.hashes = { { link, u"hash-of-link"_s } };

        const PreparedAnalyzeInputs prepared = awaited(Preparation::prepare({ link }, options, extractor));

        const QString expectedPath = resolveSymlinks ? canonicalTarget : link;
        QCOMPARE(extracted, QStringList { expectedPath });
        QCOMPARE(prepared.analyzedPaths, QStringList { expectedPath });
        QCOMPARE(prepared.inputs.size(), 1);
        QCOMPARE(prepared.inputs[0].get<FileImageAnalysisPayload>()->contentHash, std::optional(u"hash-of-link"_s));
    }

private:
    QString file(const QString &name) const { return m_dir->filePath(name); }

    std::optional<QTemporaryDir> m_dir;
};

QTEST_GUILESS_MAIN(AnalyzeInputPreparationTest)

#include "analyzeinputpreparationtest.moc"
