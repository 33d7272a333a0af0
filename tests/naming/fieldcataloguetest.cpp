#include <QSet>
#include <QTest>

#include "naming/fieldcatalogue.h"

using namespace Nomly;

Q_DECLARE_METATYPE(Nomly::NamingPatternField::Source)

namespace {

const NamingPatternField *catalogueField(const QString &token)
{
    for (const NamingPatternField *field : fieldCatalogue().allFields()) {
        if (field->token == token)
            return field;
    }
    return nullptr;
}

} // namespace

class FieldCatalogueTest : public QObject
{
    Q_OBJECT

private slots:
    void groups_data();
    void groups();
    void allFieldsFollowGroupOrder();
    void tokensAreUniqueAndLowercase();
    void fields_data();
    void fields();
    void normalizedName_data();
    void normalizedName();
    void aliasTable_data();
    void aliasTable();
    void familyTables();
};

void FieldCatalogueTest::groups_data()
{
    QTest::addColumn<qsizetype>("position");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("systemImage");
    QTest::addColumn<QString>("tint");
    QTest::addColumn<qsizetype>("fieldCount");
    QTest::addColumn<QString>("firstToken");
    QTest::addColumn<QString>("lastToken");

    qsizetype position = 0;
    auto row = [&position](const char *tag,
                           const char16_t *name,
                           const char16_t *image,
                           const char16_t *tint,
                           qsizetype count,
                           const char16_t *first,
                           const char16_t *last) {
        QTest::newRow(tag) << position++ << QString::fromUtf16(name) << QString::fromUtf16(image)
                           << QString::fromUtf16(tint) << count << QString::fromUtf16(first)
                           << QString::fromUtf16(last);
    };
    row("core", u"Core", u"sparkles", u"purple", 6, u"{title}", u"{month_name}");
    row("file", u"File", u"doc", u"blue", 7, u"{kind}", u"{parent_folder}");
    row("media", u"Media", u"play.rectangle", u"pink", 10, u"{duration}", u"{recording_date}");
    row("audio", u"Audio", u"music.note", u"purple", 12, u"{artist}", u"{transcript_topic}");
    row("photo", u"Photo", u"camera", u"orange", 14, u"{capture_date}", u"{orientation}");
    row("documents", u"Documents", u"doc.text", u"teal", 7, u"{pages}", u"{version}");
    row("finance", u"Finance", u"creditcard", u"green", 12, u"{invoice_date}", u"{payment_method}");
    row("work", u"Work", u"briefcase", u"indigo", 8, u"{project_name}", u"{expiration_date}");
    row("screens", u"Screens & Apps", u"macwindow", u"cyan", 4, u"{app_name}", u"{state}");
    row("code", u"Code & Dev", u"curlybraces", u"mint", 14, u"{code_language}", u"{error_code}");
    row("downloads", u"Downloads & Web", u"arrow.down.circle", u"blue", 4, u"{source}", u"{asset_role}");
    row("design", u"Design", u"paintpalette", u"pink", 9, u"{brand}", u"{export_scale}");
    row("creative", u"Creative", u"wand.and.stars", u"orange", 5, u"{subject}", u"{color}");
    row("healthcare", u"Healthcare", u"cross.case", u"red", 10, u"{patient_id}", u"{claim_number}");
    row("legal", u"Legal", u"scalemass", u"brown", 6, u"{case_number}", u"{party_name}");
    row("travel", u"Travel", u"airplane", u"cyan", 7, u"{booking_reference}", u"{check_out_date}");
    row("commerce", u"Commerce & Shipping", u"shippingbox", u"green", 5, u"{order_number}", u"{product_variant}");
    row("messages", u"Messages & Email", u"envelope", u"indigo", 5, u"{sender}", u"{thread_name}");
}

void FieldCatalogueTest::groups()
{
    QFETCH(qsizetype, position);
    QFETCH(QString, name);
    QFETCH(QString, systemImage);
    QFETCH(QString, tint);
    QFETCH(qsizetype, fieldCount);
    QFETCH(QString, firstToken);
    QFETCH(QString, lastToken);

    const QList<NamingPatternFieldGroup> &groups = fieldCatalogue().groups();
    QCOMPARE(groups.size(), 18);
    const NamingPatternFieldGroup &group = groups.at(position);
    QCOMPARE(group.name, name);
    QCOMPARE(group.systemImage, systemImage);
    QCOMPARE(group.tint, tint);
    QCOMPARE(group.fields.size(), fieldCount);
    QCOMPARE(group.fields.first().token, firstToken);
    QCOMPARE(group.fields.last().token, lastToken);
}

