// The watcher on real folders and the kernel's real change stream: which
// files it hands on, when, and what it passes over.

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <cstdio>

#include <unistd.h>

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
const QString Control = u"zz-control.jpg"_s;

// Renames in one step, as a file manager or a download does.
bool move(const QString &from, const QString &to)
{
    return ::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0;
}

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
            [this](const QString &path) {
                settled.append(path);
                sizes.append(QFileInfo(path).size());
                settledAt.append(clock.elapsed());
            },
            [this] { ++rootChanges; },
            [this] { ++overflows; })
    {
        clock.start();
        QDir(temp.path()).mkpath(u"watched"_s);
        QDir(temp.path()).mkpath(u"outside"_s);
        QFile::link(temp.filePath(u"watched"_s), temp.filePath(u"link"_s));
        watcher.setSettleDelay(QuickSettle);
    }

    QString rootPath() const { return temp.filePath(root); }

    QString path(const QString &relative) const { return rootPath() + u'/' + relative; }

    void start(bool subfolders, const QSet<QString> &extensions = { u"jpg"_s }, const QString &prefix = {})
    {
        watcher.configure({ subfolders, prefix, extensions });
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
            if (verb == u"write")
                QVERIFY(write(first));
            else if (verb == u"append")
                QVERIFY(append(first, "more"));
            else if (verb == u"mkdir")
                QVERIFY(QDir().mkpath(first));
            else if (verb == u"rm")
                QVERIFY(QFileInfo(first).isDir() ? QDir(first).removeRecursively() : QFile::remove(first));
            else if (verb == u"mv")
                QVERIFY(move(first, temp.filePath(words.value(2))));
            else if (verb == u"wait")
                QTest::qWait(words.value(1).toInt());
            else if (verb == u"ignore")
                ignore.ignorePath(first, true);
            else
                QFAIL(qPrintable(u"unknown step: "_s + step));
        }
    }

    QTemporaryDir temp;
    QString root = u"watched"_s;
    UndoIgnoreService ignore;
    QElapsedTimer clock;
    QStringList settled;
    QList<qint64> sizes;
    QList<qint64> settledAt;
    int rootChanges = 0;
    int overflows = 0;
    FileWatcher watcher;
};

QStringList inside(const QTemporaryDir &temp, QStringList names)
{
    for (QString &name : names)
        name = temp.filePath(name);
    return names;
}

} // namespace

Q_DECLARE_METATYPE(FileWatcherFilter)

class FileWatcherTest : public QObject
{
    Q_OBJECT

private slots:
    void start_data();
    void start();
    void isRunning_data();
    void isRunning();
    void filters_data();
    void filters();
    void changes_data();
    void changes();
    void writtenInPieces_data();
    void writtenInPieces();
    void busyFileHoldsNoOtherBack();
    void oldestPendingFilesMakeRoom();
    void stopForgetsPendingFiles();
    void overflowIsReported();
};

void FileWatcherTest::start_data()
{
    // Names inside a folder holding the folders `a` and `b`, the file
    // `file.txt`, `link` (to `a`) and `locked` (no permissions); `@` in a
    // log line stands for that folder.
    QTest::addColumn<QStringList>("folders");
    QTest::addColumn<QStringList>("watched");
    QTest::addColumn<QString>("warning");
    QTest::addColumn<QString>("info");

    const QString started = u"File watcher started for folders: "_s;
    QTest::newRow("all-kept-in-given-order")
        << QStringList { u"b"_s, u"a"_s } << QStringList { u"b"_s, u"a"_s } << QString() << started + u"@/b, @/a"_s;
    QTest::newRow("missing-and-file-dropped-silently") << QStringList { u"missing"_s, u"a"_s, u"file.txt"_s }
                                                       << QStringList { u"a"_s } << QString() << started + u"@/a"_s;
    QTest::newRow("unreadable-dropped-with-warning")
        << QStringList { u"locked"_s, u"a"_s } << QStringList { u"a"_s } << u"No permission to read folder: @/locked"_s
        << started + u"@/a"_s;
    QTest::newRow("link-to-folder-kept-as-given")
        << QStringList { u"link"_s } << QStringList { u"link"_s } << QString() << started + u"@/link"_s;
    QTest::newRow("none-valid-stays-stopped")
        << QStringList { u"missing"_s, u"file.txt"_s } << QStringList() << u"No valid folders to watch"_s << QString();
}

