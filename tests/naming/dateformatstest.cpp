// Reading dates people and file formats write, and writing them back with the
// settings' pattern.

#include <QTest>
#include <ctime>

#include "naming/dateformats.h"

using namespace Nomly;
using namespace Qt::StringLiterals;

namespace {

// The moment as an ISO 8601 UTC text, or empty when nothing was read.
QString isoText(const std::optional<QDateTime> &moment)
{
    return moment ? moment->toUTC().toString(Qt::ISODateWithMs) : QString();
}

} // namespace

class DateFormatsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void parseGeneral_data();
    void parseGeneral();
    void parseWide_data();
    void parseWide();
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

void DateFormatsTest::parseGeneral_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");

    QTest::newRow("iso-date") << u"2026-05-10"_s << u"2026-05-10T00:00:00.000Z"_s;
    QTest::newRow("year-first-slashes-short") << u"2026/5/9"_s << u"2026-05-09T00:00:00.000Z"_s;
    QTest::newRow("day-before-month") << u"03/04/2026"_s << u"2026-04-03T00:00:00.000Z"_s;
    QTest::newRow("day-first-short-fields") << u"3/4/2026"_s << u"2026-04-03T00:00:00.000Z"_s;
    QTest::newRow("month-first-when-day-first-fails") << u"04/13/2026"_s << u"2026-04-13T00:00:00.000Z"_s;
    QTest::newRow("day-first-hyphens") << u"10-05-2026"_s << u"2026-05-10T00:00:00.000Z"_s;
    QTest::newRow("day-first-dots") << u"10.05.2026"_s << u"2026-05-10T00:00:00.000Z"_s;
    QTest::newRow("two-digit-year") << u"03/04/26"_s << u"2026-04-03T00:00:00.000Z"_s;
    QTest::newRow("two-digit-year-last-century") << u"1/2/99"_s << u"1999-02-01T00:00:00.000Z"_s;
    QTest::newRow("short-month-name-first") << u"May 10 2026"_s << u"2026-05-10T00:00:00.000Z"_s;
    QTest::newRow("comma-removed") << u"Sep 3, 2026"_s << u"2026-09-03T00:00:00.000Z"_s;
    QTest::newRow("full-month-name-first") << u"September 3 2026"_s << u"2026-09-03T00:00:00.000Z"_s;
    QTest::newRow("day-before-month-name") << u"3 Sep 2026"_s << u"2026-09-03T00:00:00.000Z"_s;
    QTest::newRow("whitespace-runs-joined") << u"  10   May,  2026 "_s << u"2026-05-10T00:00:00.000Z"_s;
    QTest::newRow("impossible-day-refused") << u"2026-02-30"_s << QString();
    QTest::newRow("month-thirteen-refused") << u"13/13/2026"_s << QString();
    QTest::newRow("garbage-refused") << u"next tuesday"_s << QString();
    QTest::newRow("foreign-month-refused") << u"10 mai 2026"_s << QString();
    QTest::newRow("ordinal-refused") << u"3rd May 2026"_s << QString();
    QTest::newRow("trailing-text-refused") << u"2026-05-10 draft"_s << QString();
    QTest::newRow("time-part-refused") << u"2026-05-10T14:30:00Z"_s << QString();
    QTest::newRow("empty-refused") << QString() << QString();
}

void DateFormatsTest::parseGeneral()
{
    QFETCH(QString, text);
    QFETCH(QString, expected);

    QCOMPARE(isoText(DateFormats::parseGeneral(text)), expected);
}

void DateFormatsTest::parseWide_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");

    QTest::newRow("iso-utc") << u"2026-05-10T14:30:00Z"_s << u"2026-05-10T14:30:00.000Z"_s;
    QTest::newRow("iso-fraction") << u"2026-05-10T14:30:00.250Z"_s << u"2026-05-10T14:30:00.250Z"_s;
    QTest::newRow("iso-offset") << u"2026-05-10T14:30:00+02:00"_s << u"2026-05-10T12:30:00.000Z"_s;
    QTest::newRow("iso-fraction-offset") << u"2026-05-10T14:30:00.125-05:00"_s << u"2026-05-10T19:30:00.125Z"_s;
    QTest::newRow("spaced-offset") << u"2026-05-10 14:30:00 +0000"_s << u"2026-05-10T14:30:00.000Z"_s;
    QTest::newRow("exif-stamp-read-as-utc") << u"2026:05:10 14:30:00"_s << u"2026-05-10T14:30:00.000Z"_s;
    QTest::newRow("exif-stamp-with-offset") << u"2026:05:10 14:30:00+0100"_s << u"2026-05-10T13:30:00.000Z"_s;
    QTest::newRow("surrounding-space-trimmed") << u"  2026-05-10T14:30:00Z \n"_s << u"2026-05-10T14:30:00.000Z"_s;
    QTest::newRow("general-formats-last") << u"03/04/2026"_s << u"2026-04-03T00:00:00.000Z"_s;
    QTest::newRow("iso-without-zone-refused") << u"2026-05-10T14:30:00"_s << QString();
    QTest::newRow("impossible-time-refused") << u"2026-05-10T25:30:00Z"_s << QString();
    QTest::newRow("garbage-refused") << u"yesterday"_s << QString();
}

void DateFormatsTest::parseWide()
{
    QFETCH(QString, text);
    QFETCH(QString, expected);

    QCOMPARE(isoText(DateFormats::parseWide(text)), expected);
}

void DateFormatsTest::format_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("expected");

    QTest::newRow("iso") << u"3 Sep 2026"_s << u"yyyy-MM-dd"_s << u"2026-09-03"_s;
    QTest::newRow("dot") << u"3 Sep 2026"_s << u"dd.MM.yyyy"_s << u"03.09.2026"_s;
    QTest::newRow("long") << u"3 Sep 2026"_s << u"MMMM d yyyy"_s << u"September 3 2026"_s;
    QTest::newRow("compact") << u"3 Sep 2026"_s << u"yyyyMMdd"_s << u"20260903"_s;
    QTest::newRow("parsed-date-stays-at-utc-midnight")
        << u"3 Sep 2026"_s << u"yyyy-MM-dd HH:mm"_s << u"2026-09-03 00:00"_s;
    QTest::newRow("offset-stamp-shown-in-utc")
        << u"2026-09-03T23:30:00-05:00"_s << u"yyyy-MM-dd HH.mm"_s << u"2026-09-04 04.30"_s;
    QTest::newRow("english-names-whatever-the-locale") << u"3 Sep 2026"_s << u"EEEE MMM"_s << u"Thursday Sep"_s;
    QTest::newRow("twelve-hour-clock") << u"2026-09-03T14:05:00Z"_s << u"h.mm a"_s << u"2.05 PM"_s;
    QTest::newRow("empty-pattern-is-iso") << u"3 Sep 2026"_s << QString() << u"2026-09-03"_s;
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
    QTest::newRow("dot") << u"dot"_s << u"dd.MM.yyyy"_s;
    QTest::newRow("long") << u"long"_s << u"MMMM d yyyy"_s;
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
