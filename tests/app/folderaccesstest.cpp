// Which folders may be watched, how the watched list is normalised, and how
// granted folders are remembered and counted while in use, on real folders
// and links and a real defaults file.

#include <QDir>
#include <QFile>
#include <QLoggingCategory>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include "app/bookmarkservice.h"
#include "app/folderclassification.h"
#include "app/networkservice.h"
#include "app/watchedfoldernormalization.h"
#include "platform/canonicalpath.h"
#include "platform/userdefaults.h"

using namespace Qt::StringLiterals;
using namespace Nomly;

namespace {

using ActiveResource = BookmarkService::ActiveResource;

struct Access
{
    QString path;
    bool isSaved = false;
    int transientDelta = 0;
};

QString folderName(int index)
{
    return u"/srv/watched/f%1"_s.arg(index);
}

QVariantMap storedBookmarks(const QString &defaultsFile)
{
    const UserDefaults defaults(defaultsFile);
    return defaults.value(BookmarkService::BookmarksKey).toMap();
}

} // namespace

namespace Nomly {

// Found by QCOMPARE, so that a mismatch shows the entries.
char *toString(const BookmarkService::ActiveResource &resource)
{
    return QTest::toString(u"%1 saved=%2 transient=%3"_s.arg(resource.path)
                               .arg(resource.isSavedAccess)
                               .arg(resource.transientAccessCount));
}

} // namespace Nomly

Q_DECLARE_METATYPE(Access)
Q_DECLARE_METATYPE(ActiveResource)

class FolderAccessTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void classify_data();
    void classify();
    void homeComesFromEnvironment();
    void normalize_data();
    void normalize();
    void restore_data();
    void restore();
    void restoringAgainCountsOnce();
    void saveFailsWithoutFolder();
    void remove_data();
    void remove();
    void recordAccess_data();
    void recordAccess();
    void eviction_data();
    void eviction();
    void busyListShrinksAsAccessesEnd();
    void networkServiceStarts();

private:
    // "~" stands for the home folder, "@" for the scratch folder outside it.
    QString expand(const QString &pattern) const;

    QTemporaryDir m_dir;
    QString m_root;
    QString m_home;
};

void FolderAccessTest::initTestCase()
{
    QVERIFY(m_dir.isValid());
    m_root = canonicalPath(m_dir.path());
    m_home = m_root + u"/home/someone"_s;
    QDir root(m_root);
    for (const QString &folder : { u"home/someone/Documents"_s,
                                   u"home/someone/My.Files"_s,
                                   u"home/someone/.config"_s,
                                   u"home/someone/.cache"_s,
                                   u"home/someone/.local"_s,
                                   u"home/someone/.hidden/inner"_s,
                                   u"scratch/A"_s,
                                   u"scratch/B"_s })
        QVERIFY(root.mkpath(folder));
    QVERIFY(QFile::link(u"/etc"_s, m_home + u"/etc-link"_s));
    QVERIFY(QFile::link(m_home + u"/Documents"_s, m_root + u"/into-home"_s));
    QVERIFY(QFile::link(m_home, m_root + u"/home-link"_s));
    QVERIFY(QFile::link(m_root + u"/scratch/A"_s, m_root + u"/scratch/link-to-A"_s));
    // Evictions are logged at debug level.
    QLoggingCategory::setFilterRules(u"com.nomly.app.FileWatcher.debug=true"_s);
}

QString FolderAccessTest::expand(const QString &pattern) const
{
    if (pattern.startsWith(u'~'))
        return m_home + pattern.mid(1);
    if (pattern.startsWith(u'@'))
        return m_root + pattern.mid(1);
    return pattern;
}