void FileWatcherTest::start()
{
    QFETCH(QStringList, folders);
    QFETCH(QStringList, watched);
    QFETCH(QString, warning);
    QFETCH(QString, info);

    if (folders.contains(u"locked"_s) && ::geteuid() == 0)
        QSKIP("root reads every folder");
    QTemporaryDir temp;
    QDir base(temp.path());
    QVERIFY(base.mkdir(u"a"_s) && base.mkdir(u"b"_s) && base.mkdir(u"locked"_s));
    QVERIFY(write(base.filePath(u"file.txt"_s)));
    QVERIFY(QFile::link(base.filePath(u"a"_s), base.filePath(u"link"_s)));
    QVERIFY(QFile::setPermissions(base.filePath(u"locked"_s), {}));

    if (!warning.isEmpty())
        QTest::ignoreMessage(QtWarningMsg, warning.replace(u'@', temp.path()).toUtf8().constData());
    if (!info.isEmpty())
        QTest::ignoreMessage(QtInfoMsg, info.replace(u'@', temp.path()).toUtf8().constData());
    QTest::failOnWarning(QRegularExpression(u".*"_s));
    UndoIgnoreService ignore;
    FileWatcher watcher(ignore, {}, {}, {});
    watcher.start(inside(temp, folders));
    QFile::setPermissions(base.filePath(u"locked"_s), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);

    QCOMPARE(watcher.watchedFolders(), inside(temp, watched));
    QCOMPARE(watcher.isRunning(), !watched.isEmpty());
}

void FileWatcherTest::isRunning_data()
{
    // Started on `started` (in a folder holding `a` and `b`) with
    // {subfolders, no prefix, {jpg}}, then configured with `configured`.
    QTest::addColumn<QStringList>("started");
    QTest::addColumn<FileWatcherFilter>("configured");
    QTest::addColumn<QStringList>("asked");
    QTest::addColumn<FileWatcherFilter>("askedFilter");
    QTest::addColumn<bool>("expected");

    const QStringList ab { u"a"_s, u"b"_s };
    const QStringList withMissing { u"a"_s, u"missing"_s };
    const FileWatcherFilter jpg { true, {}, { u"jpg"_s } };
    const FileWatcherFilter prefixed { true, u"Scan"_s, { u"jpg"_s } };

    QTest::newRow("same-folders-and-filter") << ab << jpg << ab << jpg << true;
    QTest::newRow("folders-in-other-order") << ab << jpg << QStringList { u"b"_s, u"a"_s } << jpg << false;
    QTest::newRow("requested-list-counts") << withMissing << jpg << withMissing << jpg << true;
    QTest::newRow("valid-part-is-not-the-request") << withMissing << jpg << QStringList { u"a"_s } << jpg << false;
    QTest::newRow("extensions-compared-lower-case")
        << ab << jpg << ab << FileWatcherFilter { true, {}, { u"JPG"_s } } << true;
    QTest::newRow("subfolders-off") << ab << jpg << ab << FileWatcherFilter { false, {}, { u"jpg"_s } } << false;
    QTest::newRow("new-filter-waits-for-next-start") << ab << prefixed << ab << prefixed << false;
    QTest::newRow("running-filter-until-next-start") << ab << prefixed << ab << jpg << true;
}

