// The image artifact cache: what an entry is keyed by, that a second prepare
// of the same picture is served from memory or disk, how both tiers stay
// within their bounds, and that a broken or foreign cache file is a miss.

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include "ai/aiimageartifactcache.h"
#include "awaited.h"
#include "history/filehashservice.h"

using namespace Nomly;
using namespace Nomly::Test;
using namespace Qt::StringLiterals;

namespace {

using Artifact = PreparedImageAnalysisArtifact;
using Limits = AIImageArtifactCache::Limits;

constexpr qint64 MiB = 1024 * 1024;

// A picture of one colour with a darker band, so that sizes and colours give
// JPEGs that differ.
QString writeImage(const QString &path, QColor colour, QSize size = { 800, 600 })
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(colour);
    for (int y = size.height() / 3; y < size.height() / 2; ++y)
        for (int x = 0; x < size.width(); ++x)
            image.setPixelColor(x, y, colour.darker(200));
    return image.save(path) ? path : QString();
}

bool writeBytes(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size();
}

QByteArray readBytes(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool setModified(const QString &path, const QDateTime &when)
{
    QFile file(path);
    return file.open(QIODevice::ReadWrite) && file.setFileTime(when, QFileDevice::FileModificationTime);
}

std::optional<Artifact> prepared(AIImageArtifactCache &cache,
                                 const QString &path,
                                 const std::optional<QString> &hash,
                                 int target = 256,
                                 double quality = 0.8)
{
    return awaited(cache.prepare(path, hash, target, quality));
}

QStringList entryNames(const QString &directory)
{
    QStringList names = QDir(directory).entryList(QDir::Files | QDir::Hidden);
    names.sort();
    return names;
}

} // namespace

class AIImageArtifactCacheTest : public QObject
{
    Q_OBJECT

private slots:

    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void init()
    {
        QVERIFY(m_dir.emplace().isValid());
        m_cacheDir = m_dir->filePath(u"cache/Nomly/AIImageArtifacts"_s);
    }

    void cacheKey_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<int>("target");
        QTest::addColumn<double>("quality");
        QTest::addColumn<QString>("key");

