#include <QTest>

#include "naming/fieldcatalogue.h"
#include "naming/namingpattern.h"

using namespace Nomly;

Q_DECLARE_METATYPE(Nomly::NamingPatternSeparator)

namespace {

QStringList tokensOf(const QList<const NamingPatternField *> &fields)
{
    QStringList tokens;
    for (const NamingPatternField *field : fields)
        tokens.append(field->token);
    return tokens;
}

} // namespace

class NamingPatternTest : public QObject
{
    Q_OBJECT

private slots:
    void tokenFinders_data();
    void tokenFinders();
    void scannerPositions();
    void parse_data();
    void parse();
    void canonical_data();
    void canonical();
    void fieldLookup_data();
    void fieldLookup();
    void fieldsOfPatternKeepsOrderAndRepeats();
    void requestedDetected_data();
    void requestedDetected();
    void requestsEveryDetectedFieldButLocalOnes();
    void locallyResolvable_data();
    void locallyResolvable();
    void locallyResolvableCount();
};

// The scanner and the regular expression agree on well-formed patterns; they
// part only where a token would be empty.
void NamingPatternTest::tokenFinders_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QStringList>("scanned");
    QTest::addColumn<QStringList>("matched");

    const QStringList createdAndTitle { QStringLiteral("{created_date}"), QStringLiteral("{title}") };
    QTest::newRow("well-formed") << QStringLiteral("IMG-{created_date}_{title}.v2") << createdAndTitle
                                 << createdAndTitle;
    QTest::newRow("repeats-kept") << QStringLiteral("{a}{a}")
                                  << QStringList { QStringLiteral("{a}"), QStringLiteral("{a}") }
                                  << QStringList { QStringLiteral("{a}"), QStringLiteral("{a}") };
    QTest::newRow("empty-braces") << QStringLiteral("{}") << QStringList { QStringLiteral("{}") } << QStringList();
    QTest::newRow("empty-braces-before-token")
        << QStringLiteral("{}{a}") << QStringList { QStringLiteral("{}"), QStringLiteral("{a}") }
        << QStringList { QStringLiteral("{a}") };
    QTest::newRow("unclosed-brace") << QStringLiteral("x_{title") << QStringList() << QStringList();
    QTest::newRow("unclosed-after-token")
        << QStringLiteral("{a}_{b") << QStringList { QStringLiteral("{a}") } << QStringList { QStringLiteral("{a}") };
    QTest::newRow("no-nesting") << QStringLiteral("{a{b}c}") << QStringList { QStringLiteral("{a{b}") }
                                << QStringList { QStringLiteral("{a{b}") };
    QTest::newRow("stray-closing-brace") << QStringLiteral("a}{b}") << QStringList { QStringLiteral("{b}") }
                                         << QStringList { QStringLiteral("{b}") };
    QTest::newRow("no-tokens") << QStringLiteral("plain name") << QStringList() << QStringList();
    QTest::newRow("empty") << QString() << QStringList() << QStringList();
}

void NamingPatternTest::tokenFinders()
{
    QFETCH(QString, pattern);
    QFETCH(QStringList, scanned);
    QFETCH(QStringList, matched);

    QStringList scannedTexts;
    for (const PatternToken &token : scanPatternTokens(pattern))
        scannedTexts.append(token.text);
    QCOMPARE(scannedTexts, scanned);
    QCOMPARE(patternTokenMatches(pattern), matched);
}

void NamingPatternTest::scannerPositions()
{
    const QList<PatternToken> tokens = scanPatternTokens(QStringLiteral("IMG-{date}_{title}x"));
    QCOMPARE(tokens, QList<PatternToken>({ { QStringLiteral("{date}"), 4 }, { QStringLiteral("{title}"), 11 } }));
    QCOMPARE(tokens.at(0).end(), 10);
}