void FileWatcherTest::isRunning()
{
    QFETCH(QStringList, started);
    QFETCH(FileWatcherFilter, configured);
    QFETCH(QStringList, asked);
    QFETCH(FileWatcherFilter, askedFilter);
    QFETCH(bool, expected);

    QTemporaryDir temp;
    QVERIFY(QDir(temp.path()).mkdir(u"a"_s) && QDir(temp.path()).mkdir(u"b"_s));
    UndoIgnoreService ignore;
    FileWatcher watcher(ignore, {}, {}, {});
    watcher.configure({ true, {}, { u"jpg"_s } });
    watcher.start(inside(temp, started));
    watcher.configure(configured);

    QCOMPARE(watcher.isRunning(inside(temp, asked), askedFilter), expected);
}

void FileWatcherTest::filters_data()
{
    // `watched` holds `sub` and `.cache` before the start; a candidate
    // ending in "/" is made as a folder. A control file that passes the same
    // filter is written after the candidate, so once the control is handed
    // on the candidate had its turn.
    QTest::addColumn<bool>("subfolders");
    QTest::addColumn<QString>("prefix");
    QTest::addColumn<QSet<QString>>("extensions");
    QTest::addColumn<QString>("candidate");
    QTest::addColumn<bool>("handedOn");

    const QSet<QString> jpg { u"jpg"_s };
    const QString shot = u"Screenshot"_s;

    QTest::newRow("direct-child-without-subfolders") << false << QString() << jpg << u"a.jpg"_s << true;
    QTest::newRow("deeper-file-without-subfolders") << false << QString() << jpg << u"sub/a.jpg"_s << false;
    QTest::newRow("deeper-file-with-subfolders") << true << QString() << jpg << u"sub/a.jpg"_s << true;
    QTest::newRow("hidden-file") << true << QString() << jpg << u".a.jpg"_s << false;
    QTest::newRow("file-in-hidden-folder") << true << QString() << jpg << u".cache/a.jpg"_s << false;
    QTest::newRow("prefix-matches") << true << shot << jpg << u"Screenshot 1.jpg"_s << true;
    QTest::newRow("prefix-is-case-sensitive") << true << shot << jpg << u"screenshot 1.jpg"_s << false;
    QTest::newRow("prefix-inside-name-is-not-enough") << true << shot << jpg << u"My Screenshot.jpg"_s << false;
    QTest::newRow("upper-case-extension-on-file") << true << QString() << jpg << u"PHOTO.JPG"_s << true;
    QTest::newRow("upper-case-extension-in-filter")
        << true << QString() << QSet<QString> { u"JPG"_s } << u"photo.jpg"_s << true;
    QTest::newRow("unsupported-extension") << true << QString() << jpg << u"a.png"_s << false;
    QTest::newRow("dots-before-extension") << true << QString() << jpg << u"trip.v2.jpg"_s << true;
    QTest::newRow("only-last-extension-counts") << true << QString() << jpg << u"a.jpg.part"_s << false;
    QTest::newRow("name-without-dot") << true << QString() << jpg << u"jpg"_s << false;
    QTest::newRow("empty-set-lets-nothing-through") << true << QString() << QSet<QString>() << u"a.jpg"_s << false;
    QTest::newRow("folder-named-like-a-file") << true << QString() << jpg << u"album.jpg/"_s << false;
}

void FileWatcherTest::filters()
{
    QFETCH(bool, subfolders);
    QFETCH(QString, prefix);
    QFETCH(QSet<QString>, extensions);
    QFETCH(QString, candidate);
    QFETCH(bool, handedOn);

    WatchedFolder folder;
    // The order of events decides here, not their timing.
    folder.watcher.setSettleDelay(std::chrono::milliseconds(30));
    QVERIFY(QDir().mkpath(folder.path(u"sub"_s)) && QDir().mkpath(folder.path(u".cache"_s)));
    folder.start(subfolders, extensions, prefix);
    QVERIFY(folder.watcher.isRunning());

    if (candidate.endsWith(u'/'))
        QVERIFY(QDir().mkpath(folder.path(candidate)));
    else
        QVERIFY(write(folder.path(candidate)));
    QStringList expected;
    if (handedOn)
        expected.append(candidate);
    if (extensions.isEmpty()) {
        QTest::qWait(300);
    } else {
        const QString control = prefix + u"zz."_s + *extensions.cbegin();
        QVERIFY(write(folder.path(control)));
        QTRY_VERIFY_WITH_TIMEOUT(folder.settled.contains(folder.path(control)), Patience);
        expected.append(control);
    }
    QCOMPARE(folder.settledNames(), expected);
}