        QTest::newRow("three-decimals") << u"/photos/a.jpg"_s << 1024 << 0.8
                                        << u"image-v3|1024|0.800|/photos/a.jpg|content:h"_s;
        QTest::newRow("quality-rounded") << u"/photos/a.jpg"_s << 384 << 0.72449
                                         << u"image-v3|384|0.724|/photos/a.jpg|content:h"_s;
        QTest::newRow("path-standardised")
            << u"/photos/./raw/../a.jpg"_s << 512 << 1.0 << u"image-v3|512|1.000|/photos/a.jpg|content:h"_s;
    }

    void cacheKey()
    {
        QFETCH(QString, path);
        QFETCH(int, target);
        QFETCH(double, quality);
        QFETCH(QString, key);

        QCOMPARE(AIImageArtifactCache::cacheKey(path, u"content:h"_s, target, quality), key);
        // The file name is the lower-case hex SHA-256 of the key.
        QCOMPARE(AIImageArtifactCache::diskFileName(u"abc"_s),
                 u"ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad.json"_s);
    }

    void identity_data()
    {
        QTest::addColumn<bool>("exists");
        QTest::addColumn<std::optional<QString>>("contentHash");
        QTest::addColumn<QString>("expected"); // "<file hash>" stands for the file's own hash

        QTest::newRow("given-hash-wins") << true << std::optional(u"abc"_s) << u"content:abc"_s;
        QTest::newRow("file-hash-without-one") << true << std::optional<QString>() << u"content:<file hash>"_s;
        QTest::newRow("empty-hash-counts-as-none") << true << std::optional(QString()) << u"content:<file hash>"_s;
        QTest::newRow("unreadable-falls-back-to-resource")
            << false << std::optional<QString>() << u"resource:<path>|unknown|unknown"_s;
    }

    void identity()
    {
        QFETCH(bool, exists);
        QFETCH(std::optional<QString>, contentHash);
        QFETCH(QString, expected);

        const QString path = m_dir->filePath(u"picture.png"_s);
        if (exists)
            QVERIFY(!writeImage(path, Qt::red).isEmpty());
        if (exists && !contentHash.value_or(QString()).isEmpty()) {
            QCOMPARE(AIImageArtifactCache::identity(path, contentHash), expected);
            return;
        }
        const std::optional<QString> fileHash = FileHashService::hash(path);
        QCOMPARE(fileHash.has_value(), exists);
        expected.replace(u"<file hash>"_s, fileHash.value_or(QString())).replace(u"<path>"_s, path);
        QCOMPARE(AIImageArtifactCache::identity(path, contentHash), expected);
    }

    void defaultDiskDirectory_data()
    {
        QTest::addColumn<QString>("xdgCacheHome");
        QTest::addColumn<bool>("followsVariable");

        QTest::newRow("absolute-variable-wins") << u"<temp>/xdg-cache"_s << true;
        QTest::newRow("relative-variable-ignored") << u"relative/cache"_s << false;
    }

    void defaultDiskDirectory()
    {
        QFETCH(QString, xdgCacheHome);
        QFETCH(bool, followsVariable);

        xdgCacheHome.replace(u"<temp>"_s, m_dir->path());
        const QByteArray previous = qgetenv("XDG_CACHE_HOME");
        qputenv("XDG_CACHE_HOME", xdgCacheHome.toUtf8());
        const std::optional<QString> directory = AIImageArtifactCache::defaultDiskDirectory();
        qputenv("XDG_CACHE_HOME", previous);

        QVERIFY(directory);
        QVERIFY(directory->endsWith(u"/Nomly/AIImageArtifacts"_s));
        QVERIFY(QDir::isAbsolutePath(*directory));
        QCOMPARE(*directory == xdgCacheHome + u"/Nomly/AIImageArtifacts"_s, followsVariable);
    }

    void artifactJson_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<std::optional<Artifact>>("artifact");

        const QByteArray jpeg("\xff\xd8\xff\xe0 jpeg", 9);
        QTest::newRow("all-fields") << R"({"data":"/9j/4CBqcGVn","text":"Invoice 42","localMetadata":"ISO: 100"})"_ba
                                    << std::optional(Artifact { jpeg, u"Invoice 42"_s, u"ISO: 100"_s });
        QTest::newRow("texts-absent") << R"({"data":"/9j/4CBqcGVn"})"_ba << std::optional(Artifact { jpeg, {}, {} });
        QTest::newRow("data-missing") << R"({"text":"Invoice 42"})"_ba << std::optional<Artifact>();
        QTest::newRow("data-not-base64") << R"({"data":"*not base64*"})"_ba << std::optional<Artifact>();
        QTest::newRow("text-mistyped") << R"({"data":"/9j/4CBqcGVn","text":7})"_ba << std::optional<Artifact>();
    }

    void artifactJson()
    {
        QFETCH(QByteArray, json);
        QFETCH(std::optional<Artifact>, artifact);

        const QJsonObject object = QJsonDocument::fromJson(json).object();
        QCOMPARE(preparedImageAnalysisArtifactFromJson(object), artifact);
        if (artifact)
            QCOMPARE(toJson(*artifact), object);
    }

    // Proven without timing: the file changes after the first prepare while its
    // content hash is claimed to stay, so only a cached JPEG can come back.
    void secondPrepareIsServedFromCache_data()
    {
        QTest::addColumn<bool>("freshCache"); // a new process reading the disk tier

        QTest::newRow("memory-tier") << false;
        QTest::newRow("disk-tier") << true;
    }

    void secondPrepareIsServedFromCache()
    {
        QFETCH(bool, freshCache);

        const QString path = writeImage(m_dir->filePath(u"photo.png"_s), Qt::red);
        std::optional<AIImageArtifactCache> cache(std::in_place, m_cacheDir);
        const std::optional<Artifact> first = prepared(*cache, path, u"hash-1"_s);
        QVERIFY(first);
        QVERIFY(first->data.startsWith("\xff\xd8"));
        QVERIFY(first->localMetadata && !first->localMetadata->isEmpty());
        QCOMPARE(*first->localMetadata, first->localMetadata->trimmed());

        QVERIFY(!writeImage(path, Qt::blue, { 640, 640 }).isEmpty());
        if (freshCache)
            cache.emplace(m_cacheDir);
        QCOMPARE(prepared(*cache, path, u"hash-1"_s), first);
        QCOMPARE(cache->memoryItemCount(), 1);

        // Another hash is another entry, built from what the file holds now.
        const std::optional<Artifact> rebuilt = prepared(*cache, path, u"hash-2"_s);
        QVERIFY(rebuilt);
        QVERIFY(rebuilt->data != first->data);
        QCOMPARE(entryNames(m_cacheDir).size(), 2);
    }

    void eachTargetSizeIsItsOwnEntry()
    {
        const QString path = writeImage(m_dir->filePath(u"photo.jpg"_s), Qt::darkGreen, { 1600, 1200 });
        AIImageArtifactCache cache(m_cacheDir);

        const std::optional<Artifact> large = prepared(cache, path, std::nullopt, 1024);
        const std::optional<Artifact> small = prepared(cache, path, std::nullopt, 384);
        QVERIFY(large && small);
        QCOMPARE_LT(small->data.size(), large->data.size());
        QCOMPARE(QImage::fromData(large->data).size(), QSize(1024, 768));
        QCOMPARE(QImage::fromData(small->data).size(), QSize(384, 288));
        QCOMPARE(cache.memoryItemCount(), 2);
        QCOMPARE(cache.memoryByteCount(), large->data.size() + small->data.size());

        const QString identity = *AIImageArtifactCache::identity(path, std::nullopt);
        QStringList expected {
            AIImageArtifactCache::diskFileName(AIImageArtifactCache::cacheKey(path, identity, 1024, 0.8)),
            AIImageArtifactCache::diskFileName(AIImageArtifactCache::cacheKey(path, identity, 384, 0.8))
        };
        expected.sort();
        QCOMPARE(entryNames(m_cacheDir), expected);
    }

    // Steps are "put:<key>:<bytes>" and "get:<key>".
    void memoryTier_data()
    {
        QTest::addColumn<int>("maxItems");
        QTest::addColumn<qint64>("maxBytes");
        QTest::addColumn<QStringList>("steps");
        QTest::addColumn<QStringList>("kept");
        QTest::addColumn<qint64>("bytes");

        const Limits defaults;
        QStringList fortyNine;
        QStringList keptOfFortyNine { u"k0"_s };
        for (int i = 0; i < 48; ++i)
            fortyNine << u"put:k%1:10"_s.arg(i);
        fortyNine << u"get:k0"_s << u"put:k48:10"_s;
        for (int i = 2; i <= 48; ++i)
            keptOfFortyNine << u"k%1"_s.arg(i);
        QTest::newRow("49th-evicts-least-recently-used")
            << defaults.maxItems << defaults.maxBytes << fortyNine << keptOfFortyNine << qint64(480);

        QTest::newRow("oversized-evicts-everything")
            << defaults.maxItems << defaults.maxBytes
            << QStringList { u"put:a:10"_s, u"put:b:10"_s, u"put:huge:%1"_s.arg(64 * MiB + 1) } << QStringList {}
            << qint64(0);
        QTest::newRow("exactly-at-byte-limit-stays")
            << defaults.maxItems << defaults.maxBytes << QStringList { u"put:a:%1"_s.arg(64 * MiB) }
            << QStringList { u"a"_s } << 64 * MiB;
        QTest::newRow("replacing-counts-new-size")
            << 4 << qint64(100) << QStringList { u"put:a:10"_s, u"put:a:4"_s } << QStringList { u"a"_s } << qint64(4);
        QTest::newRow("byte-limit-evicts-least-recently-used")
            << 4 << qint64(100) << QStringList { u"put:a:60"_s, u"put:b:30"_s, u"get:a"_s, u"put:c:30"_s }
            << QStringList { u"a"_s, u"c"_s } << qint64(90);
        QTest::newRow("replacing-refreshes-recency")
            << 2 << qint64(100) << QStringList { u"put:a:1"_s, u"put:b:1"_s, u"put:a:2"_s, u"put:c:1"_s }
            << QStringList { u"a"_s, u"c"_s } << qint64(3);
    }

    void memoryTier()
    {
        QFETCH(int, maxItems);
        QFETCH(qint64, maxBytes);
        QFETCH(QStringList, steps);
        QFETCH(QStringList, kept);
        QFETCH(qint64, bytes);

        AIImageArtifactCache cache(std::nullopt, Limits { maxItems, maxBytes, 192, 256 * MiB });
        for (const QString &step : std::as_const(steps)) {
            const QStringList parts = step.split(u':');
            if (parts[0] == u"put")
                cache.storeInMemory(parts[1], Artifact { QByteArray(parts[2].toLongLong(), 'x'), {}, {} });
            else
                QVERIFY2(cache.lookupInMemory(parts[1]), qPrintable(step));
        }

        QCOMPARE(cache.memoryByteCount(), bytes);
        QCOMPARE(cache.memoryItemCount(), kept.size());
        for (const QString &key : std::as_const(kept))
            QVERIFY2(cache.lookupInMemory(key), qPrintable(key));
    }

    void unusableDiskFileIsMiss_data()
    {
        QTest::addColumn<QByteArray>("contents");

        QTest::newRow("other-stored-key") << R"({"key":"image-v3|other","artifact":{"data":"/9j/"}})"_ba;
        QTest::newRow("corrupt-json") << "{\"key\": \"image-v3|"_ba;
        QTest::newRow("artifact-missing") << R"({"key":"<key>"})"_ba;
        QTest::newRow("not-an-object") << R"(["<key>"])"_ba;
    }

    // A miss leaves the file as it is: only pruning removes files.
    void unusableDiskFileIsMiss()
    {
        QFETCH(QByteArray, contents);

        const QString key = AIImageArtifactCache::cacheKey(u"/photos/a.jpg"_s, u"content:h"_s, 256, 0.8);
        contents.replace("<key>", key.toUtf8());
        const QString file = m_cacheDir + u'/' + AIImageArtifactCache::diskFileName(key);
        QVERIFY(QDir().mkpath(m_cacheDir));
        QVERIFY(writeBytes(file, contents));

        AIImageArtifactCache cache(m_cacheDir);
        QVERIFY(!awaited(cache.readFromDisk(key)));
        QCOMPARE(readBytes(file), contents);
        QCOMPARE(cache.memoryItemCount(), 0);
    }

    void corruptDiskFileIsOverwrittenByBuild()
    {
        const QString path = writeImage(m_dir->filePath(u"photo.png"_s), Qt::yellow);
        const QString key = AIImageArtifactCache::cacheKey(path, u"content:h"_s, 256, 0.8);
        const QString file = m_cacheDir + u'/' + AIImageArtifactCache::diskFileName(key);
        QVERIFY(QDir().mkpath(m_cacheDir));
        QVERIFY(writeBytes(file, "{\"key\": tru"));

        AIImageArtifactCache cache(m_cacheDir);
        const std::optional<Artifact> built = prepared(cache, path, u"h"_s);
        QVERIFY(built);

        AIImageArtifactCache restarted(m_cacheDir);
        QCOMPARE(awaited(restarted.readFromDisk(key)), built);
    }

    // The entry of the path is in both tiers, yet the file is gone: the answer
    // must say so rather than hand out the stale picture.
    void vanishedFileSkipsCacheAndFails()
    {
        const QString path = writeImage(m_dir->filePath(u"photo.png"_s), Qt::cyan);
        AIImageArtifactCache cache(m_cacheDir);
        QVERIFY(prepared(cache, path, u"h"_s));
        QVERIFY(QFile::remove(path));

        QVERIFY(!prepared(cache, path, u"h"_s));
        QCOMPARE(cache.memoryItemCount(), 1);
        QCOMPARE(entryNames(m_cacheDir).size(), 1);
    }

    void unwritableFolderKeepsMemoryTier()
    {
        const QString blocker = m_dir->filePath(u"blocker"_s);
        QVERIFY(writeBytes(blocker, "a file where the folder should be"));
        const QString path = writeImage(m_dir->filePath(u"photo.png"_s), Qt::magenta);

        AIImageArtifactCache cache(blocker + u"/AIImageArtifacts"_s);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Failed to persist AI image artifact cache entry"_s));
        const std::optional<Artifact> built = prepared(cache, path, u"h"_s);
        QVERIFY(built);
        QCOMPARE(cache.memoryItemCount(), 1);

        QVERIFY(writeImage(path, Qt::black).size());
        QCOMPARE(prepared(cache, path, u"h"_s), built);
    }

    // Files "old0", "old1", ... are ever newer; then one entry is written, which
    // prunes. The entry itself is newest and is listed as "new".
    void pruning_data()
    {
        QTest::addColumn<QList<int>>("oldSizes");
        QTest::addColumn<int>("maxDiskItems");
        QTest::addColumn<qint64>("maxDiskBytes");
        QTest::addColumn<QStringList>("kept");

        QTest::newRow("within-limits-keeps-all")
            << QList<int> { 10, 10 } << 3 << qint64(10'000) << QStringList { u"new"_s, u"old0"_s, u"old1"_s };
        QTest::newRow("count-limit-drops-oldest")
            << QList<int> { 10, 10, 10, 10 } << 3 << qint64(10'000) << QStringList { u"new"_s, u"old2"_s, u"old3"_s };
        QTest::newRow("byte-limit-drops-oldest")
            << QList<int> { 400, 400, 400 } << 10 << qint64(1'000) << QStringList { u"new"_s, u"old1"_s, u"old2"_s };
    }

    void pruning()
    {
        QFETCH(QList<int>, oldSizes);
        QFETCH(int, maxDiskItems);
        QFETCH(qint64, maxDiskBytes);
        QFETCH(QStringList, kept);

        QVERIFY(QDir().mkpath(m_cacheDir));
        const QDateTime start = QDateTime::currentDateTimeUtc().addDays(-30);
        for (int i = 0; i < oldSizes.size(); ++i) {
            const QString file = m_cacheDir + u"/old%1"_s.arg(i);
            QVERIFY(writeBytes(file, QByteArray(oldSizes[i], 'o')));
            QVERIFY(setModified(file, start.addSecs(i * 60)));
        }

        AIImageArtifactCache cache(m_cacheDir, Limits { 48, 64 * MiB, maxDiskItems, maxDiskBytes });
        const QString key = u"image-v3|new"_s;
        QCoro::waitFor(cache.writeToDisk(key, Artifact { "x", {}, {} }));

        QStringList names = entryNames(m_cacheDir);
        names.replace(names.indexOf(AIImageArtifactCache::diskFileName(key)), u"new"_s);
        names.sort();
        QCOMPARE(names, kept);
    }

    // A read counts as a use: the entry read last survives the entry written
    // after it, although both others are older.
    void readingKeepsEntryFromPruning()
    {
        AIImageArtifactCache cache(m_cacheDir, Limits { 48, 64 * MiB, 2, 256 * MiB });
        const auto write = [&cache](const QString &key) {
            QCoro::waitFor(cache.writeToDisk(key, Artifact { key.toUtf8(), {}, {} }));
        };
        const auto fileOf = [this](const QString &key) -> QString {
            return m_cacheDir + u'/' + AIImageArtifactCache::diskFileName(key);
        };

        write(u"a"_s);
        write(u"b"_s);
        QVERIFY(setModified(fileOf(u"a"_s), QDateTime(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC)));
        QVERIFY(setModified(fileOf(u"b"_s), QDateTime(QDate(2002, 1, 1), QTime(0, 0), Qt::UTC)));

        QCOMPARE(awaited(cache.readFromDisk(u"a"_s)), std::optional(Artifact { "a", {}, {} }));
        QCOMPARE_GT(QFileInfo(fileOf(u"a"_s)).lastModified(), QDateTime::currentDateTimeUtc().addSecs(-60));

        write(u"c"_s);
        QVERIFY(QFile::exists(fileOf(u"a"_s)));
        QVERIFY(!QFile::exists(fileOf(u"b"_s)));
        QVERIFY(QFile::exists(fileOf(u"c"_s)));
    }

private:
    std::optional<QTemporaryDir> m_dir;
    QString m_cacheDir;
};

QTEST_GUILESS_MAIN(AIImageArtifactCacheTest)

#include "aiimageartifactcachetest.moc"