void NamingPatternTest::parse_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QStringList>("tokens");
    QTest::addColumn<NamingPatternSeparator>("separator");

    const QStringList ab { QStringLiteral("{a}"), QStringLiteral("{b}") };
    QTest::newRow("underscore") << QStringLiteral("{a}_{b}") << ab << NamingPatternSeparator::Underscore;
    QTest::newRow("underscore-beats-hyphen")
        << QStringLiteral("{a} -_ {b}") << ab << NamingPatternSeparator::Underscore;
    QTest::newRow("hyphen-beats-dot") << QStringLiteral("{a}.-{b}") << ab << NamingPatternSeparator::Hyphen;
    QTest::newRow("dot") << QStringLiteral("{a}.{b}") << ab << NamingPatternSeparator::Dot;
    QTest::newRow("word-gap-is-space") << QStringLiteral("{a}and{b}") << ab << NamingPatternSeparator::Space;
    QTest::newRow("adjacent-is-none") << QStringLiteral("{a}{b}") << ab << NamingPatternSeparator::None;
    QTest::newRow("first-gap-decides") << QStringLiteral(
        "{a}{b}_{c}") << QStringList { QStringLiteral("{a}"), QStringLiteral("{b}"), QStringLiteral("{c}") }
                                       << NamingPatternSeparator::None;
    QTest::newRow("outer-text-ignored") << QStringLiteral("x_{a} {b}-y") << ab << NamingPatternSeparator::Space;
    QTest::newRow("single-token-is-space")
        << QStringLiteral("x_{a}_y") << QStringList { QStringLiteral("{a}") } << NamingPatternSeparator::Space;
    QTest::newRow("unclosed-second-token")
        << QStringLiteral("{a}_{b") << QStringList { QStringLiteral("{a}") } << NamingPatternSeparator::Space;
    QTest::newRow("empty-braces-count") << QStringLiteral("{}-{a}")
                                        << QStringList { QStringLiteral("{}"), QStringLiteral("{a}") }
                                        << NamingPatternSeparator::Hyphen;
}

void NamingPatternTest::parse()
{
    QFETCH(QString, pattern);
    QFETCH(QStringList, tokens);
    QFETCH(NamingPatternSeparator, separator);

    const ParsedPattern parsed = parsePattern(pattern);
    QCOMPARE(parsed.tokens, tokens);
    QCOMPARE(parsed.separator, separator);
}

