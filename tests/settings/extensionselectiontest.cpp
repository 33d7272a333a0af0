// Which file extensions Monitor watches, and how the user's pick is stored.
// Extensions compare trimmed, lower case and without leading dots.

#include <QTest>

#include "settings/extensionselection.h"

using namespace Nomly;
using namespace Qt::StringLiterals;

using OptionalList = std::optional<QStringList>;

Q_DECLARE_METATYPE(OptionalList)

namespace {

QString shown(const OptionalList &list)
{
    return list ? u'[' + list->join(u',') + u']' : u"<all>"_s;
}

QStringList list(const char16_t *joined)
{
    return QString::fromUtf16(joined).split(u'|');
}

// What the program can read, as its own table spells it.
const QStringList Supported = list(u"pdf|.JPG|png|docx|tar.gz");

} // namespace

class ExtensionSelectionTest : public QObject
{
    Q_OBJECT

private slots:
    void effective_data();
    void effective();
    void store_data();
    void store();
};

void ExtensionSelectionTest::effective_data()
{
    QTest::addColumn<OptionalList>("stored");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("absent-means-all-supported") << OptionalList() << list(u"pdf|jpg|png|docx|tar.gz");
    QTest::newRow("supported-order-wins-unsupported-ignored")
        << OptionalList(list(u" .DOCX\n|heic|.TAR.GZ|PNG|..pdf|png")) << list(u"pdf|png|docx|tar.gz");
    QTest::newRow("empty-selection-watches-nothing") << OptionalList(QStringList()) << QStringList();
}

void ExtensionSelectionTest::effective()
{
    QFETCH(OptionalList, stored);
    QFETCH(QStringList, expected);

    Settings settings;
    settings.monitorFileExtensions = stored;
    QCOMPARE(effectiveMonitorExtensions(settings, Supported), expected);
}

void ExtensionSelectionTest::store_data()
{
    QTest::addColumn<QStringList>("selected");
    QTest::addColumn<OptionalList>("expected");

    QTest::newRow("all-supported-stores-absent") << list(u".PDF|heic|jpg|png|docx|tar.gz") << OptionalList();
    QTest::newRow("subset-keeps-first-places") << list(u"png| |.|.PNG|pdf") << OptionalList(list(u"png|pdf"));
    QTest::newRow("all-in-other-order-is-a-list")
        << list(u"docx|png|jpg|tar.gz|pdf") << OptionalList(list(u"docx|png|jpg|tar.gz|pdf"));
    QTest::newRow("unsupported-only-is-empty-list") << list(u"heic") << OptionalList(QStringList());
}

void ExtensionSelectionTest::store()
{
    QFETCH(QStringList, selected);
    QFETCH(OptionalList, expected);

    QCOMPARE(shown(storedExtensionSelection(selected, Supported)), shown(expected));
}

QTEST_GUILESS_MAIN(ExtensionSelectionTest)

#include "extensionselectiontest.moc"