void FolderAccessTest::classify_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("allowed");

    for (const char *root : { "/",
                              "/home",
                              "/root",
                              "/usr",
                              "/bin",
                              "/sbin",
                              "/lib",
                              "/etc",
                              "/var",
                              "/tmp",
                              "/opt",
                              "/boot",
                              "/dev",
                              "/proc",
                              "/sys",
                              "/run",
                              "/srv",
                              "/media",
                              "/mnt" })
        QTest::addRow("%s", *(root + 1) ? qPrintable(u"system-"_s + QLatin1StringView(root + 1)) : "filesystem-root")
            << QString::fromLatin1(root) << false;
    QTest::newRow("home-itself") << u"~"_s << false;
    QTest::newRow("home-with-trailing-slash") << u"~/"_s << false;
    QTest::newRow("home-through-dot-dot") << u"~/Documents/.."_s << false;
    QTest::newRow("home-config") << u"~/.config"_s << false;
    QTest::newRow("home-cache") << u"~/.cache"_s << false;
    QTest::newRow("home-local") << u"~/.local"_s << false;
    QTest::newRow("hidden-folder") << u"~/.hidden"_s << false;
    QTest::newRow("inside-hidden-folder") << u"~/.hidden/inner"_s << false;
    QTest::newRow("documents") << u"~/Documents"_s << true;
    QTest::newRow("dot-inside-name") << u"~/My.Files"_s << true;
    QTest::newRow("out-of-hidden-folder-by-dot-dot") << u"~/.hidden/../Documents"_s << true;
    QTest::newRow("not-created-yet") << u"~/Projects/2024"_s << true;
    QTest::newRow("sibling-sharing-home-prefix") << u"~-backup/Photos"_s << false;
    QTest::newRow("link-in-home-to-etc") << u"~/etc-link"_s << false;
    QTest::newRow("link-into-home") << u"@/into-home"_s << true;
    QTest::newRow("link-to-home-itself") << u"@/home-link"_s << false;
    QTest::newRow("outside-home") << u"/srv/data"_s << false;
}

void FolderAccessTest::classify()
{
    QFETCH(QString, path);
    QFETCH(bool, allowed);

    QCOMPARE(classifyFolder(expand(path), m_home) == FolderClassification::Allowed, allowed);
}

void FolderAccessTest::homeComesFromEnvironment()
{
    const QByteArray saved = qgetenv("HOME");
    qputenv("HOME", QFile::encodeName(m_root + u"/home-link"_s));
    const FolderClassification documents = classifyFolder(m_home + u"/Documents"_s);
    const FolderClassification home = classifyFolder(m_home);
    qputenv("HOME", saved);

    // The home folder is compared resolved, like the folder asked about.
    QCOMPARE(documents, FolderClassification::Allowed);
    QCOMPARE(home, FolderClassification::Forbidden);
}

void FolderAccessTest::normalize_data()
{
    QTest::addColumn<QStringList>("folders");
    QTest::addColumn<QStringList>("expected");
    QTest::addColumn<bool>("changed");

    const QString a = u"@/scratch/A"_s;
    const QString b = u"@/scratch/B"_s;
    const QString link = u"@/scratch/link-to-A"_s;
    QTest::newRow("already-normal") << QStringList { a, b } << QStringList { a, b } << false;
    QTest::newRow("empty-list") << QStringList {} << QStringList {} << false;
    QTest::newRow("link-resolved") << QStringList { link } << QStringList { a } << true;
    QTest::newRow("trailing-slash-cleaned") << QStringList { a + u'/' } << QStringList { a } << true;
    QTest::newRow("same-folder-through-link-once") << QStringList { a, link } << QStringList { a } << true;
    QTest::newRow("first-place-kept") << QStringList { b, link, a } << QStringList { b, a } << true;
    QTest::newRow("exact-repeat-dropped") << QStringList { a, b, a } << QStringList { a, b } << true;
    QTest::newRow("missing-folder-kept") << QStringList { a + u"/gone"_s } << QStringList { a + u"/gone"_s } << false;
    QTest::newRow("empty-entry-dropped") << QStringList { a, u""_s } << QStringList { a } << true;
}

void FolderAccessTest::normalize()
{
    QFETCH(QStringList, folders);
    QFETCH(QStringList, expected);
    QFETCH(bool, changed);

    for (QString &folder : folders)
        folder = expand(folder);
    for (QString &folder : expected)
        folder = expand(folder);
    QCOMPARE(normalizeWatchedFolders(folders), changed);
    QCOMPARE(folders, expected);
}

