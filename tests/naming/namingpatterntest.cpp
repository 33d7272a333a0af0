#include <QTest>

#include "naming/fieldcatalogue.h"
#include "naming/namingpattern.h"

using namespace Nomly;
using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(Nomly::NamingPatternSeparator)

class NamingPatternTest : public QObject
{
    Q_OBJECT

private slots:
    void tokenFinders_data();
    void tokenFinders();
    void parse_data();
    void parse();
    void tokenLookup_data();
    void tokenLookup();
    void fieldsOfPatternKeepsOrderAndRepeats();
    void localResolution();
};

void NamingPatternTest::tokenFinders_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QStringList>("scanned");
    QTest::addColumn<QStringList>("matched");

    const QStringList createdAndTitle { u"{created_date}"_s, u"{title}"_s };
    QTest::newRow("well-formed") << u"IMG-{created_date}_{title}.v2"_s << createdAndTitle << createdAndTitle;
    QTest::newRow("empty-braces") << u"{}{a}"_s << QStringList { u"{}"_s, u"{a}"_s } << QStringList { u"{a}"_s };
    QTest::newRow("unclosed-brace") << u"{a}_{b"_s << QStringList { u"{a}"_s } << QStringList { u"{a}"_s };
    QTest::newRow("no-nesting") << u"{a{b}c}"_s << QStringList { u"{a{b}"_s } << QStringList { u"{a{b}"_s };
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
    QCOMPARE(scanPatternTokens(u"IMG-{date}_{title}x"_s).at(1), (PatternToken { u"{title}"_s, 11 }));
}

void NamingPatternTest::parse_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<NamingPatternSeparator>("separator");

    using Sep = NamingPatternSeparator;
    QTest::newRow("underscore-beats-hyphen") << u"{a} -_ {b}"_s << Sep::Underscore;
    QTest::newRow("hyphen-beats-dot") << u"{a}.-{b}"_s << Sep::Hyphen;
    QTest::newRow("word-gap-is-space") << u"{a}and{b}"_s << Sep::Space;
    QTest::newRow("adjacent-is-none") << u"{a}{b}"_s << Sep::None;
    QTest::newRow("first-gap-decides") << u"{a}{b}_{c}"_s << Sep::None;
    QTest::newRow("single-token-is-space") << u"x_{a}_y"_s << Sep::Space;
}

void NamingPatternTest::parse()
{
    QFETCH(QString, pattern);
    QFETCH(NamingPatternSeparator, separator);

    const ParsedPattern parsed = parsePattern(pattern);
    QCOMPARE(parsed.tokens, patternTokenMatches(pattern));
    QCOMPARE(parsed.separator, separator);
}

void NamingPatternTest::tokenLookup_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("canonical");
    QTest::addColumn<QString>("field");

    auto row = [](const char *tag, const char16_t *input, const char16_t *canonical, const char16_t *field) {
        QTest::newRow(tag) << QString::fromUtf16(input) << QString::fromUtf16(canonical) << QString::fromUtf16(field);
    };
    row("title-spaced", u"{Title Name}", u"{title}", u"{title}");
    row("half-braced", u"{title", u"{title}", u"{title}");
    row("bare-and-padded", u"  created_date\n", u"{created_date}", u"{created_date}");
    row("alias", u"{vendor name}", u"{vendor}", u"{vendor}");
    row("detected-date-variant", u"{Invoice Date Long}", u"{invoice_date_long}", u"{invoice_date}");
    row("time-variant", u"{capture_time_12h}", u"{capture_time_12h}", u"{capture_time}");
    row("month-number", u"{month_number}", u"{month}", u"{month_name}");
    row("time-suffix-on-date-field", u"{created_date_short}", u"{created_date_short}", u"");
    row("date-suffix-on-other-field", u"{vendor_iso}", u"{vendor_iso}", u"");
}

void NamingPatternTest::tokenLookup()
{
    QFETCH(QString, input);
    QFETCH(QString, canonical);
    QFETCH(QString, field);

    QCOMPARE(canonicalToken(input), canonical);
    const NamingPatternField *found = fieldForToken(input);
    QCOMPARE(found ? found->token : QString(), field);
}

void NamingPatternTest::fieldsOfPatternKeepsOrderAndRepeats()
{
    QStringList tokens;
    for (const NamingPatternField *field : fieldsOfPattern(u"{date_iso}-{Vendor Name}_{mystery}_{}{date}_{title"_s))
        tokens.append(field->token);
    QCOMPARE(tokens, QStringList({ u"{date}"_s, u"{vendor}"_s, u"{date}"_s }));
}

void NamingPatternTest::localResolution()
{
    QCOMPARE(requestedDetectedFields(u"{location}"_s), QStringList { u"location"_s });
    QCOMPARE(requestedDetectedFields(u"{vendor}_{invoice_date}_{merchant}_{invoice_date_long}"_s),
             QStringList({ u"vendor"_s, u"invoice_date"_s }));
    QString pattern;
    qsizetype count = 0;
    for (const NamingPatternField *field : fieldCatalogue().allFields()) {
        pattern += field->token;
        if (isLocallyResolvable(*field))
            ++count;
    }
    // 29 file fields, the 5 core fields other than the title, and the 34 read locally.
    QCOMPARE(count, 29 + 5 + 34);
    // 110 detected fields, 34 of them read locally, location requested anyway.
    QCOMPARE(requestedDetectedFields(pattern).size(), 110 - 34 + 1);
}

QTEST_GUILESS_MAIN(NamingPatternTest)

#include "namingpatterntest.moc"
