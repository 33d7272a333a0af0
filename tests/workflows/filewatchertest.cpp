// The watcher on real folders and the kernel's real change stream: which
// files it hands on, when, and what it passes over.

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <cstdio>

#include "filesystemfixtures.h"
#include "history/undoignoreservice.h"
#include "workflows/filewatcher.h"

using namespace Qt::StringLiterals;
using namespace Nomly;

namespace {

// Short, so that the tables run quickly; long enough that a busy machine
// running the sanitizers does not let a file settle between two steps.
constexpr std::chrono::milliseconds QuickSettle { 100 };
constexpr int Patience = 5000;

bool write(const QString &path)
{
    return Test::writeFile(path, "content");
}

bool append(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::Append) && file.write(bytes) == bytes.size();
}

// A temporary folder holding `watched`, `outside` (on the same file system)
// and `link` (a link to `watched`), and a watcher that notes its calls.
struct WatchedFolder
{
    WatchedFolder()
        : watcher(
            ignore,
            [this](const QString &path) { settled.append(path); },
            [this] { ++rootChanges; },
            [this] { ++overflows; })
    {
        QDir(temp.path()).mkpath(u"watched"_s);
        QDir(temp.path()).mkpath(u"outside"_s);
        QFile::link(temp.filePath(u"watched"_s), temp.filePath(u"link"_s));
        watcher.setSettleDelay(QuickSettle);
    }

    QString rootPath() const { return temp.filePath(root); }

    QString path(const QString &relative) const { return rootPath() + u'/' + relative; }

    // `watch` names the root and the names let through, as in "link/Scan*.jpg";
    // subfolders are always followed.
    void start(const QString &watch = u"watched/*.jpg"_s)
    {
        root = watch.section(u'/', 0, 0);
        const QString prefix = watch.section(u'/', 1).section(u'*', 0, 0);
        const QString extension = watch.section(u"*."_s, 1);
        control = prefix + u"zz-control."_s + extension;
        watcher.configure({ true, prefix, { extension } });
        watcher.start({ rootPath() });
    }

    // Settled paths relative to the root as it was watched.
    QStringList settledNames() const
    {
        QStringList names;
        for (const QString &path : settled)
            names.append(QDir(rootPath()).relativeFilePath(path));
        return names;
    }

    // Carries out `steps` such as "write watched/a.jpg; wait 50; mv watched/a.jpg outside/a.jpg",
    // with paths inside the temporary folder.
    void run(const QString &steps)
    {
        for (const QString &step : steps.split(u';', Qt::SkipEmptyParts)) {
            const QStringList words = step.split(u' ', Qt::SkipEmptyParts);
            const QString verb = words.value(0);
            const QString first = temp.filePath(words.value(1));
            const QString second = temp.filePath(words.value(2));
            if (verb == u"write")
                QVERIFY(write(first));
            else if (verb == u"append")
                QVERIFY(append(first, "more"));
            else if (verb == u"mkdir")
                QVERIFY(QDir().mkpath(first));
            else if (verb == u"rm")
                QVERIFY(QFileInfo(first).isDir() ? QDir(first).removeRecursively() : QFile::remove(first));
            else if (verb == u"mv") // in one step, as a file manager or a download does
                QVERIFY(::rename(QFile::encodeName(first).constData(), QFile::encodeName(second).constData()) == 0);
            else if (verb == u"wait")
                QTest::qWait(words.value(1).toInt());
            else if (verb == u"ignore")
                ignore.ignorePath(first, true);
            else if (verb == u"restart") {
                watcher.stop();
                watcher.start({ rootPath() });
            } else {
                QFAIL(qPrintable(u"unknown step: "_s + step));
            }
        }
    }

    QTemporaryDir temp;
    QString root;
    QString control;
    UndoIgnoreService ignore;
    QStringList settled;
    int rootChanges = 0;
    int overflows = 0;
    FileWatcher watcher;
};

} // namespace

class FileWatcherTest : public QObject
{
    Q_OBJECT

private slots:
    void startKeepsTheRequest();
    void changes_data();
    void changes();
    void busyFileHoldsNoOtherBack();
    void oldestPendingFileMakesRoom();
    void overflowWatchesWhatWasMissed();
};