void FolderAccessTest::restore_data()
{
    QTest::addColumn<QString>("change"); // what happens to the folder before the next launch
    QTest::addColumn<QString>("expectedActive"); // empty: nothing resolved
    QTest::addColumn<QString>("expectedStored");

    QTest::newRow("unchanged-folder") << u"none"_s << u"@/parent/Folder"_s << u"@/parent/Folder"_s;
    QTest::newRow("deleted-folder-fails") << u"delete"_s << u""_s << u"@/parent/Folder"_s;
    QTest::newRow("file-in-its-place-fails") << u"file"_s << u""_s << u"@/parent/Folder"_s;
    QTest::newRow("moved-and-linked-back-is-stale") << u"move"_s << u"@/parent/Moved"_s << u"@/parent/Moved"_s;
    QTest::newRow("parent-became-link-is-stale")
        << u"move-parent"_s << u"@/elsewhere/Folder"_s << u"@/elsewhere/Folder"_s;
}

void FolderAccessTest::restore()
{
    QFETCH(QString, change);
    QFETCH(QString, expectedActive);
    QFETCH(QString, expectedStored);

    QTemporaryDir dir;
    const QString root = canonicalPath(dir.path());
    const auto at = [&](const QString &pattern) { return pattern.isEmpty() ? pattern : root + pattern.mid(1); };
    const QString defaultsFile = root + u"/defaults.ini"_s;
    const QString folder = at(u"@/parent/Folder"_s);
    QVERIFY(QDir().mkpath(folder));
    {
        UserDefaults defaults(defaultsFile);
        BookmarkService service(defaults);
        QTest::ignoreMessage(QtInfoMsg, qPrintable(u"Saved bookmark for: "_s + folder));
        QVERIFY(service.saveBookmark(folder));
    }

    if (change == u"delete" || change == u"file")
        QVERIFY(QDir(folder).removeRecursively());
    if (change == u"file")
        QVERIFY(QFile(folder).open(QIODevice::WriteOnly));
    if (change == u"move") {
        QVERIFY(QDir().rename(folder, at(u"@/parent/Moved"_s)));
        QVERIFY(QFile::link(at(u"@/parent/Moved"_s), folder));
    }
    if (change == u"move-parent") {
        QVERIFY(QDir().rename(at(u"@/parent"_s), at(u"@/elsewhere"_s)));
        QVERIFY(QFile::link(at(u"@/elsewhere"_s), at(u"@/parent"_s)));
    }

    UserDefaults defaults(defaultsFile);
    BookmarkService service(defaults);
    if (expectedActive.isEmpty())
        QTest::ignoreMessage(QtCriticalMsg, qPrintable(u"Failed to resolve bookmark for "_s + folder));
    else
        QTest::ignoreMessage(QtInfoMsg, qPrintable(u"Resolved bookmark for: "_s + at(expectedActive)));
    service.restoreBookmarks();

    const QList<ActiveResource> expected = expectedActive.isEmpty()
        ? QList<ActiveResource> {}
        : QList<ActiveResource> { { at(expectedActive), true, 0 } };
    QCOMPARE(service.activeResources(), expected);
    const QVariantMap stored = storedBookmarks(defaultsFile);
    QCOMPARE(stored.keys(), QStringList { folder });
    QCOMPARE(stored.value(folder).toString(), at(expectedStored));
}

void FolderAccessTest::restoringAgainCountsOnce()
{
    QTemporaryDir dir;
    UserDefaults defaults(dir.filePath(u"defaults.ini"_s));
    BookmarkService service(defaults);
    const QString folder = canonicalPath(dir.path());
    QTest::ignoreMessage(QtInfoMsg, qPrintable(u"Saved bookmark for: "_s + folder));
    QVERIFY(service.saveBookmark(folder));

    QTest::ignoreMessage(QtInfoMsg, qPrintable(u"Resolved bookmark for: "_s + folder));
    service.restoreBookmarks();
    service.recordAccess(folder, false, 1);
    // Watching starts again while a batch holds the folder.
    service.restoreBookmarks();

    QCOMPARE(service.activeResources(), (QList<ActiveResource> { { folder, true, 1 } }));
}