void NamingPatternTest::canonical_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("expected");

    const QString title = QStringLiteral("{title}");
    QTest::newRow("title-spaced") << QStringLiteral("{Title Name}") << title;
    QTest::newRow("title-underscored") << QStringLiteral("{title_name}") << title;
    QTest::newRow("title-joined") << QStringLiteral("{TitleName}") << title;
    QTest::newRow("name-alias") << QStringLiteral("{name}") << title;
    QTest::newRow("padded-inside-braces") << QStringLiteral("{ title }") << title;
    QTest::newRow("half-braced") << QStringLiteral("{title") << title;
    QTest::newRow("bare-and-padded") << QStringLiteral("  created_date\n") << QStringLiteral("{created_date}");
    QTest::newRow("uppercase-token") << QStringLiteral("{CREATED_DATE}") << QStringLiteral("{created_date}");
    QTest::newRow("field-label") << QStringLiteral("{Created Date}") << QStringLiteral("{created_date}");
    QTest::newRow("alias") << QStringLiteral("{vendor name}") << QStringLiteral("{vendor}");
    QTest::newRow("bare-alias") << QStringLiteral("merchant") << QStringLiteral("{vendor}");
    QTest::newRow("alias-ending-in-date") << QStringLiteral("{processing date}") << QStringLiteral("{date}");
    QTest::newRow("alias-ending-in-time") << QStringLiteral("{taken time}") << QStringLiteral("{capture_time}");
    QTest::newRow("date-variant-kept") << QStringLiteral("{created_date_iso}") << QStringLiteral("{created_date_iso}");
    QTest::newRow("detected-date-variant")
        << QStringLiteral("{Invoice Date Long}") << QStringLiteral("{invoice_date_long}");
    QTest::newRow("time-variant") << QStringLiteral("{capture_time_12h}") << QStringLiteral("{capture_time_12h}");
    QTest::newRow("compact-time") << QStringLiteral("{time_compact}") << QStringLiteral("{time_compact}");
    QTest::newRow("month") << QStringLiteral("{Month}") << QStringLiteral("{month}");
    QTest::newRow("month-number") << QStringLiteral("{month_number}") << QStringLiteral("{month}");
    QTest::newRow("month-short") << QStringLiteral("{month short}") << QStringLiteral("{month_short}");
    QTest::newRow("month-name") << QStringLiteral("{month_name}") << QStringLiteral("{month_name}");
    QTest::newRow("year-short") << QStringLiteral("{year_short}") << QStringLiteral("{year_short}");
    QTest::newRow("size-variant") << QStringLiteral("{size_mb}") << QStringLiteral("{size_mb}");
    QTest::newRow("original-spelling") << QStringLiteral("{Original_Name}") << QStringLiteral("{original}");
    QTest::newRow("original-camel") << QStringLiteral("{originalName}") << QStringLiteral("{original}");
    QTest::newRow("original-alias") << QStringLiteral("filename") << QStringLiteral("{original}");
    QTest::newRow("unknown-kept") << QStringLiteral("{unknown thing}") << QStringLiteral("{unknown thing}");
    QTest::newRow("unknown-bare-wrapped") << QStringLiteral(" foo bar ") << QStringLiteral("{foo bar}");
    QTest::newRow("date-time-unknown") << QStringLiteral("{date_time}") << QStringLiteral("{date_time}");
    QTest::newRow("empty-braces") << QStringLiteral("{}") << QStringLiteral("{}");
}

void NamingPatternTest::canonical()
{
    QFETCH(QString, input);
    QFETCH(QString, expected);
    QCOMPARE(canonicalToken(input), expected);
}

void NamingPatternTest::fieldLookup_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("field");

    QTest::newRow("token") << QStringLiteral("{vendor}") << QStringLiteral("{vendor}");
    QTest::newRow("alias") << QStringLiteral("vendor_name") << QStringLiteral("{vendor}");
    QTest::newRow("title-spelling") << QStringLiteral("{Title Name}") << QStringLiteral("{title}");
    QTest::newRow("original-spelling") << QStringLiteral("{ORIGINAL-NAME}") << QStringLiteral("{original}");
    QTest::newRow("detected-date-by-base-name")
        << QStringLiteral("{invoice_date_long}") << QStringLiteral("{invoice_date}");
    QTest::newRow("size-variant") << QStringLiteral("{size_mb}") << QStringLiteral("{size}");
    QTest::newRow("month") << QStringLiteral("{month}") << QStringLiteral("{month_name}");
    QTest::newRow("year-short") << QStringLiteral("{year_short}") << QStringLiteral("{year}");
    QTest::newRow("rename-time-variant") << QStringLiteral("{time_12h}") << QStringLiteral("{time}");
    QTest::newRow("capture-time-variant")
        << QStringLiteral("{capture_time_hyphen}") << QStringLiteral("{capture_time}");
    QTest::newRow("extension-variant") << QStringLiteral("{extension_upper}") << QStringLiteral("{extension}");
    QTest::newRow("frame-rate-variant") << QStringLiteral("{frame_rate_number}") << QStringLiteral("{frame_rate}");
    QTest::newRow("time-suffix-on-date-field") << QStringLiteral("{created_date_short}") << QString();
    QTest::newRow("date-suffix-on-other-field") << QStringLiteral("{vendor_iso}") << QString();
    QTest::newRow("unknown") << QStringLiteral("{unknown thing}") << QString();
    QTest::newRow("empty-braces") << QStringLiteral("{}") << QString();
}

void NamingPatternTest::fieldLookup()
{
    QFETCH(QString, input);
    QFETCH(QString, field);

    const NamingPatternField *found = fieldForToken(input);
    QCOMPARE(found ? found->token : QString(), field);
}