void FileWatcherTest::changes_data()
{
    // With subfolders and {jpg}, on `watched` or on `link`, the steps run;
    // then, while the root is still there, a control file is written to it
    // and must be handed on as well.
    QTest::addColumn<QString>("root");
    QTest::addColumn<QString>("steps");
    QTest::addColumn<QStringList>("handedOn");
    QTest::addColumn<int>("rootChanges");

    const QString w = u"watched"_s;
    const QStringList none;

    QTest::newRow("moved-in-from-outside")
        << w << u"write outside/a.jpg; mv outside/a.jpg watched/a.jpg"_s << QStringList { u"a.jpg"_s } << 0;
    QTest::newRow("renamed-from-partial-name")
        << w << u"write watched/a.part; wait 50; mv watched/a.part watched/a.jpg"_s << QStringList { u"a.jpg"_s } << 0;
    QTest::newRow("deleted-before-settling") << w << u"write watched/a.jpg; wait 20; rm watched/a.jpg"_s << none << 0;
    QTest::newRow("replaced-by-folder-before-settling")
        << w << u"write watched/a.jpg; rm watched/a.jpg; mkdir watched/a.jpg"_s << none << 0;
    QTest::newRow("folder-made-after-start")
        << w << u"mkdir watched/new; wait 50; write watched/new/a.jpg"_s << QStringList { u"new/a.jpg"_s } << 0;
    QTest::newRow("folder-made-and-filled-at-once")
        << w << u"mkdir watched/new/deeper; write watched/new/a.jpg; write watched/new/deeper/b.jpg"_s
        << QStringList { u"new/a.jpg"_s, u"new/deeper/b.jpg"_s } << 0;
    QTest::newRow("folder-moved-in-with-files")
        << w
        << u"mkdir outside/album/inner; write outside/album/a.jpg; write outside/album/inner/b.jpg; "
           u"mv outside/album watched/album; wait 50; write watched/album/inner/c.jpg"_s
        << QStringList { u"album/a.jpg"_s, u"album/inner/b.jpg"_s, u"album/inner/c.jpg"_s } << 0;
    QTest::newRow("hidden-folder-moved-in")
        << w
        << u"mkdir outside/.album; write outside/.album/a.jpg; "
           u"mv outside/.album watched/.album; wait 50; write watched/.album/b.jpg"_s
        << none << 0;
    QTest::newRow("folder-renamed-inside")
        << w << u"mkdir watched/before; wait 50; mv watched/before watched/after; wait 50; write watched/after/a.jpg"_s
        << QStringList { u"after/a.jpg"_s } << 0;
    // What happens in a folder that left stays out, even where a new folder
    // took its name and holds a file of the same name.
    QTest::newRow("folder-moved-out-is-let-go")
        << w
        << u"mkdir watched/trip; wait 50; mv watched/trip outside/trip; mkdir watched/trip; wait 50; "
           u"write watched/trip/same.jpg; write outside/trip/same.jpg; wait 200; append outside/trip/same.jpg"_s
        << QStringList { u"trip/same.jpg"_s } << 0;
    QTest::newRow("ignored-path") << w << u"ignore watched/a.jpg; write watched/a.jpg"_s << none << 0;
    QTest::newRow("real-path-ignored-under-linked-root")
        << u"link"_s << u"ignore watched/a.jpg; write watched/a.jpg"_s << none << 0;
    QTest::newRow("link-path-ignored-under-linked-root")
        << u"link"_s << u"ignore link/a.jpg; write link/a.jpg"_s << none << 0;
    QTest::newRow("root-deleted") << w << u"rm watched"_s << none << 1;
    QTest::newRow("root-renamed") << w << u"mv watched outside/renamed"_s << none << 1;
    QTest::newRow("folder-behind-linked-root-deleted") << u"link"_s << u"rm watched"_s << none << 1;
    QTest::newRow("subfolder-deleted") << w << u"mkdir watched/sub; wait 50; rm watched/sub"_s << none << 0;
}