void FieldCatalogueTest::allFieldsFollowGroupOrder()
{
    const FieldCatalogue &catalogue = fieldCatalogue();
    QStringList fromGroups;
    for (const NamingPatternFieldGroup &group : catalogue.groups()) {
        for (const NamingPatternField &field : group.fields)
            fromGroups.append(field.token);
    }
    QStringList flat;
    for (const NamingPatternField *field : catalogue.allFields())
        flat.append(field->token);

    QCOMPARE(flat.size(), 145);
    QCOMPARE(flat, fromGroups);
}

void FieldCatalogueTest::tokensAreUniqueAndLowercase()
{
    const FieldCatalogue &catalogue = fieldCatalogue();
    QSet<QString> seen;
    for (const NamingPatternField *field : catalogue.allFields()) {
        const QString &token = field->token;
        QVERIFY2(!seen.contains(token), qPrintable(token));
        seen.insert(token);
        QVERIFY2(token.startsWith(u'{') && token.endsWith(u'}'), qPrintable(token));
        QCOMPARE(token, token.toLower());
        // Every token finds its own field by either lookup.
        QCOMPARE(catalogue.fieldForToken(token), field);
        QCOMPARE(catalogue.fieldForAlias(normalizedFieldName(token)), field);
        QVERIFY(catalogue.isKnownName(normalizedFieldName(token)));
    }
}

void FieldCatalogueTest::fields_data()
{
    QTest::addColumn<QString>("token");
    QTest::addColumn<QString>("label");
    QTest::addColumn<QString>("description");
    QTest::addColumn<NamingPatternField::Source>("source");
    QTest::addColumn<bool>("isSuggested");
    QTest::addColumn<QStringList>("aliases");

    using Source = NamingPatternField::Source;
    QTest::newRow("title-is-core") << QStringLiteral("{title}") << QStringLiteral("Title")
                                   << QStringLiteral("AI-generated title formatted by Case style.") << Source::Core
                                   << false << QStringList { QStringLiteral("name") };
    QTest::newRow("month-has-three-aliases")
        << QStringLiteral("{month_name}") << QStringLiteral("Month") << QStringLiteral("Rename month.") << Source::Core
        << false
        << QStringList { QStringLiteral("month"), QStringLiteral("month_number"), QStringLiteral("month_short") };
    QTest::newRow("kind-is-file") << QStringLiteral("{kind}") << QStringLiteral("File Kind")
                                  << QStringLiteral("Image, video, document, or file.") << Source::File << false
                                  << QStringList();
    QTest::newRow("type-is-detected") << QStringLiteral("{type}") << QStringLiteral("Type")
                                      << QStringLiteral("Image, video, document, or file.") << Source::Detected << false
                                      << QStringList();
    QTest::newRow("vendor-suggested") << QStringLiteral("{vendor}") << QStringLiteral("Vendor Name")
                                      << QStringLiteral("Seller, issuer, merchant, or payee.") << Source::Detected
                                      << true
                                      << QStringList { QStringLiteral("vendor_name"),
                                                       QStringLiteral("merchant"),
                                                       QStringLiteral("issuer") };
    QTest::newRow("invoice-number-not-suggested")
        << QStringLiteral("{invoice_number}") << QStringLiteral("Invoice Number")
        << QStringLiteral("Invoice or bill number.") << Source::Detected << false
        << QStringList { QStringLiteral("invoice no"), QStringLiteral("bill number") };
    QTest::newRow("code-language-label-lowercase")
        << QStringLiteral("{code_language}") << QStringLiteral("Code language")
        << QStringLiteral("Programming language visible in code.") << Source::Detected << false
        << QStringList { QStringLiteral("programming language"),
                         QStringLiteral("programming_language"),
                         QStringLiteral("code language") };
    QTest::newRow("audio-type-long-description")
        << QStringLiteral("{audio_type}") << QStringLiteral("Audio Type")
        << QStringLiteral(
               "Audio role such as song, jingle, sample, loop, sound effect, voice memo, podcast, or interview.")
        << Source::Detected << false
        << QStringList { QStringLiteral("audio_role"), QStringLiteral("audio_kind"), QStringLiteral("clip_type") };
    QTest::newRow("check-in-hyphenated-label")
        << QStringLiteral("{check_in_date}") << QStringLiteral("Check-in Date")
        << QStringLiteral("Hotel, flight, or event check-in date.") << Source::Detected << false << QStringList();
    QTest::newRow("patient-id-suggested")
        << QStringLiteral("{patient_id}") << QStringLiteral("Patient ID")
        << QStringLiteral("Patient or medical record identifier.") << Source::Detected << true
        << QStringList { QStringLiteral("mrn"), QStringLiteral("medical record") };
}

