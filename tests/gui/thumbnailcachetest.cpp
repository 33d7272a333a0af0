// The preview cache's two bounds, and which entries go first.

#include <QImage>
#include <QTest>
#include <algorithm>

#include "gui/thumbnailcache.h"

using namespace Qt::StringLiterals;
using namespace Nomly;

namespace {

// 4 bytes a pixel.
QImage picture(int side)
{
    QImage image(side, side, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    return image;
}

constexpr qint64 MiB = 1024 * 1024;

} // namespace

class ThumbnailCacheTest : public QObject
{
    Q_OBJECT

private slots:

    void bounds_data()
    {
        // Steps: "+name:side" stores a square picture ("+name:0" a null
        // one), "?name" looks a path up, "-name" removes it.
        QTest::addColumn<int>("maxCount");
        QTest::addColumn<qint64>("maxCost");
        QTest::addColumn<QStringList>("steps");
        QTest::addColumn<QStringList>("kept");
        QTest::addColumn<qint64>("cost");

        const int count = ThumbnailCache::DefaultMaxCount;
        const qint64 bytes = ThumbnailCache::DefaultMaxCost;
        QTest::newRow("count-bound-drops-oldest") << 2 << bytes << QStringList { u"+a:5"_s, u"+b:5"_s, u"+c:5"_s }
                                                  << QStringList { u"b"_s, u"c"_s } << qint64(200);
        QTest::newRow("cost-bound-drops-oldest")
            << count << qint64(250) << QStringList { u"+a:5"_s, u"+b:5"_s, u"+c:5"_s } << QStringList { u"b"_s, u"c"_s }
            << qint64(200);
        QTest::newRow("cost-bound-drops-as-many-as-needed")
            << count << qint64(500) << QStringList { u"+a:5"_s, u"+b:5"_s, u"+c:5"_s, u"+d:10"_s }
            << QStringList { u"c"_s, u"d"_s } << qint64(500);
        QTest::newRow("lookup-keeps-entry") << 2 << bytes << QStringList { u"+a:5"_s, u"+b:5"_s, u"?a"_s, u"+c:5"_s }
                                            << QStringList { u"a"_s, u"c"_s } << qint64(200);
        QTest::newRow("miss-changes-nothing") << 2 << bytes << QStringList { u"+a:5"_s, u"+b:5"_s, u"?z"_s, u"+c:5"_s }
                                              << QStringList { u"b"_s, u"c"_s } << qint64(200);
        QTest::newRow("larger-than-bound-not-kept")
            << count << qint64(50) << QStringList { u"+a:5"_s } << QStringList() << qint64(0);
        QTest::newRow("larger-than-bound-keeps-others")
            << count << qint64(150) << QStringList { u"+a:5"_s, u"+b:10"_s } << QStringList { u"a"_s } << qint64(100);
        QTest::newRow("storing-again-replaces")
            << count << bytes << QStringList { u"+a:5"_s, u"+a:10"_s } << QStringList { u"a"_s } << qint64(400);
        QTest::newRow("null-kept-as-no-preview")
            << count << bytes << QStringList { u"+a:0"_s } << QStringList { u"a"_s } << qint64(0);
        QTest::newRow("remove-gives-cost-back") << count << bytes << QStringList { u"+a:5"_s, u"+b:10"_s, u"-b"_s }
                                                << QStringList { u"a"_s } << qint64(100);

        QStringList many;
        for (int i = 0; i <= count; ++i)
            many.append(u"+f%1:1"_s.arg(i));
        QStringList kept;
        for (int i = 1; i <= count; ++i)
            kept.append(u"f%1"_s.arg(i));
        QTest::newRow("default-count-is-160") << -1 << qint64(-1) << many << kept << qint64(4 * count);
        // Six pictures of 4 MiB fill 24 MiB exactly; the seventh pushes the
        // first out.
        QStringList large;
        for (int i = 0; i < 7; ++i)
            large.append(u"+p%1:1024"_s.arg(i));
        QTest::newRow("default-cost-is-24-mib")
            << -1 << qint64(-1) << large << QStringList { u"p1"_s, u"p2"_s, u"p3"_s, u"p4"_s, u"p5"_s, u"p6"_s }
            << 24 * MiB;
    }

    void bounds()
    {
        QFETCH(int, maxCount);
        QFETCH(qint64, maxCost);
        QFETCH(QStringList, steps);
        QFETCH(QStringList, kept);
        QFETCH(qint64, cost);

        ThumbnailCache cache = maxCount < 0 ? ThumbnailCache() : ThumbnailCache(maxCount, maxCost);
        QStringList names;
        for (const QString &step : std::as_const(steps)) {
            const QString name = step.mid(1).section(u':', 0, 0);
            if (step.startsWith(u'+')) {
                const int side = step.section(u':', 1).toInt();
                cache.insert(name, side == 0 ? QImage() : picture(side));
                names.append(name);
            } else if (step.startsWith(u'?')) {
                cache.find(name);
            } else {
                cache.remove(name);
            }
        }
        QStringList present;
        names.removeDuplicates();
        for (const QString &name : std::as_const(names)) {
            if (cache.find(name))
                present.append(name);
        }
        present.sort();
        kept.sort();
        QCOMPARE(present, kept);
        QCOMPARE(cache.count(), kept.size());
        QCOMPARE(cache.totalCost(), cost);
    }
};

QTEST_GUILESS_MAIN(ThumbnailCacheTest)
#include "thumbnailcachetest.moc"
