#include <QTest>

#include "settings/extensionselection.h"

using namespace Nomly;

using OptionalList = std::optional<QStringList>;

Q_DECLARE_METATYPE(OptionalList)

namespace {

QString shown(const OptionalList &list)
{
    return list ? u'[' + list->join(u',') + u']' : QStringLiteral("<all>");
}

QStringList list(const char16_t *joined)
{
    const QString text = QString::fromUtf16(joined);
    return text.isEmpty() ? QStringList() : text.split(u'|');
}

} // namespace

class ExtensionSelectionTest : public QObject
{
    Q_OBJECT

private slots:
    void normalize_data();
    void normalize();
    void effective_data();
    void effective();
    void store_data();
    void store();
};

void ExtensionSelectionTest::normalize_data()
{
    QTest::addColumn<QStringList>("extensions");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("dots-case-and-space") << list(u" .PDF|..Jpg\n|png") << list(u"pdf|jpg|png");
    QTest::newRow("repeats-keep-first-place") << list(u"png|pdf|.PNG|pdf") << list(u"png|pdf");
    QTest::newRow("empties-dropped") << list(u"|.|  |...|txt") << list(u"txt");
    QTest::newRow("inner-dots-kept") << list(u"tar.gz|.TAR.GZ") << list(u"tar.gz");
}

void ExtensionSelectionTest::normalize()
{
    QFETCH(QStringList, extensions);
    QFETCH(QStringList, expected);

    QCOMPARE(normalizedExtensions(extensions), expected);
}

void ExtensionSelectionTest::effective_data()
{
    QTest::addColumn<OptionalList>("stored");
    QTest::addColumn<QStringList>("supported");
    QTest::addColumn<QStringList>("expected");

    const QStringList supported = list(u"pdf|.JPG|png|docx");
    QTest::newRow("absent-means-all-supported") << OptionalList() << supported << list(u"pdf|jpg|png|docx");
    QTest::newRow("supported-order-wins") << OptionalList(list(u"docx|PNG|.pdf")) << supported << list(u"pdf|png|docx");
    QTest::newRow("no-longer-supported-ignored") << OptionalList(list(u"heic|png")) << supported << list(u"png");
    QTest::newRow("empty-selection-watches-nothing") << OptionalList(QStringList()) << supported << QStringList();
}

void ExtensionSelectionTest::effective()
{
    QFETCH(OptionalList, stored);
    QFETCH(QStringList, supported);
    QFETCH(QStringList, expected);

    Settings settings;
    settings.monitorFileExtensions = stored;
    QCOMPARE(effectiveMonitorExtensions(settings, supported), expected);
}

void ExtensionSelectionTest::store_data()
{
    QTest::addColumn<QStringList>("selected");
    QTest::addColumn<QStringList>("supported");
    QTest::addColumn<OptionalList>("expected");

    const QStringList supported = list(u"pdf|jpg|png");
    QTest::newRow("all-supported-stores-absent") << list(u".PDF|jpg|png") << supported << OptionalList();
    QTest::newRow("all-plus-unsupported-stores-absent") << list(u"pdf|heic|jpg|png") << supported << OptionalList();
    QTest::newRow("subset-keeps-selection-order") << list(u"png|pdf") << supported << OptionalList(list(u"png|pdf"));
    QTest::newRow("all-in-other-order-is-a-list")
        << list(u"png|jpg|pdf") << supported << OptionalList(list(u"png|jpg|pdf"));
    QTest::newRow("nothing-selected-is-empty-list") << QStringList() << supported << OptionalList(QStringList());
    QTest::newRow("unsupported-only-is-empty-list") << list(u"heic") << supported << OptionalList(QStringList());
}

void ExtensionSelectionTest::store()
{
    QFETCH(QStringList, selected);
    QFETCH(QStringList, supported);
    QFETCH(OptionalList, expected);

    QCOMPARE(shown(storedExtensionSelection(selected, supported)), shown(expected));
}

QTEST_GUILESS_MAIN(ExtensionSelectionTest)

#include "extensionselectiontest.moc"
