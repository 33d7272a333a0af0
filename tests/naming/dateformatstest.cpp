#include <QTest>
#include <ctime>

#include "naming/dateformats.h"

using namespace Nomly;
using namespace Qt::StringLiterals;

class DateFormatsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void parse_data();
    void parse();
    void format_data();
    void format();
    void patternForName_data();
    void patternForName();
};

void DateFormatsTest::initTestCase()
{
    // Far from UTC, so that a parsed date formatted in local time would show.
    qputenv("TZ", "Pacific/Auckland");
    tzset();
}

void DateFormatsTest::parse_data()
{
    QTest::addColumn<bool>("wide");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");

    const QString may10 = u"2026-05-10T00:00:00.000Z"_s;
    QTest::newRow("iso-date") << false << u"2026-05-10"_s << may10;
    QTest::newRow("day-before-month") << false << u"03/04/2026"_s << u"2026-04-03T00:00:00.000Z"_s;
    QTest::newRow("month-first-when-day-first-fails") << false << u"04/13/2026"_s << u"2026-04-13T00:00:00.000Z"_s;
    QTest::newRow("two-digit-year-last-century") << false << u"1/2/99"_s << u"1999-02-01T00:00:00.000Z"_s;
    QTest::newRow("whitespace-runs-joined") << false << u"  10   May,  2026 "_s << may10;
    QTest::newRow("impossible-day-refused") << false << u"2026-02-30"_s << QString();
    QTest::newRow("trailing-text-refused") << false << u"2026-05-10 draft"_s << QString();
    QTest::newRow("time-part-refused") << false << u"2026-05-10T14:30:00Z"_s << QString();
    QTest::newRow("wide-iso-offset") << true << u"2026-05-10T14:30:00+02:00"_s << u"2026-05-10T12:30:00.000Z"_s;
    QTest::newRow("wide-iso-fraction-offset")
        << true << u"2026-05-10T14:30:00.125-05:00"_s << u"2026-05-10T19:30:00.125Z"_s;
    QTest::newRow("wide-exif-stamp-read-as-utc") << true << u"2026:05:10 14:30:00"_s << u"2026-05-10T14:30:00.000Z"_s;
    QTest::newRow("wide-exif-stamp-with-offset")
        << true << u"2026:05:10 14:30:00+0100"_s << u"2026-05-10T13:30:00.000Z"_s;
    QTest::newRow("wide-space-trimmed") << true << u"  2026-05-10T14:30:00Z \n"_s << u"2026-05-10T14:30:00.000Z"_s;
    QTest::newRow("wide-general-formats-last") << true << u"03/04/2026"_s << u"2026-04-03T00:00:00.000Z"_s;
    QTest::newRow("wide-iso-without-zone-refused") << true << u"2026-05-10T14:30:00"_s << QString();
}

void DateFormatsTest::parse()
{
    QFETCH(bool, wide);
    QFETCH(QString, text);
    QFETCH(QString, expected);

    const auto moment = wide ? DateFormats::parseWide(text) : DateFormats::parseGeneral(text);
    QCOMPARE(moment ? moment->toUTC().toString(Qt::ISODateWithMs) : QString(), expected);
}

void DateFormatsTest::format_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("expected");

    QTest::newRow("iso") << u"3 Sep 2026"_s << u"yyyy-MM-dd"_s << u"2026-09-03"_s;
    QTest::newRow("parsed-date-stays-at-utc-midnight")
        << u"3 Sep 2026"_s << u"yyyy-MM-dd HH:mm"_s << u"2026-09-03 00:00"_s;
    QTest::newRow("offset-stamp-shown-in-utc")
        << u"2026-09-03T23:30:00-05:00"_s << u"yyyy-MM-dd HH.mm"_s << u"2026-09-04 04.30"_s;
    QTest::newRow("english-names-whatever-the-locale") << u"3 Sep 2026"_s << u"EEEE MMM"_s << u"Thursday Sep"_s;
    QTest::newRow("refused-pattern-is-iso") << u"3 Sep 2026"_s << u"J"_s << u"2026-09-03"_s;
}

void DateFormatsTest::format()
{
    QFETCH(QString, text);
    QFETCH(QString, pattern);
    QFETCH(QString, expected);

    const auto moment = DateFormats::parseWide(text);
    QVERIFY(moment);
    QCOMPARE(DateFormats::format(*moment, pattern), expected);
}

void DateFormatsTest::patternForName_data()
{
    QTest::addColumn<QString>("dateFormat");
    QTest::addColumn<QString>("expected");

    QTest::newRow("iso") << u"iso"_s << u"yyyy-MM-dd"_s;
    QTest::newRow("compact") << u"compact"_s << u"yyyyMMdd"_s;
    QTest::newRow("custom-pattern-stands") << u"dd-MM-yy"_s << u"dd-MM-yy"_s;
}

void DateFormatsTest::patternForName()
{
    QFETCH(QString, dateFormat);
    QFETCH(QString, expected);

    QCOMPARE(DateFormats::patternForName(dateFormat), expected);
}

QTEST_GUILESS_MAIN(DateFormatsTest)

#include "dateformatstest.moc"