void FileWatcherTest::startKeepsTheRequest()
{
    // What is missing or not a folder is passed over without a word; the
    // rest is watched in the order given.
    WatchedFolder folder;
    QVERIFY(write(folder.temp.filePath(u"file.jpg"_s)));
    QStringList requested;
    for (const QString &name : { u"missing"_s, u"outside"_s, u"file.jpg"_s, u"watched"_s })
        requested.append(folder.temp.filePath(name));
    const FileWatcherFilter filter { true, {}, { u"jpg"_s } };
    QTest::failOnWarning(QRegularExpression(u".*"_s));
    folder.watcher.configure(filter);
    folder.watcher.start(requested);

    QCOMPARE(folder.watcher.watchedFolders(),
             (QStringList { folder.temp.filePath(u"outside"_s), folder.temp.filePath(u"watched"_s) }));
    // The owner asks with the list it gave, not with what was valid in it.
    QVERIFY(folder.watcher.isRunning(requested, filter));
}

void FileWatcherTest::changes_data()
{
    // Watched as `watch` says, the steps run; then, while the root is still
    // there, a control file that passes the filter is written to it: once
    // that is handed on, every file before it had its turn. The root is
    // reported changed exactly when it went away, and once.
    QTest::addColumn<QString>("watch");
    QTest::addColumn<QString>("steps");
    QTest::addColumn<QStringList>("handedOn");

    const QString jpg = u"watched/*.jpg"_s;
    const QStringList none;

    QTest::newRow("hidden-file") << jpg << u"write watched/.a.jpg"_s << none;
    QTest::newRow("prefix-starts-the-name-in-its-case")
        << u"watched/Scan*.jpg"_s << u"write watched/scan-of-Scan.jpg"_s << none;
    QTest::newRow("extension-case-ignored-on-both-sides")
        << u"watched/*.JPG"_s << u"write watched/photo.Jpg"_s << QStringList { u"photo.Jpg"_s };
    QTest::newRow("only-the-last-suffix-counts")
        << jpg << u"write watched/trip.v2.jpg"_s << QStringList { u"trip.v2.jpg"_s };
    QTest::newRow("deleted-before-settling") << jpg << u"write watched/a.jpg; wait 20; rm watched/a.jpg"_s << none;
    QTest::newRow("replaced-by-folder-before-settling")
        << jpg << u"write watched/a.jpg; rm watched/a.jpg; mkdir watched/a.jpg"_s << none;
    QTest::newRow("ignored-real-path-under-linked-root")
        << u"link/*.jpg"_s << u"ignore watched/a.jpg; write link/a.jpg"_s << none;
    // The files a new folder brings along were there before its watch.
    QTest::newRow("new-folders-followed")
        << jpg
        << u"mkdir watched/new; mkdir outside/album/inner; write outside/album/inner/a.jpg; "
           u"mv outside/album watched/album; wait 50; write watched/new/b.jpg; write watched/album/inner/c.jpg"_s
        << QStringList { u"album/inner/a.jpg"_s, u"new/b.jpg"_s, u"album/inner/c.jpg"_s };
    QTest::newRow("hidden-folders-left-out")
        << jpg
        << u"mkdir watched/.cache; mkdir outside/album/.thumbs; write outside/album/.thumbs/a.jpg; "
           u"mv outside/album watched/album; wait 50; write watched/.cache/b.jpg"_s
        << none;
    // What happens in a folder that left stays out, even where a new folder
    // took its name and holds a file of the same name.
    QTest::newRow("folder-moved-out-is-let-go")
        << jpg
        << u"mkdir watched/trip; wait 50; mv watched/trip outside/trip; mkdir watched/trip; wait 50; "
           u"write watched/trip/same.jpg; write outside/trip/same.jpg; wait 200; append outside/trip/same.jpg"_s
        << QStringList { u"trip/same.jpg"_s };
    QTest::newRow("subfolder-deleted") << jpg << u"mkdir watched/sub; wait 50; rm watched/sub"_s << none;
    QTest::newRow("root-deleted") << jpg << u"rm watched"_s << none;
    QTest::newRow("restart-forgets-pending-files") << jpg << u"write watched/a.jpg; wait 50; restart"_s << none;
}

