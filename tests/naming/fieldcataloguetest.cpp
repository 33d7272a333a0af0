#include <QSet>
#include <QTest>

#include "naming/fieldcatalogue.h"

using namespace Nomly;
using namespace Qt::StringLiterals;

class FieldCatalogueTest : public QObject
{
    Q_OBJECT

private slots:
    void groupsHoldEveryFieldInOrder();
    void normalizedName_data();
    void normalizedName();
    void aliasTable_data();
    void aliasTable();
    void familyTables();
};

void FieldCatalogueTest::groupsHoldEveryFieldInOrder()
{
    const FieldCatalogue &catalogue = fieldCatalogue();
    QStringList fromGroups;
    for (const NamingPatternFieldGroup &group : catalogue.groups())
        for (const NamingPatternField &field : group.fields)
            fromGroups.append(field.token);

    QStringList flat;
    for (const NamingPatternField *field : catalogue.allFields()) {
        flat.append(field->token);
        // Every token finds its own field by either lookup, so no two share a token.
        QCOMPARE(catalogue.fieldForToken(field->token), field);
        QCOMPARE(catalogue.fieldForAlias(normalizedFieldName(field->token)), field);
    }
    QCOMPARE(flat.size(), 145);
    QCOMPARE(flat, fromGroups);

    const NamingPatternField *vendor = catalogue.fieldForToken(u"{vendor}"_s);
    QCOMPARE(vendor->source, NamingPatternField::Source::Detected);
    QVERIFY(vendor->isSuggested);
    QCOMPARE(catalogue.fieldForToken(u"{kind}"_s)->source, NamingPatternField::Source::File);
}

void FieldCatalogueTest::normalizedName_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("expected");

    QTest::newRow("braces-and-spaces") << u"{Created Date}"_s << u"created_date"_s;
    QTest::newRow("hyphen-and-dot") << u"check-in.date"_s << u"check_in_date"_s;
    QTest::newRow("doubled-braces") << u"{{vendor}}"_s << u"vendor"_s;
    QTest::newRow("tab-not-trimmed") << u"\tx"_s << u"\tx"_s;
}

void FieldCatalogueTest::normalizedName()
{
    QFETCH(QString, input);
    QFETCH(QString, expected);
    QCOMPARE(normalizedFieldName(input), expected);
}

void FieldCatalogueTest::aliasTable_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("token");
    QTest::addColumn<QString>("aiName");

    QTest::newRow("alias-with-space") << u"page_count"_s << u"{pages}"_s << u"pages"_s;
    QTest::newRow("alias-ending-in-date-is-no-date-field") << u"processing_date"_s << u"{date}"_s << u"date"_s;
    QTest::newRow("unknown") << u"mystery"_s << QString() << QString();
    QTest::newRow("token-form-is-not-a-name") << u"{vendor}"_s << QString() << QString();
}

void FieldCatalogueTest::aliasTable()
{
    QFETCH(QString, name);
    QFETCH(QString, token);
    QFETCH(QString, aiName);

    const FieldCatalogue &catalogue = fieldCatalogue();
    const NamingPatternField *field = catalogue.fieldForAlias(name);
    QCOMPARE(field ? field->token : QString(), token);
    QCOMPARE(catalogue.nameForAlias(name), aiName);
}

void FieldCatalogueTest::familyTables()
{
    const FieldCatalogue &catalogue = fieldCatalogue();
    QCOMPARE(catalogue.dateFields().size(), 21);
    QCOMPARE(catalogue.timeFields(), QSet<QString>({ u"time"_s, u"capture_time"_s }));
    // Aliases are names for lookup, not fields of their own.
    QVERIFY(!catalogue.isDateField(u"processing_date"_s));
    QVERIFY(!catalogue.isKnownName(u"processing_date"_s));
}

QTEST_GUILESS_MAIN(FieldCatalogueTest)

#include "fieldcataloguetest.moc"