void FileWatcherTest::changes()
{
    QFETCH(QString, root);
    QFETCH(QString, steps);
    QFETCH(QStringList, handedOn);
    QFETCH(int, rootChanges);

    WatchedFolder folder;
    folder.root = root;
    folder.start(true);
    if (rootChanges > 0)
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Watched folder was moved or deleted: "_s));
    folder.run(steps);
    if (QTest::currentTestFailed())
        return;
    if (QFileInfo(folder.rootPath()).isDir()) {
        QVERIFY(write(folder.path(Control)));
        // Named as the event named it: through the link when that was watched.
        QTRY_VERIFY_WITH_TIMEOUT(folder.settled.contains(folder.path(Control)), Patience);
        handedOn.append(Control);
    } else {
        QTRY_VERIFY_WITH_TIMEOUT(folder.rootChanges > 0, Patience);
        QTest::qWait(50);
    }

    QStringList settled = folder.settledNames();
    settled.sort();
    handedOn.sort();
    QCOMPARE(settled, handedOn);
    QCOMPARE(folder.watcher.pendingCount(), 0);
    QCOMPARE(folder.rootChanges, rootChanges);
}

void FileWatcherTest::writtenInPieces_data()
{
    // Each pause is well under the settle delay of 250 ms.
    QTest::addColumn<bool>("keptOpen");

    QTest::newRow("separate-appends") << false;
    QTest::newRow("one-open-file-written-slowly") << true;
}

void FileWatcherTest::writtenInPieces()
{
    QFETCH(bool, keptOpen);

    constexpr std::chrono::milliseconds settle { 250 };
    constexpr int pieces = 4;
    WatchedFolder folder;
    folder.watcher.setSettleDelay(settle);
    folder.start(true);
    const QString path = folder.path(u"scan.jpg"_s);
    const QByteArray piece(4096, 'x');

    QFile open(path);
    QVERIFY(!keptOpen || open.open(QIODevice::WriteOnly));
    qint64 lastWrite = 0;
    for (int i = 0; i < pieces; ++i) {
        if (i > 0)
            QTest::qWait(80);
        QVERIFY(keptOpen ? open.write(piece) == piece.size() && open.flush() : append(path, piece));
        lastWrite = folder.clock.elapsed();
    }
    open.close();

    QTRY_VERIFY_WITH_TIMEOUT(!folder.settled.isEmpty(), Patience);
    QTest::qWait(settle.count() / 2);
    QCOMPARE(folder.settled, QStringList { path });
    QCOMPARE(folder.sizes.constFirst(), piece.size() * pieces);
    const qint64 after = folder.settledAt.constFirst() - lastWrite;
    QVERIFY2(after >= settle.count() - 5, qPrintable(u"handed on %1 ms after the last piece"_s.arg(after)));
}

void FileWatcherTest::busyFileHoldsNoOtherBack()
{
    WatchedFolder folder;
    folder.start(true);
    QVERIFY(write(folder.path(u"quiet.jpg"_s)));
    const qint64 until = folder.clock.elapsed() + 6 * QuickSettle.count();
    while (folder.clock.elapsed() < until) {
        QVERIFY(append(folder.path(u"busy.jpg"_s), "x"));
        QTest::qWait(QuickSettle.count() / 3);
    }
    QCOMPARE(folder.settledNames(), QStringList { u"quiet.jpg"_s });
    QTRY_COMPARE_WITH_TIMEOUT(folder.settled.size(), 2, Patience);
}