void FieldCatalogueTest::fields()
{
    QFETCH(QString, token);
    QFETCH(QString, label);
    QFETCH(QString, description);
    QFETCH(NamingPatternField::Source, source);
    QFETCH(bool, isSuggested);
    QFETCH(QStringList, aliases);

    const NamingPatternField *field = catalogueField(token);
    QVERIFY(field);
    QCOMPARE(field->label, label);
    QCOMPARE(field->description, description);
    QCOMPARE(field->source, source);
    QCOMPARE(field->isSuggested, isSuggested);
    QCOMPARE(field->aliases, aliases);
}

void FieldCatalogueTest::normalizedName_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("expected");

    QTest::newRow("braces-and-spaces") << QStringLiteral("{Created Date}") << QStringLiteral("created_date");
    QTest::newRow("hyphen-and-dot") << QStringLiteral("check-in.date") << QStringLiteral("check_in_date");
    QTest::newRow("padding-inside-braces") << QStringLiteral("{ title }") << QStringLiteral("title");
    QTest::newRow("doubled-braces") << QStringLiteral("{{vendor}}") << QStringLiteral("vendor");
    QTest::newRow("inner-brace-kept") << QStringLiteral("{a{b}") << QStringLiteral("a{b");
    QTest::newRow("only-braces") << QStringLiteral("{}") << QString();
    QTest::newRow("tab-not-trimmed") << QStringLiteral("\tx") << QStringLiteral("\tx");
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

    QTest::newRow("own-name") << QStringLiteral("created_date") << QStringLiteral("{created_date}")
                              << QStringLiteral("created_date");
    QTest::newRow("alias-with-space") << QStringLiteral("page_count") << QStringLiteral("{pages}")
                                      << QStringLiteral("pages");
    QTest::newRow("alias-spelled-as-name")
        << QStringLiteral("vendor_name") << QStringLiteral("{vendor}") << QStringLiteral("vendor");
    QTest::newRow("month-alias") << QStringLiteral("month_number") << QStringLiteral("{month_name}")
                                 << QStringLiteral("month_name");
    QTest::newRow("short-alias") << QStringLiteral("to") << QStringLiteral("{recipient}")
                                 << QStringLiteral("recipient");
    QTest::newRow("alias-ending-in-date-is-no-date-field")
        << QStringLiteral("processing_date") << QStringLiteral("{date}") << QStringLiteral("date");
    QTest::newRow("unknown") << QStringLiteral("mystery") << QString() << QString();
    QTest::newRow("token-form-is-not-a-name") << QStringLiteral("{vendor}") << QString() << QString();
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
    QCOMPARE(catalogue.timeFields(), QSet<QString>({ QStringLiteral("time"), QStringLiteral("capture_time") }));
    for (const char16_t *name : { u"date", u"created_date", u"invoice_date", u"check_in_date", u"message_date" })
        QVERIFY2(catalogue.isDateField(QString::fromUtf16(name)), qPrintable(QString::fromUtf16(name)));
    // Aliases are names for lookup, not fields of their own.
    QVERIFY(!catalogue.isDateField(QStringLiteral("processing_date")));
    QVERIFY(!catalogue.isKnownName(QStringLiteral("processing_date")));
    QVERIFY(!catalogue.isKnownName(QStringLiteral("month")));
    QVERIFY(!catalogue.isTimeField(QStringLiteral("taken_time")));
}

QTEST_GUILESS_MAIN(FieldCatalogueTest)

#include "fieldcataloguetest.moc"