void NamingPatternTest::fieldsOfPatternKeepsOrderAndRepeats()
{
    const QString pattern = QStringLiteral("{date_iso}-{Vendor Name}_{mystery}_{}{date}_{title");
    QCOMPARE(tokensOf(fieldsOfPattern(pattern)),
             QStringList({ QStringLiteral("{date}"), QStringLiteral("{vendor}"), QStringLiteral("{date}") }));
}

void NamingPatternTest::requestedDetected_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QStringList>("names");

    QTest::newRow("detected-requested") << QStringLiteral("{total_amount}")
                                        << QStringList { QStringLiteral("total_amount") };
    QTest::newRow("locally-read-left-out") << QStringLiteral("{artist}_{title}") << QStringList();
    QTest::newRow("location-still-requested")
        << QStringLiteral("{location}") << QStringList { QStringLiteral("location") };
    QTest::newRow("file-and-core-left-out") << QStringLiteral("{created_date}_{title}_{size}") << QStringList();
    QTest::newRow("first-occurrence-once") << QStringLiteral("{vendor}_{invoice_date}_{merchant}")
                                           << QStringList { QStringLiteral("vendor"), QStringLiteral("invoice_date") };
    QTest::newRow("variant-names-its-field")
        << QStringLiteral("{invoice_date_long}") << QStringList { QStringLiteral("invoice_date") };
    QTest::newRow("unknown-skipped") << QStringLiteral("{mystery}_{due_date}")
                                     << QStringList { QStringLiteral("due_date") };
    QTest::newRow("detected-type-is-local") << QStringLiteral("{type}") << QStringList();
    QTest::newRow("empty-braces-skipped") << QStringLiteral("{}{subject}") << QStringList { QStringLiteral("subject") };
}

void NamingPatternTest::requestedDetected()
{
    QFETCH(QString, pattern);
    QFETCH(QStringList, names);
    QCOMPARE(requestedDetectedFields(pattern), names);
}

void NamingPatternTest::requestsEveryDetectedFieldButLocalOnes()
{
    QString pattern;
    for (const NamingPatternField *field : fieldCatalogue().allFields())
        pattern += field->token;
    // 110 detected fields, 34 of them read locally, location requested anyway.
    QCOMPARE(requestedDetectedFields(pattern).size(), 110 - 34 + 1);
}

void NamingPatternTest::locallyResolvable_data()
{
    QTest::addColumn<QString>("token");
    QTest::addColumn<bool>("resolvable");

    QTest::newRow("file-field") << QStringLiteral("{size}") << true;
    QTest::newRow("core-clock") << QStringLiteral("{date}") << true;
    QTest::newRow("core-original") << QStringLiteral("{original}") << true;
    QTest::newRow("title-needs-ai") << QStringLiteral("{title}") << false;
    QTest::newRow("detected-read-locally") << QStringLiteral("{artist}") << true;
    QTest::newRow("detected-location") << QStringLiteral("{location}") << true;
    QTest::newRow("detected-needs-ai") << QStringLiteral("{vendor}") << false;
    QTest::newRow("detected-type") << QStringLiteral("{type}") << true;
}

void NamingPatternTest::locallyResolvable()
{
    QFETCH(QString, token);
    QFETCH(bool, resolvable);

    const NamingPatternField *field = fieldForToken(token);
    QVERIFY(field);
    QCOMPARE(isLocallyResolvable(*field), resolvable);
}

void NamingPatternTest::locallyResolvableCount()
{
    qsizetype count = 0;
    for (const NamingPatternField *field : fieldCatalogue().allFields()) {
        if (isLocallyResolvable(*field))
            ++count;
    }
    // 29 file fields, the 5 core fields other than the title, and the 34 read locally.
    QCOMPARE(count, 29 + 5 + 34);
}

QTEST_GUILESS_MAIN(NamingPatternTest)

#include "namingpatterntest.moc"