void FolderAccessTest::saveFailsWithoutFolder()
{
    QTemporaryDir dir;
    const QString defaultsFile = dir.filePath(u"defaults.ini"_s);
    UserDefaults defaults(defaultsFile);
    BookmarkService service(defaults);
    const QString missing = canonicalPath(dir.path()) + u"/missing"_s;

    QTest::ignoreMessage(QtCriticalMsg, qPrintable(u"Failed to save bookmark for "_s + missing));
    QVERIFY(!service.saveBookmark(missing));
    QVERIFY(!UserDefaults(defaultsFile).contains(BookmarkService::BookmarksKey));
    // Nothing stored, nothing to restore or to complain about.
    service.restoreBookmarks();
    QVERIFY(service.activeResources().isEmpty());
}

void FolderAccessTest::remove_data()
{
    QTest::addColumn<int>("transientCount");
    QTest::addColumn<QList<ActiveResource>>("expected"); // "F" stands for the folder

    QTest::newRow("idle-folder-released") << 0 << QList<ActiveResource> { { u"O"_s, true, 0 } };
    QTest::newRow("folder-in-use-kept-unsaved")
        << 2 << QList<ActiveResource> { { u"O"_s, true, 0 }, { u"F"_s, false, 2 } };
}

void FolderAccessTest::remove()
{
    QFETCH(int, transientCount);
    QFETCH(QList<ActiveResource>, expected);

    QTemporaryDir dir;
    const QString root = canonicalPath(dir.path());
    const QString defaultsFile = root + u"/defaults.ini"_s;
    const QString folder = root + u"/F"_s;
    const QString other = root + u"/O"_s;
    QVERIFY(QDir(root).mkdir(u"F"_s) && QDir(root).mkdir(u"O"_s));
    UserDefaults defaults(defaultsFile);
    BookmarkService service(defaults);
    QTest::ignoreMessage(QtInfoMsg, qPrintable(u"Saved bookmark for: "_s + folder));
    QTest::ignoreMessage(QtInfoMsg, qPrintable(u"Saved bookmark for: "_s + other));
    QVERIFY(service.saveBookmark(folder) && service.saveBookmark(other));
    service.recordAccess(folder, true, transientCount);
    service.recordAccess(other, true, 0);

    QTest::ignoreMessage(QtInfoMsg, qPrintable(u"Removed bookmark for: "_s + folder));
    service.removeBookmark(folder + u'/');

    for (ActiveResource &resource : expected)
        resource.path = root + u'/' + resource.path;
    QCOMPARE(service.activeResources(), expected);
    QCOMPARE(storedBookmarks(defaultsFile).keys(), QStringList { other });
}

void FolderAccessTest::recordAccess_data()
{
    QTest::addColumn<QList<Access>>("accesses");
    QTest::addColumn<QList<ActiveResource>>("expected");

    const QString a = u"/srv/a"_s;
    const QString b = u"/srv/b"_s;
    QTest::newRow("newest-in-front") << QList<Access> { { a, true, 0 }, { b, false, 1 } }
                                     << QList<ActiveResource> { { b, false, 1 }, { a, true, 0 } };
    QTest::newRow("touch-moves-to-front") << QList<Access> { { a, false, 0 }, { b, false, 0 }, { a, false, 0 } }
                                          << QList<ActiveResource> { { a, false, 0 }, { b, false, 0 } };
    QTest::newRow("saved-flag-sticks") << QList<Access> { { a, true, 0 }, { a, false, 1 } }
                                       << QList<ActiveResource> { { a, true, 1 } };
    QTest::newRow("saved-flag-added-later")
        << QList<Access> { { a, false, 1 }, { a, true, 0 } } << QList<ActiveResource> { { a, true, 1 } };
    QTest::newRow("deltas-add-up") << QList<Access> { { a, false, 1 }, { a, false, 2 }, { a, false, -1 } }
                                   << QList<ActiveResource> { { a, false, 2 } };
    QTest::newRow("new-entry-ignores-negative-delta")
        << QList<Access> { { a, false, -1 } } << QList<ActiveResource> { { a, false, 0 } };
    QTest::newRow("same-folder-spelled-differently")
        << QList<Access> { { a, false, 1 }, { u"/srv/x/../a/"_s, false, 1 } }
        << QList<ActiveResource> { { a, false, 2 } };
}

