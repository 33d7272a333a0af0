// Snapshots and restores on real extended attributes, and a file system that
// keeps none.

#include <QDir>
#include <QTemporaryDir>
#include <QTest>
#include <cerrno>

#include "filesystemfixtures.h"
#include "history/metadataservice.h"

using namespace Qt::StringLiterals;
using namespace Nomly;
using namespace Nomly::Test;

namespace {

using Attributes = QMap<QByteArray, QByteArray>;

void setAll(const QString &path, const Attributes &attributes)
{
    for (auto it = attributes.cbegin(); it != attributes.cend(); ++it)
        QVERIFY(setAttribute(path, it.key().constData(), it.value()));
}

Attributes readAll(const QString &path)
{
    Attributes result;
    for (const char *name : { "user.xdg.tags", "user.xdg.comment", "user.nomly.title" }) {
        bool present = false;
        const QByteArray value = attribute(path, name, &present);
        if (present)
            result.insert(name, value);
    }
    return result;
}

} // namespace

class MetadataServiceTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void roundTrip_data();
    void roundTrip();
    void snapshotReads_data();
    void snapshotReads();
    void fileSystemWithoutAttributes();

private:
    QTemporaryDir m_dir;
    // Made before any thread starts, as a private mount namespace requires.
    std::unique_ptr<AttributelessMount> m_mount;
};

void MetadataServiceTest::initTestCase()
{
    QVERIFY(QDir(m_dir.path()).mkdir(u"ramfs"_s));
    m_mount = std::make_unique<AttributelessMount>(m_dir.filePath(u"ramfs"_s));
}

// Whatever the program writes over, undo brings back exactly what was there,
// and removes what was not.
void MetadataServiceTest::roundTrip_data()
{
    QTest::addColumn<Attributes>("before");

    QTest::newRow("bare-file") << Attributes {};
    QTest::newRow("user-tags") << Attributes { { "user.xdg.tags", "Red,Work" } };
    QTest::newRow("everything") << Attributes { { "user.xdg.tags", "Red" },
                                                { "user.xdg.comment", "née" },
                                                { "user.nomly.title", "Old title" } };
}

void MetadataServiceTest::roundTrip()
{
    QFETCH(Attributes, before);

    const QString path = m_dir.filePath(QString::fromLatin1(QTest::currentDataTag()));
    QVERIFY(writeFile(path, "bytes"));
    setAll(path, before);

    const auto snapshot = MetadataService::snapshot(path);
    QVERIFY2(snapshot.ok(), qPrintable(snapshot.error()));
    QVERIFY(MetadataService::writeTags(path, { u"finance"_s, u"q3"_s }).ok());
    QVERIFY(MetadataService::writeComment(path, u"Q3 numbers"_s).ok());
    QVERIFY(MetadataService::writeAttribute(path, u"title"_s, u"Quarterly report"_s).ok());
    QCOMPARE(readAll(path).value("user.xdg.tags"), "finance,q3");

    QVERIFY(MetadataService::restore(path, snapshot.value()).ok());
    QCOMPARE(readAll(path), before);
}

void MetadataServiceTest::snapshotReads_data()
{
    QTest::addColumn<Attributes>("stored");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<QStringList>("tags");
    QTest::addColumn<std::optional<QString>>("comment");

    QTest::newRow("tags-trimmed-and-empty-dropped") << Attributes { { "user.xdg.tags", " Red, ,Work ," } } << true
                                                    << QStringList { u"Red"_s, u"Work"_s } << std::optional<QString>();
    // Kept as bytes for undo, not as text.
    QTest::newRow("comment-not-utf8-kept-as-bytes")
        << Attributes { { "user.xdg.comment", "\xff\xfe" } } << true << QStringList {} << std::optional<QString>();
}

void MetadataServiceTest::snapshotReads()
{
    QFETCH(Attributes, stored);
    QFETCH(bool, ok);
    QFETCH(QStringList, tags);
    QFETCH(std::optional<QString>, comment);

    const QString path = m_dir.filePath(QString::fromLatin1(QTest::currentDataTag()));
    QVERIFY(writeFile(path, "bytes"));
    setAll(path, stored);

    const auto snapshot = MetadataService::snapshot(path);
    QCOMPARE(snapshot.ok(), ok);
    if (ok) {
        QCOMPARE(snapshot.value().finderTags, tags);
        QCOMPARE(snapshot.value().spotlightComment, comment);
    }
}

void MetadataServiceTest::fileSystemWithoutAttributes()
{
    if (!m_mount->unavailableReason().isEmpty())
        QSKIP(qPrintable(m_mount->unavailableReason()));
    const QString path = m_dir.filePath(u"ramfs/plain.txt"_s);
    QVERIFY(writeFile(path, "bytes"));

    QCOMPARE(MetadataService::writeTags(path, { u"a"_s }).failure().code, ENOTSUP);
    QCOMPARE(MetadataService::writeComment(path, u"c"_s).failure().code, ENOTSUP);
    QVERIFY(!MetadataService::snapshot(path).ok());
    QCOMPARE(readFile(path), "bytes");
}

QTEST_GUILESS_MAIN(MetadataServiceTest)
#include "metadataservicetest.moc"
