// Content hashes of real files and folders, checked against digests composed
// here with Qt's own SHA-256, so that a stored hash stays comparable across
// versions.

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "filesystemfixtures.h"
#include "history/filehashservice.h"

using namespace Qt::StringLiterals;
using namespace Nomly;
using namespace Nomly::Test;

namespace {

// Sets the modification time to whole seconds plus nanoseconds.
bool setModified(const QString &path, time_t seconds, long nanoseconds = 0)
{
    const timespec times[2] = { { seconds, nanoseconds }, { seconds, nanoseconds } };
    return ::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, AT_SYMLINK_NOFOLLOW) == 0;
}

QString sha256(const QByteArray &bytes)
{
    return QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex());
}

} // namespace

class FileHashServiceTest : public QObject
{
    Q_OBJECT

private slots:

    void init() { m_dir = std::make_unique<QTemporaryDir>(); }

    void modificationTimeText_data()
    {
        QTest::addColumn<double>("seconds");
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("whole seconds keep a fraction") << 1700000000.0 << QByteArray("1700000000.0");
        QTest::newRow("exact binary fraction") << 1731962381.125 << QByteArray("1731962381.125");
        QTest::newRow("shortest that reads back") << 1731962381.1 << QByteArray("1731962381.1");
        QTest::newRow("microseconds") << 1700000000.000001 << QByteArray("1700000000.000001");
        QTest::newRow("epoch") << 0.0 << QByteArray("0.0");
        QTest::newRow("before the epoch") << -1.5 << QByteArray("-1.5");
    }

    void modificationTimeText()
    {
        QFETCH(double, seconds);
        QFETCH(QByteArray, text);
        QCOMPARE(FileHashService::modificationTimeText(seconds), text);
        QCOMPARE(FileHashService::modificationTimeText(seconds).toDouble(), seconds);
    }

    // Content, then the time text; an empty file is the time text alone.
    void fileHashComposition_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("short") << QByteArray("abc");
        // Crosses the read buffer: a chunk boundary must not lose a byte.
        QTest::newRow("over a chunk") << QByteArray(FileHashService::ChunkSize + 17, 'x');
    }

    void fileHashComposition()
    {
        QFETCH(QByteArray, content);
        const QString path = m_dir->filePath(u"a.bin"_s);
        QVERIFY(writeFile(path, content));
        QVERIFY(setModified(path, 1700000000, 500000000));
        QCOMPARE(FileHashService::hash(path), std::optional(sha256(content + "1700000000.5")));
    }

    void identityFollowsContentAndTime()
    {
        QVERIFY(QDir(m_dir->path()).mkpath(u"one"_s) && QDir(m_dir->path()).mkpath(u"two"_s));
        const QString first = m_dir->filePath(u"one/scan.pdf"_s);
        const QString second = m_dir->filePath(u"two/other name.pdf"_s);
        QVERIFY(writeFile(first, "same bytes") && writeFile(second, "same bytes"));
        QVERIFY(setModified(first, 1731962381) && setModified(second, 1731962381));
        const auto original = FileHashService::hash(first);
        QVERIFY(original);
        QCOMPARE(FileHashService::hash(second), original);

        const QString moved = m_dir->filePath(u"two/renamed.pdf"_s);
        QVERIFY(QFile::rename(first, moved));
        QCOMPARE(FileHashService::hash(moved), original);

        QVERIFY(setModified(moved, 1731962382));
        QVERIFY(FileHashService::hash(moved) != original);
    }

    void missingItemHasNoHash()
    {
        // A pipe would block a reader forever; it is no file to hash.
        const QString pipe = m_dir->filePath(u"pipe"_s);
        QVERIFY(::mkfifo(QFile::encodeName(pipe).constData(), 0600) == 0);
        QTest::ignoreMessage(QtCriticalMsg,
                             qPrintable(u"FileHashService: Failed to create stream for file at "_s + pipe));
        QVERIFY(!FileHashService::hash(pipe));
        const QString missing = m_dir->filePath(u"gone.txt"_s);
        QTest::ignoreMessage(QtCriticalMsg,
                             qPrintable(u"FileHashService: Failed to create stream for file at "_s + missing));
        QVERIFY(!FileHashService::hash(missing));
        const QString present = m_dir->filePath(u"here.txt"_s);
        QVERIFY(writeFile(present, "x"));
        QTest::ignoreMessage(QtCriticalMsg,
                             qPrintable(u"FileHashService: Failed to create stream for file at "_s + missing));
        QCOMPARE(FileHashService::hashes({ missing, present }).keys(), QStringList { present });
    }

    // "D:" and the bundle's name and time, then each entry by relative path:
    // folders as "D:" and time, files as "F:", content and time; links and
    // the file system's order play no part.
    void bundleHashComposition()
    {
        const QString root = m_dir->filePath(u"Report.pages"_s);
        QDir dir;
        QVERIFY(dir.mkpath(root + u"/Data"_s));
        QVERIFY(writeFile(root + u"/index.xml"_s, "<doc/>"));
        QVERIFY(writeFile(root + u"/Data/image.png"_s, "png"));
        QVERIFY(writeFile(root + u"/.hidden"_s, "h"));
        QVERIFY(QFile::link(root + u"/index.xml"_s, root + u"/link.xml"_s));
        QVERIFY(setModified(root + u"/index.xml"_s, 1700000001));
        QVERIFY(setModified(root + u"/Data/image.png"_s, 1700000002));
        QVERIFY(setModified(root + u"/.hidden"_s, 1700000003));
        QVERIFY(setModified(root + u"/Data"_s, 1700000004));
        QVERIFY(setModified(root, 1700000005));

        const QByteArray expected = "D:Report.pages1700000005.0"
                                    "F:.hidden"
                                    "h"
                                    "1700000003.0"
                                    "D:Data1700000004.0"
                                    "F:Data/image.png"
                                    "png"
                                    "1700000002.0"
                                    "F:index.xml"
                                    "<doc/>"
                                    "1700000001.0";
        QCOMPARE(FileHashService::hash(root), std::optional(sha256(expected)));
        QCOMPARE(FileHashService::hash(root + u"/"_s), std::optional(sha256(expected)));

        // The bundle's own name counts, unlike a file's.
        const QString renamed = m_dir->filePath(u"Final.pages"_s);
        QVERIFY(QFile::rename(root, renamed));
        QVERIFY(FileHashService::hash(renamed) != std::optional(sha256(expected)));
    }

    void unreadableFileInBundleSpoilsHash()
    {
        if (::geteuid() == 0)
            QSKIP("root reads files whatever their mode");
        const QString root = m_dir->filePath(u"Deck.key"_s);
        QVERIFY(QDir().mkpath(root));
        QVERIFY(writeFile(root + u"/a.txt"_s, "a") && writeFile(root + u"/secret"_s, "s"));
        QVERIFY(QFile::setPermissions(root + u"/secret"_s, QFileDevice::Permissions()));
        QTest::ignoreMessage(QtCriticalMsg, QRegularExpression(u"Failed to create stream for file at .*/secret$"_s));
        QVERIFY(!FileHashService::hash(root));
    }

private:
    std::unique_ptr<QTemporaryDir> m_dir;
};

QTEST_GUILESS_MAIN(FileHashServiceTest)
#include "filehashservicetest.moc"