void FileWatcherTest::oldestPendingFilesMakeRoom()
{
    // Long enough that all files are seen before the first one settles.
    constexpr std::chrono::milliseconds settle { 500 };
    constexpr int files = FileWatcher::MaxPendingFiles + 1;
    WatchedFolder folder;
    folder.watcher.setSettleDelay(settle);
    folder.start(false);
    const auto name = [](int i) { return u"f%1.jpg"_s.arg(i, 4, 10, QChar(u'0')); };

    QLoggingCategory::setFilterRules(u"com.nomly.app.FileWatcher.info=false"_s);
    // The limit itself fits; the one past it pushes out the oldest.
    QTest::ignoreMessage(QtWarningMsg, "FileWatcher: Dropped 1 oldest pending files due to limit");
    for (int i = 0; i < files; ++i)
        QVERIFY(write(folder.path(name(i))));
    QTRY_COMPARE_WITH_TIMEOUT(folder.watcher.pendingCount(), FileWatcher::MaxPendingFiles, Patience);
    QTRY_COMPARE_WITH_TIMEOUT(folder.settled.size(), FileWatcher::MaxPendingFiles, Patience);
    QLoggingCategory::setFilterRules({});

    const QStringList settled = folder.settledNames();
    QVERIFY(!settled.contains(name(0)));
    QVERIFY(settled.contains(name(1)) && settled.contains(name(files - 1)));
}

void FileWatcherTest::stopForgetsPendingFiles()
{
    WatchedFolder folder;
    folder.start(true);
    // A start while running changes nothing.
    folder.watcher.start({ folder.temp.filePath(u"outside"_s) });
    QCOMPARE(folder.watcher.watchedFolders(), QStringList { folder.rootPath() });
    QVERIFY(write(folder.path(u"a.jpg"_s)));
    QTRY_COMPARE_WITH_TIMEOUT(folder.watcher.pendingCount(), 1, Patience);

    QTest::ignoreMessage(QtInfoMsg, "File watcher stopped");
    folder.watcher.stop();
    QCOMPARE(folder.watcher.pendingCount(), 0);
    QVERIFY(!folder.watcher.isRunning());
    QTest::qWait(3 * QuickSettle.count());
    QCOMPARE(folder.settled, QStringList());

    // Started again, it hands on what is new and not what it forgot.
    folder.watcher.start({ folder.rootPath() });
    QVERIFY(write(folder.path(u"b.jpg"_s)));
    QTRY_VERIFY_WITH_TIMEOUT(!folder.settled.isEmpty(), Patience);
    QCOMPARE(folder.settledNames(), QStringList { u"b.jpg"_s });
}

void FileWatcherTest::overflowIsReported()
{
    QFile limitFile(u"/proc/sys/fs/inotify/max_queued_events"_s);
    bool known = false;
    const int limit = limitFile.open(QIODevice::ReadOnly) ? limitFile.readAll().trimmed().toInt(&known) : 0;
    if (!known || limit > 65536)
        QSKIP("the kernel's event queue is too long to fill quickly");

    WatchedFolder folder;
    folder.start(true);
    const QString path = folder.path(u"busy.txt"_s);
    QVERIFY(write(path));
    // Each append queues a write and a close, which the kernel cannot merge;
    // with the watcher's thread busy here, the queue runs full.
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"kernel dropped events"_s));
    for (int i = 0; i <= limit / 2; ++i)
        QVERIFY(append(path, "x"));
    // Made while the queue is full: nothing says so but the overflow.
    QVERIFY(QDir().mkpath(folder.path(u"late"_s)));
    QTRY_COMPARE_WITH_TIMEOUT(folder.overflows, 1, Patience);

    QVERIFY(write(folder.path(u"late/a.jpg"_s)));
    QTRY_COMPARE_WITH_TIMEOUT(folder.settledNames(), QStringList { u"late/a.jpg"_s }, Patience);
}

QTEST_GUILESS_MAIN(FileWatcherTest)
#include "filewatchertest.moc"
