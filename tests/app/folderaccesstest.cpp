// Which folders may be watched, how the watched list is normalised, and how
// granted folders are remembered and counted while in use.

#include <QDir>
#include <QFile>
#include <QLoggingCategory>
#include <QTemporaryDir>
#include <QTest>

#include "app/bookmarkservice.h"
#include "app/folderclassification.h"
#include "app/watchedfoldernormalization.h"
#include "platform/canonicalpath.h"
#include "platform/userdefaults.h"

using namespace Qt::StringLiterals;
using namespace Nomly;
using ActiveResource = BookmarkService::ActiveResource;

namespace {

QString folderName(int index)
{
    return u"/srv/watched/f%1"_s.arg(index);
}

} // namespace

class FolderAccessTest : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QString m_root;
    QString m_home;

    // "~" stands for the home folder, "@" for the scratch folder outside it.
    QString expand(const QString &pattern) const
    {
        if (pattern.startsWith(u'~'))
            return m_home + pattern.mid(1);
        return pattern.startsWith(u'@') ? m_root + pattern.mid(1) : pattern;
    }

private slots:

    void initTestCase()
    {
        m_root = canonicalPath(m_dir.path());
        m_home = m_root + u"/home/someone"_s;
        for (const QString &folder : { u"home/someone/Documents"_s, u"home/someone/.hidden/inner"_s, u"scratch/A"_s })
            QVERIFY(QDir(m_root).mkpath(folder));
        QVERIFY(QFile::link(u"/etc"_s, m_home + u"/etc-link"_s));
        QVERIFY(QFile::link(m_home + u"/Documents"_s, m_root + u"/into-home"_s));
        QVERIFY(QFile::link(m_home, m_root + u"/home-link"_s));
        QVERIFY(QFile::link(m_root + u"/scratch/A"_s, m_root + u"/scratch/link-to-A"_s));
        // Evictions are logged at debug level.
        QLoggingCategory::setFilterRules(u"com.nomly.app.FileWatcher.debug=true"_s);
    }

    void classify_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<bool>("allowed");

        QTest::newRow("system-etc") << u"/etc"_s << false;
        QTest::newRow("home-itself") << u"~/"_s << false;
        QTest::newRow("home-through-dot-dot") << u"~/Documents/.."_s << false;
        QTest::newRow("inside-hidden-folder") << u"~/.hidden/inner"_s << false;
        QTest::newRow("documents") << u"~/Documents"_s << true;
        QTest::newRow("out-of-hidden-folder-by-dot-dot") << u"~/.hidden/../Documents"_s << true;
        QTest::newRow("sibling-sharing-home-prefix") << u"~-backup/Photos"_s << false;
        QTest::newRow("link-in-home-to-etc") << u"~/etc-link"_s << false;
        QTest::newRow("link-into-home") << u"@/into-home"_s << true;
        QTest::newRow("link-to-home-itself") << u"@/home-link"_s << false;
    }

    void classify()
    {
        QFETCH(QString, path);
        QFETCH(bool, allowed);
        QCOMPARE(classifyFolder(expand(path), m_home) == FolderClassification::Allowed, allowed);
    }

    void normalize_data()
    {
        QTest::addColumn<QStringList>("folders");
        QTest::addColumn<QStringList>("expected");
        QTest::addColumn<bool>("changed");

        const QString a = u"@/scratch/A"_s;
        const QString b = u"@/scratch/B"_s;
        QTest::newRow("link-resolved-first-place-kept")
            << QStringList { b, u"@/scratch/link-to-A"_s, a } << QStringList { b, a } << true;
        QTest::newRow("trailing-slash-cleaned") << QStringList { a + u'/' } << QStringList { a } << true;
        QTest::newRow("missing-folder-kept") << QStringList { b, a } << QStringList { b, a } << false;
        QTest::newRow("empty-entry-dropped") << QStringList { a, u""_s } << QStringList { a } << true;
    }

    void normalize()
    {
        QFETCH(QStringList, folders);
        QFETCH(QStringList, expected);
        QFETCH(bool, changed);

        for (QStringList *list : { &folders, &expected })
            for (QString &folder : *list)
                folder = expand(folder);
        QCOMPARE(normalizeWatchedFolders(folders), changed);
        QCOMPARE(folders, expected);
    }

    // On the next launch a folder moved and linked back resolves to its new
    // place, stored too; a deleted one fails and stays stored.
    void restoreOnNextLaunch()
    {
        QTemporaryDir dir;
        const QString root = canonicalPath(dir.path());
        const QString moved = root + u"/Moved"_s;
        const QString deleted = root + u"/Deleted"_s;
        for (const QString &folder : { moved, deleted }) {
            QVERIFY(QDir().mkpath(folder + u"/x"_s));
            QTest::ignoreMessage(QtInfoMsg, qPrintable(u"Saved bookmark for: "_s + folder + u"/x"_s));
            UserDefaults defaults(root + u"/defaults.ini"_s);
            QVERIFY(BookmarkService(defaults).saveBookmark(folder + u"/x"_s));
        }
        QVERIFY(QDir(deleted).removeRecursively());
        QVERIFY(QDir().rename(moved + u"/x"_s, moved + u"/y"_s) && QFile::link(moved + u"/y"_s, moved + u"/x"_s));

        UserDefaults defaults(root + u"/defaults.ini"_s);
        BookmarkService service(defaults);
        QTest::ignoreMessage(QtCriticalMsg, qPrintable(u"Failed to resolve bookmark for "_s + deleted + u"/x"_s));
        QTest::ignoreMessage(QtInfoMsg, qPrintable(u"Resolved bookmark for: "_s + moved + u"/y"_s));
        service.restoreBookmarks();
        // Watching starts again while a batch holds the folder: counted once.
        service.recordAccess(moved + u"/y"_s, false, 1);
        QTest::ignoreMessage(QtCriticalMsg, qPrintable(u"Failed to resolve bookmark for "_s + deleted + u"/x"_s));
        service.restoreBookmarks();

        QCOMPARE(service.activeResources(), (QList<ActiveResource> { { moved + u"/y"_s, true, 1 } }));
        const QVariantMap stored = UserDefaults(root + u"/defaults.ini"_s).value(BookmarkService::BookmarksKey).toMap();
        QCOMPARE(stored.value(moved + u"/x"_s).toString(), moved + u"/y"_s);
        QCOMPARE(stored.value(deleted + u"/x"_s).toString(), deleted + u"/x"_s);
    }

    void removeKeepsOnlyFolderInUse()
    {
        QTemporaryDir dir;
        const QString root = canonicalPath(dir.path());
        UserDefaults defaults(root + u"/defaults.ini"_s);
        BookmarkService service(defaults);
        for (const QString &folder : { u"/Busy"_s, u"/Kept"_s, u"/Idle"_s }) {
            QVERIFY(QDir().mkdir(root + folder));
            QTest::ignoreMessage(QtInfoMsg, qPrintable(u"Saved bookmark for: "_s + root + folder));
            QVERIFY(service.saveBookmark(root + folder));
            service.recordAccess(root + folder, true, folder == u"/Busy" ? 2 : 0);
        }
        for (const QString &folder : { u"/Busy"_s, u"/Idle"_s }) {
            QTest::ignoreMessage(QtInfoMsg, qPrintable(u"Removed bookmark for: "_s + root + folder));
            service.removeBookmark(root + folder + u'/');
        }

        QCOMPARE(service.activeResources(),
                 (QList<ActiveResource> { { root + u"/Kept"_s, true, 0 }, { root + u"/Busy"_s, false, 2 } }));
        QCOMPARE(defaults.value(BookmarkService::BookmarksKey).toMap().keys(), QStringList { root + u"/Kept"_s });
    }

    // Each access is given as the entry it adds: path, saved flag, change in count.
    void recordAccess_data()
    {
        QTest::addColumn<QList<ActiveResource>>("accesses");
        QTest::addColumn<QList<ActiveResource>>("expected");

        const QString a = u"/srv/a"_s;
        const QString b = u"/srv/b"_s;
        QTest::newRow("touch-moves-to-front")
            << QList<ActiveResource> { { a, true, 0 }, { b, false, 1 }, { a, false, 0 } }
            << QList<ActiveResource> { { a, true, 0 }, { b, false, 1 } };
        QTest::newRow("deltas-add-up") << QList<ActiveResource> { { a, false, 1 }, { a, false, 2 }, { a, false, -1 } }
                                       << QList<ActiveResource> { { a, false, 2 } };
        QTest::newRow("same-folder-spelled-differently")
            << QList<ActiveResource> { { a, false, 1 }, { u"/srv/x/../a/"_s, false, 1 } }
            << QList<ActiveResource> { { a, false, 2 } };
    }

    void recordAccess()
    {
        QFETCH(QList<ActiveResource>, accesses);
        QFETCH(QList<ActiveResource>, expected);

        QTemporaryDir dir;
        UserDefaults defaults(dir.filePath(u"defaults.ini"_s));
        BookmarkService service(defaults);
        ActiveResource token;
        for (const ActiveResource &access : std::as_const(accesses))
            token = service.recordAccess(access.path, access.isSavedAccess, access.transientAccessCount);

        QCOMPARE(service.activeResources(), expected);
        QCOMPARE(token, expected.first());
    }

    void eviction_data()
    {
        QTest::addColumn<int>("busy"); // how many of the first folders in hold a short-term access
        QTest::addColumn<int>("evicted"); // -1: none

        QTest::newRow("coldest-idle-goes") << 0 << 0;
        QTest::newRow("busy-cold-end-skipped") << 3 << 3;
        QTest::newRow("all-busy-none-go") << BookmarkService::MaxActiveResources + 1 << -1;
    }

    void eviction()
    {
        QFETCH(int, busy);
        QFETCH(int, evicted);

        QTemporaryDir dir;
        UserDefaults defaults(dir.filePath(u"defaults.ini"_s));
        BookmarkService service(defaults);
        if (evicted >= 0)
            QTest::ignoreMessage(QtDebugMsg,
                                 qPrintable(u"BookmarkService: evicted LRU bookmark access: "_s + folderName(evicted)));
        for (int i = 0; i <= BookmarkService::MaxActiveResources; ++i)
            service.recordAccess(folderName(i), true, i < busy ? 1 : 0);

        QCOMPARE(service.activeResources().size(), BookmarkService::MaxActiveResources + (evicted < 0 ? 1 : 0));
        for (int i = 0; i <= BookmarkService::MaxActiveResources; ++i)
            QCOMPARE(service.indexOfActiveResource(folderName(i)).has_value(), i != evicted);
    }
};

QTEST_GUILESS_MAIN(FolderAccessTest)
#include "folderaccesstest.moc"