void FileWatcherTest::changes()
{
    QFETCH(QString, watch);
    QFETCH(QString, steps);
    QFETCH(QStringList, handedOn);

    WatchedFolder folder;
    folder.start(watch);
    QVERIFY(folder.watcher.isRunning());
    folder.run(steps);
    if (QTest::currentTestFailed())
        return;
    const bool rootGone = !QFileInfo(folder.rootPath()).isDir();
    if (rootGone) {
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Watched folder was moved or deleted: "_s));
        QTRY_VERIFY_WITH_TIMEOUT(folder.rootChanges > 0, Patience);
        QTest::qWait(50);
    } else {
        QVERIFY(write(folder.path(folder.control)));
        // Named as the event named it: through the link when that was watched.
        QTRY_VERIFY_WITH_TIMEOUT(folder.settled.contains(folder.path(folder.control)), Patience);
        handedOn.append(folder.control);
    }

    QStringList settled = folder.settledNames();
    settled.sort();
    handedOn.sort();
    QCOMPARE(settled, handedOn);
    QCOMPARE(folder.watcher.pendingCount(), 0);
    QCOMPARE(folder.rootChanges, rootGone ? 1 : 0);
}

void FileWatcherTest::busyFileHoldsNoOtherBack()
{
    // The busy file grows in pieces, each pause well under the settle delay:
    // it waits for its last piece, and the quiet file does not wait for it.
    WatchedFolder folder;
    folder.start();
    QVERIFY(write(folder.path(u"quiet.jpg"_s)));
    for (int i = 0; i < 12; ++i) {
        QVERIFY(append(folder.path(u"busy.jpg"_s), "x"));
        QTest::qWait(QuickSettle.count() / 3);
    }
    QCOMPARE(folder.settledNames(), QStringList { u"quiet.jpg"_s });
    QTRY_COMPARE_WITH_TIMEOUT(folder.settledNames(), (QStringList { u"quiet.jpg"_s, u"busy.jpg"_s }), Patience);
}

void FileWatcherTest::oldestPendingFileMakesRoom()
{
    // Long enough that every file is seen before the first one settles.
    WatchedFolder folder;
    folder.watcher.setSettleDelay(std::chrono::milliseconds(500));
    folder.start();
    const auto name = [](int i) { return u"f%1.jpg"_s.arg(i, 4, 10, QChar(u'0')); };

    QLoggingCategory::setFilterRules(u"com.nomly.app.FileWatcher.info=false"_s);
    // The limit itself fits; the one past it pushes out the oldest alone.
    QTest::ignoreMessage(QtWarningMsg, "FileWatcher: Dropped 1 oldest pending files due to limit");
    for (int i = 0; i <= FileWatcher::MaxPendingFiles; ++i)
        QVERIFY(write(folder.path(name(i))));
    QTRY_COMPARE_WITH_TIMEOUT(folder.settled.size(), FileWatcher::MaxPendingFiles, Patience);
    QLoggingCategory::setFilterRules({});
    QVERIFY(!folder.settledNames().contains(name(0)));
}

void FileWatcherTest::overflowWatchesWhatWasMissed()
{
    QFile limitFile(u"/proc/sys/fs/inotify/max_queued_events"_s);
    bool known = false;
    const int limit = limitFile.open(QIODevice::ReadOnly) ? limitFile.readAll().trimmed().toInt(&known) : 0;
    if (!known || limit > 65536)
        QSKIP("the kernel's event queue is too long to fill quickly");

    WatchedFolder folder;
    folder.start();
    // Each append queues a write and a close, which the kernel cannot merge;
    // with the watcher's thread busy here, the queue runs full.
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"kernel dropped events"_s));
    for (int i = 0; i <= limit / 2; ++i)
        QVERIFY(append(folder.path(u"busy.txt"_s), "x"));
    // Made while the queue is full: nothing says so but the overflow.
    QVERIFY(QDir().mkpath(folder.path(u"late"_s)));
    QTRY_COMPARE_WITH_TIMEOUT(folder.overflows, 1, Patience);

    QVERIFY(write(folder.path(u"late/a.jpg"_s)));
    QTRY_COMPARE_WITH_TIMEOUT(folder.settledNames(), QStringList { u"late/a.jpg"_s }, Patience);
}

QTEST_GUILESS_MAIN(FileWatcherTest)
#include "filewatchertest.moc"
