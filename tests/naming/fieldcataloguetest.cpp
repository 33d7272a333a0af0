#include <QSet>
#include <QTest>

#include "naming/fieldcatalogue.h"

using namespace Nomly;
using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(Nomly::NamingPatternField::Source)

class FieldCatalogueTest : public QObject
{
    Q_OBJECT

private slots:
    void groupsHoldEveryFieldInOrder();
    void everyFieldFindsItself();
    void fields_data();
    void fields();
    void normalizedName_data();
    void normalizedName();
    void aliasTable_data();
    void aliasTable();
    void familyTables();
};

void FieldCatalogueTest::groupsHoldEveryFieldInOrder()
{
    const FieldCatalogue &catalogue = fieldCatalogue();
    const QList<NamingPatternFieldGroup> &groups = catalogue.groups();
    QCOMPARE(groups.size(), 18);
    QCOMPARE(groups.first().name, u"Core"_s);
    QCOMPARE(groups.first().fields.first().token, u"{title}"_s);
    QCOMPARE(groups.last().name, u"Messages & Email"_s);

    QStringList fromGroups;
    QSet<QString> names;
    for (const NamingPatternFieldGroup &group : groups) {
        QVERIFY2(!group.systemImage.isEmpty() && !group.tint.isEmpty() && !group.fields.isEmpty(),
                 qPrintable(group.name));
        names.insert(group.name);
        for (const NamingPatternField &field : group.fields)
            fromGroups.append(field.token);
    }
    QCOMPARE(names.size(), groups.size());

    QStringList flat;
    for (const NamingPatternField *field : catalogue.allFields())
        flat.append(field->token);
    QCOMPARE(flat.size(), 145);
    QCOMPARE(flat, fromGroups);
}

void FieldCatalogueTest::everyFieldFindsItself()
{
    const FieldCatalogue &catalogue = fieldCatalogue();
    for (const NamingPatternField *field : catalogue.allFields()) {
        const QString &token = field->token;
        QVERIFY2(token.startsWith(u'{') && token.endsWith(u'}'), qPrintable(token));
        QCOMPARE(token, token.toLower());
        QVERIFY2(!field->label.isEmpty() && !field->description.isEmpty(), qPrintable(token));
        // Every token finds its own field by either lookup, so no two share a token.
        QCOMPARE(catalogue.fieldForToken(token), field);
        QCOMPARE(catalogue.fieldForAlias(normalizedFieldName(token)), field);
        QVERIFY(catalogue.isKnownName(normalizedFieldName(token)));
    }
}

void FieldCatalogueTest::fields_data()
{
    QTest::addColumn<QString>("token");
    QTest::addColumn<QString>("label");
    QTest::addColumn<NamingPatternField::Source>("source");
    QTest::addColumn<bool>("isSuggested");
    QTest::addColumn<QStringList>("aliases");

    using Source = NamingPatternField::Source;
    QTest::newRow("title-is-core") << u"{title}"_s << u"Title"_s << Source::Core << false << QStringList { u"name"_s };
    QTest::newRow("month-has-three-aliases") << u"{month_name}"_s << u"Month"_s << Source::Core << false
                                             << QStringList { u"month"_s, u"month_number"_s, u"month_short"_s };
    QTest::newRow("kind-is-file-without-aliases")
        << u"{kind}"_s << u"File Kind"_s << Source::File << false << QStringList();
    QTest::newRow("vendor-suggested") << u"{vendor}"_s << u"Vendor Name"_s << Source::Detected << true
                                      << QStringList { u"vendor_name"_s, u"merchant"_s, u"issuer"_s };
    QTest::newRow("invoice-number-spaced-aliases") << u"{invoice_number}"_s << u"Invoice Number"_s << Source::Detected
                                                   << false << QStringList { u"invoice no"_s, u"bill number"_s };
}

void FieldCatalogueTest::fields()
{
    QFETCH(QString, token);
    QFETCH(QString, label);
    QFETCH(NamingPatternField::Source, source);
    QFETCH(bool, isSuggested);
    QFETCH(QStringList, aliases);

    const NamingPatternField *field = fieldCatalogue().fieldForToken(token);
    QVERIFY(field);
    QCOMPARE(field->label, label);
    QCOMPARE(field->source, source);
    QCOMPARE(field->isSuggested, isSuggested);
    QCOMPARE(field->aliases, aliases);
}

void FieldCatalogueTest::normalizedName_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("expected");

    QTest::newRow("braces-and-spaces") << u"{Created Date}"_s << u"created_date"_s;
    QTest::newRow("hyphen-and-dot") << u"check-in.date"_s << u"check_in_date"_s;
    QTest::newRow("padding-inside-braces") << u"{ title }"_s << u"title"_s;
    QTest::newRow("doubled-braces") << u"{{vendor}}"_s << u"vendor"_s;
    QTest::newRow("inner-brace-kept") << u"{a{b}"_s << u"a{b"_s;
    QTest::newRow("only-braces") << u"{}"_s << QString();
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

    QTest::newRow("own-name") << u"created_date"_s << u"{created_date}"_s << u"created_date"_s;
    QTest::newRow("alias-with-space") << u"page_count"_s << u"{pages}"_s << u"pages"_s;
    QTest::newRow("month-alias") << u"month_number"_s << u"{month_name}"_s << u"month_name"_s;
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
    for (const QString &name : { u"date"_s, u"invoice_date"_s, u"check_in_date"_s })
        QVERIFY2(catalogue.isDateField(name), qPrintable(name));
    // Aliases are names for lookup, not fields of their own.
    QVERIFY(!catalogue.isDateField(u"processing_date"_s));
    QVERIFY(!catalogue.isKnownName(u"processing_date"_s));
    QVERIFY(!catalogue.isKnownName(u"month"_s));
    QVERIFY(!catalogue.isTimeField(u"taken_time"_s));
}

QTEST_GUILESS_MAIN(FieldCatalogueTest)

#include "fieldcataloguetest.moc"