void FolderAccessTest::recordAccess()
{
    QFETCH(QList<Access>, accesses);
    QFETCH(QList<ActiveResource>, expected);

    QTemporaryDir dir;
    UserDefaults defaults(dir.filePath(u"defaults.ini"_s));
    BookmarkService service(defaults);
    ActiveResource token;
    for (const Access &access : std::as_const(accesses))
        token = service.recordAccess(access.path, access.isSaved, access.transientDelta);

    QCOMPARE(service.activeResources(), expected);
    QCOMPARE(token, expected.first());
    for (qsizetype i = 0; i < expected.size(); ++i)
        QCOMPARE(service.indexOfActiveResource(expected[i].path), std::optional<qsizetype>(i));
    QVERIFY(!service.indexOfActiveResource(u"/srv/never"_s).has_value());
}

void FolderAccessTest::eviction_data()
{
    QTest::addColumn<QList<int>>("busy"); // folders holding a short-term access, by the order they came in
    QTest::addColumn<int>("evicted"); // -1: none

    QList<int> all;
    for (int i = 0; i <= BookmarkService::MaxActiveResources; ++i)
        all.append(i);
    const QList<int> allButNewest = all.first(BookmarkService::MaxActiveResources);

    QTest::newRow("coldest-idle-goes") << QList<int> {} << 0;
    QTest::newRow("busy-coldest-stays-next-goes") << QList<int> { 0 } << 1;
    QTest::newRow("busy-cold-end-skipped") << QList<int> { 0, 1, 2 } << 3;
    QTest::newRow("newest-goes-when-only-idle") << allButNewest << int(BookmarkService::MaxActiveResources);
    QTest::newRow("all-busy-none-go") << all << -1;
}

void FolderAccessTest::eviction()
{
    QFETCH(QList<int>, busy);
    QFETCH(int, evicted);

    QTemporaryDir dir;
    UserDefaults defaults(dir.filePath(u"defaults.ini"_s));
    BookmarkService service(defaults);
    if (evicted >= 0) {
        QTest::ignoreMessage(QtDebugMsg,
                             qPrintable(u"BookmarkService: evicted LRU bookmark access: "_s + folderName(evicted)));
    }
    for (int i = 0; i <= BookmarkService::MaxActiveResources; ++i)
        service.recordAccess(folderName(i), true, busy.contains(i) ? 1 : 0);

    const QList<ActiveResource> left = service.activeResources();
    QCOMPARE(left.size(), BookmarkService::MaxActiveResources + (evicted < 0 ? 1 : 0));
    for (int i = 0; i <= BookmarkService::MaxActiveResources; ++i)
        QCOMPARE(service.indexOfActiveResource(folderName(i)).has_value(), i != evicted);
}

void FolderAccessTest::busyListShrinksAsAccessesEnd()
{
    QTemporaryDir dir;
    UserDefaults defaults(dir.filePath(u"defaults.ini"_s));
    BookmarkService service(defaults);
    const int batch = 70;
    for (int i = 0; i < batch; ++i)
        service.recordAccess(folderName(i), false, 1);
    QCOMPARE(service.activeResources().size(), batch);

    for (int i = 0; i < batch - BookmarkService::MaxActiveResources; ++i) {
        QTest::ignoreMessage(QtDebugMsg,
                             qPrintable(u"BookmarkService: evicted LRU bookmark access: "_s + folderName(i)));
        service.recordAccess(folderName(i), false, -1);
        QCOMPARE(service.activeResources().size(), batch - 1 - i);
    }
    // At the bound, an ended access leaves its folder listed.
    service.recordAccess(folderName(batch - 1), false, -1);
    QCOMPARE(service.activeResources().size(), BookmarkService::MaxActiveResources);
    QCOMPARE(service.activeResources().first(), (ActiveResource { folderName(batch - 1), false, 0 }));
}

void FolderAccessTest::networkServiceStarts()
{
    NetworkService service;
    QVERIFY(service.isConnected());
    QSignalSpy changes(&service, &NetworkService::isConnectedChanged);
    service.start();
    service.start();
    QCOMPARE(service.property("isConnected").toBool(), service.isConnected());
    // Only a change is reported, so at most one report, and only "offline".
    QVERIFY(changes.size() <= 1);
    QCOMPARE(changes.size() == 1, !service.isConnected());
}

QTEST_GUILESS_MAIN(FolderAccessTest)
#include "folderaccesstest.moc"
