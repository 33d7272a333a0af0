// Moves on real files: within a folder, onto taken names, across file
// systems, into folders that refuse them.

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <cerrno>

#include <sys/stat.h>

#include "filesystemfixtures.h"
#include "platform/canonicalpath.h"
#include "platform/filemover.h"

using namespace Qt::StringLiterals;
using namespace Nomly;
using namespace Nomly::Test;

namespace {

// A folder on another file system than the temporary folder, for moves that
// cannot be one rename.
QString otherFileSystemFolder(const QString &than)
{
    struct stat ours
    {};

    struct stat shm
    {};

    if (::stat(QFile::encodeName(than).constData(), &ours) != 0 || ::stat("/dev/shm", &shm) != 0
        || ours.st_dev == shm.st_dev)
        return {};
    return u"/dev/shm"_s;
}

} // namespace

class FileMoverTest : public QObject
{
    Q_OBJECT

private slots:
    void move_data();
    void move();
    void acrossFileSystems_data();
    void acrossFileSystems();
    void refusedByFolder();
    void canonicalPath_data();
    void canonicalPath();

private:
    QTemporaryDir m_dir;
};

void FileMoverTest::move_data()
{
    QTest::addColumn<QString>("setup"); // what stands at the destination
    QTest::addColumn<bool>("sourceExists");
    QTest::addColumn<int>("expectedError");

    QTest::newRow("free-name") << u""_s << true << 0;
    QTest::newRow("file-in-the-way") << u"file"_s << true << EEXIST;
    QTest::newRow("source-gone") << u""_s << false << ENOENT;
    QTest::newRow("name-too-long") << u"long"_s << true << ENAMETOOLONG;
}

void FileMoverTest::move()
{
    QFETCH(QString, setup);
    QFETCH(bool, sourceExists);
    QFETCH(int, expectedError);

    QTemporaryDir dir;
    const QString source = dir.filePath(u"scan001.txt"_s);
    QString destination = dir.filePath(setup == u"long" ? QString(300, u'x') + u".txt"_s : u"Report.txt"_s);
    if (sourceExists)
        QVERIFY(writeFile(source, "source bytes"));
    if (setup == u"file")
        QVERIFY(writeFile(destination, "other bytes"));
    else if (setup == u"dangling")
        QVERIFY(QFile::link(dir.filePath(u"nowhere"_s), destination));
    else if (setup == u"folder")
        QVERIFY(QDir(dir.path()).mkdir(u"Report.txt"_s));

    const Result<> result = FileMover::move(source, destination);

    QCOMPARE(result.ok() ? 0 : result.failure().code, expectedError);
    if (expectedError == 0) {
        QVERIFY(!QFile::exists(source));
        QCOMPARE(readFile(destination), "source bytes");
        return;
    }
    QVERIFY(result.error().contains(u"scan001.txt"_s));
    if (sourceExists)
        QCOMPARE(readFile(source), "source bytes");
    if (setup == u"file")
        QCOMPARE(readFile(destination), "other bytes");
}

void FileMoverTest::acrossFileSystems_data()
{
    QTest::addColumn<bool>("destinationTaken");
    QTest::addColumn<qsizetype>("size");

    QTest::newRow("larger-than-one-buffer") << false << qsizetype(3 * 256 * 1024 + 17);
    QTest::newRow("taken-name-refused") << true << qsizetype(10);
}

void FileMoverTest::acrossFileSystems()
{
    QFETCH(bool, destinationTaken);
    QFETCH(qsizetype, size);

    const QString other = otherFileSystemFolder(m_dir.path());
    if (other.isEmpty())
        QSKIP("no second file system to move to");
    QTemporaryDir target(other + u"/nomly-test-XXXXXX"_s);
    QVERIFY(target.isValid());

    QByteArray bytes(size, Qt::Uninitialized);
    for (qsizetype i = 0; i < size; ++i)
        bytes[i] = char(i * 31 % 251);
    const QString source = m_dir.filePath(u"across.bin"_s);
    QFile::remove(source);
    QVERIFY(writeFile(source, bytes));
    QVERIFY(setAttribute(source, "user.xdg.tags", "finance,q3"));
    const QString destination = target.filePath(u"moved.bin"_s);
    if (destinationTaken)
        QVERIFY(writeFile(destination, "taken"));

    const Result<> result = FileMover::move(source, destination);

    if (destinationTaken) {
        QCOMPARE(result.failure().code, EEXIST);
        QCOMPARE(readFile(source), bytes);
        QCOMPARE(readFile(destination), "taken");
        return;
    }
    QVERIFY2(result.ok(), qPrintable(result.error()));
    QVERIFY(!QFile::exists(source));
    QCOMPARE(readFile(destination), bytes);
    QCOMPARE(attribute(destination, "user.xdg.tags"), "finance,q3");
}

void FileMoverTest::refusedByFolder()
{
    QTemporaryDir dir;
    const QString folder = dir.filePath(u"locked"_s);
    QVERIFY(QDir(dir.path()).mkdir(u"locked"_s));
    const QString source = folder + u"/scan.txt"_s;
    QVERIFY(writeFile(source, "kept"));
    LockedFolder lock(folder);
    if (!lock.isLocked())
        QSKIP("this file system cannot lock a folder");

    const Result<> result = FileMover::move(source, folder + u"/Report.txt"_s);

    QVERIFY(!result.ok());
    QVERIFY(result.failure().code == EPERM || result.failure().code == EACCES);
    QCOMPARE(readFile(source), "kept");
}

void FileMoverTest::canonicalPath_data()
{
    QTest::addColumn<QString>("given"); // relative to the temporary folder
    QTest::addColumn<QString>("expected"); // relative to its resolved form

    QTest::newRow("through-a-link") << u"link/a.txt"_s << u"real/a.txt"_s;
    QTest::newRow("missing-file-under-a-link") << u"link/new.txt"_s << u"real/new.txt"_s;
    QTest::newRow("missing-folders-under-a-link") << u"link/x/y/z.txt"_s << u"real/x/y/z.txt"_s;
}

void FileMoverTest::canonicalPath()
{
    QFETCH(QString, given);
    QFETCH(QString, expected);

    QTemporaryDir dir;
    QVERIFY(QDir(dir.path()).mkdir(u"real"_s));
    QVERIFY(writeFile(dir.filePath(u"real/a.txt"_s), "a"));
    QVERIFY(QFile::link(dir.filePath(u"real"_s), dir.filePath(u"link"_s)));
    const QString root = QFileInfo(dir.path()).canonicalFilePath();

    QCOMPARE(Nomly::canonicalPath(dir.filePath(given)), root + u'/' + expected);
}

QTEST_GUILESS_MAIN(FileMoverTest)
#include "filemovertest.moc"
