// Rendering names from patterns, and picking a free destination in a real
// folder.

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <cmath>
#include <ctime>
#include <optional>

#include "naming/fieldcatalogue.h"
#include "naming/filerenamer.h"
#include "naming/valuevariants.h"

using namespace Nomly;
using namespace Qt::StringLiterals;

namespace {

// Thursday 3 September 2026, 14:30:05; the test runs with local time as UTC.
QDateTime renderMoment()
{
    return QDateTime(QDate(2026, 9, 3), QTime(14, 30, 5));
}

PatternRenderInput inputFor(const QString &pattern)
{
    PatternRenderInput input;
    input.pattern = pattern;
    input.title = u"NASA launch plan"_s;
    input.originalName = u"scan_0042 Tax-return"_s;
    input.now = renderMoment();
    return input;
}

} // namespace

class FileRenamerTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void titleForms_data();
    void titleForms();
    void styledTitle_data();
    void styledTitle();
    void originalForms_data();
    void originalForms();
    void clockForms_data();
    void clockForms();
    void textForms_data();
    void textForms();
    void fileFacts_data();
    void fileFacts();
    void mediaForms_data();
    void mediaForms();
    void detectedValues_data();
    void detectedValues();
    void emptyValues_data();
    void emptyValues();
    void fallbacks_data();
    void fallbacks();
    void destination_data();
    void destination();
    void destinationAfterAThousandTaken();
};

void FileRenamerTest::initTestCase()
{
    qputenv("TZ", "UTC");
    tzset();
}

void FileRenamerTest::titleForms_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("expected");

    QTest::newRow("title") << u"{Title}"_s << u"NASA Launch Plan"_s;
    QTest::newRow("title-name") << u"{Title Name}"_s << u"NASA Launch Plan"_s;
    QTest::newRow("title-sentence") << u"{Title name}"_s << u"Nasa launch plan"_s;
    QTest::newRow("title-lower-first") << u"{title Name}"_s << u"nasa Launch Plan"_s;
    QTest::newRow("title-styled") << u"{title}"_s << u"NASA Launch Plan"_s;
    QTest::newRow("title-lower") << u"{title name}"_s << u"nasa launch plan"_s;
    QTest::newRow("title-upper") << u"{TITLE}"_s << u"NASA LAUNCH PLAN"_s;
    QTest::newRow("title-upper-name") << u"{TITLE NAME}"_s << u"NASA LAUNCH PLAN"_s;
    QTest::newRow("underscored") << u"{Title_Name}"_s << u"NASA_Launch_Plan"_s;
    QTest::newRow("underscored-sentence") << u"{Title_name}"_s << u"Nasa_launch_plan"_s;
    QTest::newRow("underscored-lower") << u"{title_name}"_s << u"nasa_launch_plan"_s;
    QTest::newRow("underscored-upper") << u"{TITLE_NAME}"_s << u"NASA_LAUNCH_PLAN"_s;
    QTest::newRow("joined") << u"{TitleName}"_s << u"NASALaunchPlan"_s;
    QTest::newRow("joined-first-lower") << u"{titleName}"_s << u"nASALaunchPlan"_s;
    QTest::newRow("joined-lower") << u"{titlename}"_s << u"nasalaunchplan"_s;
    QTest::newRow("joined-upper") << u"{TITLENAME}"_s << u"NASALAUNCHPLAN"_s;
}

void FileRenamerTest::titleForms()
{
    QFETCH(QString, pattern);
    QFETCH(QString, expected);

    QCOMPARE(FileRenamer::applyPattern(inputFor(pattern)), expected);
}

void FileRenamerTest::styledTitle_data()
{
    QTest::addColumn<QString>("title");
    QTest::addColumn<NamingCaseStyle>("caseStyle");
    QTest::addColumn<NamingPatternSeparator>("wordSeparator");
    QTest::addColumn<QString>("expected");

    const QString nasa = u"NASA launch plan"_s;
    QTest::newRow("dash-kept-in-title-with-spaces")
        << u"Budget - Q3"_s << NamingCaseStyle::Title << NamingPatternSeparator::Space << u"Budget - Q3"_s;
    QTest::newRow("dash-kept-and-normalised")
        << u"budget - q3"_s << NamingCaseStyle::Title << NamingPatternSeparator::Space << u"Budget - Q3"_s;
    QTest::newRow("dash-dropped-in-snake")
        << u"Budget - Q3"_s << NamingCaseStyle::Snake << NamingPatternSeparator::Underscore << u"budget_q3"_s;
    QTest::newRow("dash-dropped-with-underscores")
        << u"Budget - Q3"_s << NamingCaseStyle::Title << NamingPatternSeparator::Underscore << u"Budget_Q3"_s;
    QTest::newRow("punctuation-gone") << u"Tom's notes: draft"_s << NamingCaseStyle::Title
                                      << NamingPatternSeparator::Space << u"Toms Notes Draft"_s;
    QTest::newRow("kebab-with-underscore")
        << nasa << NamingCaseStyle::Kebab << NamingPatternSeparator::Underscore << u"nasa_launch_plan"_s;
    QTest::newRow("camel-ignores-separator")
        << nasa << NamingCaseStyle::Camel << NamingPatternSeparator::Hyphen << u"nasaLaunchPlan"_s;
}

void FileRenamerTest::styledTitle()
{
    QFETCH(QString, title);
    QFETCH(NamingCaseStyle, caseStyle);
    QFETCH(NamingPatternSeparator, wordSeparator);
    QFETCH(QString, expected);

    PatternRenderInput input = inputFor(u"{title}"_s);
    input.title = title;
    input.caseStyle = caseStyle;
    input.wordSeparator = wordSeparator;
    QCOMPARE(FileRenamer::applyPattern(input), expected);
}

void FileRenamerTest::originalForms_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("originalName");
    QTest::addColumn<QString>("expected");

    const QString scan = u"scan_0042 Tax-return"_s;
    QTest::newRow("original-as-it-stands") << u"{original}"_s << scan << u"scan_0042 Tax-return"_s;
    QTest::newRow("title-space") << u"{Original Name}"_s << scan << u"Scan 0042 Tax Return"_s;
    QTest::newRow("title-underscore") << u"{Original_Name}"_s << scan << u"Scan_0042_Tax_Return"_s;
    QTest::newRow("title-acronym-survives") << u"{Original Name}"_s << u"IBM invoice"_s << u"IBM Invoice"_s;
    QTest::newRow("sentence-space") << u"{Original name}"_s << scan << u"Scan 0042 tax return"_s;
    QTest::newRow("sentence-underscore") << u"{Original_name}"_s << scan << u"Scan_0042_tax_return"_s;
    QTest::newRow("sentence-none") << u"{Originalname}"_s << scan << u"Scan0042taxreturn"_s;
    QTest::newRow("lower-underscore") << u"{original_name}"_s << scan << u"scan_0042_tax_return"_s;
    QTest::newRow("lower-hyphen") << u"{original-name}"_s << scan << u"scan-0042-tax-return"_s;
    QTest::newRow("lower-none") << u"{originalname}"_s << scan << u"scan0042taxreturn"_s;
    QTest::newRow("upper-underscore") << u"{ORIGINAL_NAME}"_s << scan << u"SCAN_0042_TAX_RETURN"_s;
    QTest::newRow("upper-none") << u"{ORIGINALNAME}"_s << scan << u"SCAN0042TAXRETURN"_s;
    QTest::newRow("camel") << u"{originalName}"_s << scan << u"scan0042TaxReturn"_s;
    QTest::newRow("pascal") << u"{OriginalName}"_s << scan << u"Scan0042TaxReturn"_s;
    QTest::newRow("original-loses-forbidden-characters") << u"{original}"_s << u"a:b?c"_s << u"abc"_s;
}

void FileRenamerTest::originalForms()
{
    QFETCH(QString, pattern);
    QFETCH(QString, originalName);
    QFETCH(QString, expected);

    PatternRenderInput input = inputFor(pattern);
    input.originalName = originalName;
    QCOMPARE(FileRenamer::applyPattern(input), expected);
}

void FileRenamerTest::clockForms_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("dateFormat");
    QTest::addColumn<QString>("expected");

    const QString iso = u"yyyy-MM-dd"_s;
    QTest::newRow("date-with-pattern") << u"{date}"_s << iso << u"2026-09-03"_s;
    QTest::newRow("date-named-dot") << u"{date}"_s << u"dot"_s << u"03.09.2026"_s;
    QTest::newRow("date-named-long") << u"{date}"_s << u"long"_s << u"September 3 2026"_s;
    QTest::newRow("date-named-compact") << u"{date}"_s << u"compact"_s << u"20260903"_s;
    QTest::newRow("date-custom-pattern") << u"{date}"_s << u"dd-MM-yy"_s << u"03-09-26"_s;
    QTest::newRow("date-slashes-removed") << u"{date}"_s << u"dd/MM/yyyy"_s << u"03092026"_s;
    QTest::newRow("date-iso-ignores-setting") << u"{date_iso}"_s << u"dot"_s << u"2026-09-03"_s;
    QTest::newRow("date-long") << u"{date_long}"_s << iso << u"September 3 2026"_s;
    QTest::newRow("time") << u"{time}"_s << iso << u"14.30.05"_s;
    QTest::newRow("time-short") << u"{time_short}"_s << iso << u"14.30"_s;
    QTest::newRow("time-compact") << u"{time_compact}"_s << iso << u"143005"_s;
    QTest::newRow("time-hyphen") << u"{time_hyphen}"_s << iso << u"14-30-05"_s;
    QTest::newRow("time-12h") << u"{time_12h}"_s << iso << u"2.30 PM"_s;
    QTest::newRow("year-forms") << u"{year} {Year} {YEAR}"_s << iso << u"2026 2026 2026"_s;
    QTest::newRow("year-short") << u"{year_short}"_s << iso << u"26"_s;
    QTest::newRow("month-number") << u"{month} {month_number}"_s << iso << u"09 09"_s;
    QTest::newRow("month-short") << u"{month_short}"_s << iso << u"Sep"_s;
    QTest::newRow("month-name") << u"{month_name} {Month}"_s << iso << u"September September"_s;
    QTest::newRow("month-upper") << u"{MONTH}"_s << iso << u"SEPTEMBER"_s;
    QTest::newRow("date-then-title-one-space") << u"{date} {title}"_s << iso << u"2026-09-03 NASA Launch Plan"_s;
}

void FileRenamerTest::clockForms()
{
    QFETCH(QString, pattern);
    QFETCH(QString, dateFormat);
    QFETCH(QString, expected);

    PatternRenderInput input = inputFor(pattern);
    input.dateFormat = dateFormat;
    QCOMPARE(FileRenamer::applyPattern(input), expected);
}

void FileRenamerTest::textForms_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("vendor");
    QTest::addColumn<QString>("expected");

    const QString acme = u"acme corp"_s;
    QTest::newRow("type-normalised") << u"{Type}"_s << acme << u"Bank Statement"_s;
    QTest::newRow("type-generic") << u"{type}"_s << acme << u"Bank Statement"_s;
    QTest::newRow("type-base-capitalised") << u"{Type_Name}"_s << acme << u"Bank_Statement"_s;
    QTest::newRow("type-base-upper") << u"{TYPE_NAME}"_s << acme << u"BANK_STATEMENT"_s;
    QTest::newRow("vendor-normalised") << u"{Vendor}"_s << acme << u"Acme Corp"_s;
    QTest::newRow("vendor-generic") << u"{vendor}"_s << acme << u"Acme Corp"_s;
    QTest::newRow("vendor-upper") << u"{VENDOR}"_s << acme << u"ACME CORP"_s;
    QTest::newRow("vendor-base-capitalised") << u"{Vendor_Name}"_s << acme << u"Acme_Corp"_s;
    QTest::newRow("vendor-base-lower") << u"{vendor_name}"_s << acme << u"acme_corp"_s;
    QTest::newRow("vendor-joined") << u"{VendorName} {vendorName}"_s << acme << u"AcmeCorp acmeCorp"_s;
    QTest::newRow("vendor-acronym-kept") << u"{Vendor}"_s << u"IBM research"_s << u"IBM Research"_s;
    QTest::newRow("vendor-base-words-capitalised") << u"{Vendor_Name}"_s << u"IBM research"_s << u"Ibm_Research"_s;
    QTest::newRow("vendor-all-capitals-normalised") << u"{Vendor}"_s << u"IBM"_s << u"Ibm"_s;
    QTest::newRow("vendor-punctuation-dropped") << u"{Vendor}"_s << u"O'Reilly & Sons, Inc."_s << u"Oreilly Sons Inc"_s;
    QTest::newRow("vendor-generic-splits-at-punctuation")
        << u"{vendor}"_s << u"O'Reilly & Sons, Inc."_s << u"O Reilly Sons Inc"_s;
    QTest::newRow("kind-forms") << u"{Kind} {kind} {KIND}"_s << acme << u"Document document DOCUMENT"_s;
    QTest::newRow("extension-forms") << u"{extension} {Extension} {EXTENSION} {extension_upper}"_s << acme
                                     << u"pdf Pdf PDF PDF"_s;
    QTest::newRow("extension-original") << u"{extension_original}"_s << acme << u"PdF"_s;
}

void FileRenamerTest::textForms()
{
    QFETCH(QString, pattern);
    QFETCH(QString, vendor);
    QFETCH(QString, expected);

    PatternRenderInput input = inputFor(pattern);
    input.type = u"bank statement"_s;
    input.vendor = vendor;
    input.kind = u"document"_s;
    input.metadata.fileExtension = u"pdf"_s;
    input.metadata.fileExtensionOriginal = u"PdF"_s;
    QCOMPARE(FileRenamer::applyPattern(input), expected);
}

void FileRenamerTest::fileFacts_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("expected");

    QTest::newRow("created-date-in-date-format") << u"{created_date}"_s << u"15.01.2026"_s;
    QTest::newRow("created-date-iso") << u"{created_date_iso}"_s << u"2026-01-15"_s;
    QTest::newRow("created-date-long") << u"{created_date_long}"_s << u"January 15 2026"_s;
    QTest::newRow("created-date-compact") << u"{created_date_compact}"_s << u"20260115"_s;
    QTest::newRow("unreadable-date-kept") << u"{modified_date} {modified_date_iso}"_s << u"last week last week"_s;
    QTest::newRow("parent-folder-in-style") << u"{parent_folder}"_s << u"Tax Docs 2026"_s;
    QTest::newRow("capture-time-forms")
        << u"{capture_time} {capture_time_short} {capture_time_compact} {capture_time_hyphen} {capture_time_12h}"_s
        << u"09.05.07 09.05 090507 09-05-07 9.05 AM"_s;
    QTest::newRow("camera-model-acronym-kept") << u"{camera_model}"_s << u"Canon EOS R5"_s;
    QTest::newRow("width-height") << u"{width}x{HEIGHT}"_s << u"1920x1080"_s;
    QTest::newRow("pages") << u"{pages} {Pages} {PAGES}"_s << u"12 12 12"_s;
    QTest::newRow("amount-sanitised") << u"{amount}"_s << u"42.99"_s;
    QTest::newRow("currency-forms") << u"{Currency} {CURRENCY}"_s << u"Usd USD"_s;
}

void FileRenamerTest::fileFacts()
{
    QFETCH(QString, pattern);
    QFETCH(QString, expected);

    PatternRenderInput input = inputFor(pattern);
    input.dateFormat = u"dot"_s;
    input.amount = u"$42.99"_s;
    input.currency = u"usd"_s;
    PatternFileMetadata &metadata = input.metadata;
    metadata.createdDate = u"2026-01-15"_s;
    metadata.modifiedDate = u"last week"_s;
    metadata.parentFolder = u"tax_docs 2026"_s;
    metadata.captureTime = u"09.05.07"_s;
    metadata.cameraModel = u"canon EOS r5"_s;
    metadata.width = u"1920"_s;
    metadata.height = u"1080"_s;
    metadata.pages = u"12"_s;
    QCOMPARE(FileRenamer::applyPattern(input), expected);
}

void FileRenamerTest::mediaForms_data()
{
    // Each row's pattern reads one of size, duration, resolution and frame
    // rate. `number` is the byte count or the seconds; `text` is the value's
    // text, and for a size the text stands only when there is no count, as
    // the file readers fill it.
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("text");
    QTest::addColumn<std::optional<double>>("number");
    QTest::addColumn<QString>("expected");

    using Number = std::optional<double>;
    constexpr double KiB = 1024;
    const QString none;
    QTest::newRow("size-bytes-whole") << u"{size}"_s << none << Number(1023) << u"1023B"_s;
    QTest::newRow("size-one-kilobyte-one-decimal") << u"{Size}"_s << none << Number(KiB) << u"1.0KB"_s;
    QTest::newRow("size-under-ten-rounds-with-decimal") << u"{size}"_s << none << Number(10239) << u"10.0KB"_s;
    QTest::newRow("size-ten-and-over-whole") << u"{size}"_s << none << Number(10 * KiB) << u"10KB"_s;
    QTest::newRow("size-half-rounds-up") << u"{size}"_s << none << Number(10752) << u"11KB"_s;
    QTest::newRow("size-just-under-a-megabyte") << u"{size}"_s << none << Number(KiB * KiB - 1) << u"1024KB"_s;
    QTest::newRow("size-megabytes") << u"{SIZE}"_s << none << Number(1468006) << u"1.4MB"_s;
    QTest::newRow("size-terabytes") << u"{size}"_s << none << Number(5 * KiB * KiB * KiB * KiB) << u"5.0TB"_s;
    QTest::newRow("size-terabytes-last-unit")
        << u"{size}"_s << none << Number(2048 * KiB * KiB * KiB * KiB) << u"2048TB"_s;
    QTest::newRow("size-bytes") << u"{size_bytes}"_s << none << Number(430080) << u"430080B"_s;
    QTest::newRow("size-kilobytes-one-digit") << u"{size_kb}"_s << none << Number(1468006) << u"1433.6KB"_s;
    QTest::newRow("size-kilobytes-no-trailing-zero") << u"{size_kb}"_s << none << Number(2048) << u"2KB"_s;
    QTest::newRow("size-megabytes-two-digits") << u"{size_mb}"_s << none << Number(1234567) << u"1.18MB"_s;
    QTest::newRow("size-megabytes-whole") << u"{size_mb}"_s << none << Number(5242880) << u"5MB"_s;
    QTest::newRow("size-missing-count-uses-text") << u"{size_kb}"_s << u"12 KB"_s << Number() << u"12 KB"_s;
    QTest::newRow("duration") << u"{duration}"_s << none << Number(84) << u"1m24s"_s;
    QTest::newRow("duration-hours") << u"{Duration}"_s << none << Number(3725) << u"1h02m05s"_s;
    QTest::newRow("duration-seconds-only") << u"{duration}"_s << none << Number(45) << u"45s"_s;
    QTest::newRow("duration-rounding-reaches-a-minute") << u"{duration}"_s << none << Number(59.6) << u"1m00s"_s;
    QTest::newRow("duration-clock") << u"{duration_clock}"_s << none << Number(84) << u"00.01.24"_s;
    QTest::newRow("duration-clock-past-a-day") << u"{duration_clock}"_s << none << Number(90061) << u"25.01.01"_s;
    QTest::newRow("duration-minutes") << u"{duration_minutes}"_s << none << Number(84) << u"1.4m"_s;
    QTest::newRow("duration-minutes-unrounded") << u"{duration_minutes}"_s << none << Number(3725) << u"62.1m"_s;
    QTest::newRow("duration-half-rounds-up") << u"{duration_seconds}"_s << none << Number(84.5) << u"85s"_s;
    QTest::newRow("duration-missing-uses-text") << u"{duration_clock}"_s << u"1m24s"_s << Number() << u"1m24s"_s;
    QTest::newRow("duration-infinite-uses-text") << u"{duration}"_s << u"1:24"_s << Number(qInf()) << u"124"_s;
    QTest::newRow("resolution") << u"{resolution}"_s << u"1920x1080"_s << Number() << u"1920x1080"_s;
    QTest::newRow("resolution-hyphen") << u"{resolution_hyphen}"_s << u"1920x1080"_s << Number() << u"1920-1080"_s;
    QTest::newRow("resolution-height") << u"{resolution_height}"_s << u"1920x1080"_s << Number() << u"1080p"_s;
    QTest::newRow("resolution-unreadable-sanitised")
        << u"{resolution_hyphen}"_s << u"1920×1080"_s << Number() << u"19201080"_s;
    QTest::newRow("frame-rate") << u"{frame_rate}"_s << u"29.97"_s << Number() << u"29.97fps"_s;
    QTest::newRow("frame-rate-two-digits") << u"{frame_rate}"_s << u"23.976"_s << Number() << u"23.98fps"_s;
    QTest::newRow("frame-rate-rounded") << u"{frame_rate_rounded}"_s << u"29.97"_s << Number() << u"30fps"_s;
    QTest::newRow("frame-rate-number") << u"{frame_rate_number}"_s << u"29.97 fps"_s << Number() << u"29.97"_s;
    QTest::newRow("frame-rate-no-number-kept") << u"{frame_rate}"_s << u"variable"_s << Number() << u"variable"_s;
    QTest::newRow("frame-rate-two-dots") << u"{frame_rate_number}"_s << u"1.2.3"_s << Number() << u"1.2.3"_s;
    QTest::newRow("zero-and-missing-vanish")
        << u"s{size}{size_mb}d{duration}r{resolution}f{frame_rate}"_s << none << Number(0) << u"sdrf"_s;
}

void FileRenamerTest::mediaForms()
{
    QFETCH(QString, pattern);
    QFETCH(QString, text);
    QFETCH(std::optional<double>, number);
    QFETCH(QString, expected);

    PatternRenderInput input = inputFor(pattern);
    PatternFileMetadata &metadata = input.metadata;
    metadata.duration = metadata.resolution = metadata.frameRate = text;
    metadata.durationSeconds = number;
    if (number && std::isfinite(*number))
        metadata.sizeBytes = static_cast<qint64>(*number);
    metadata.size = metadata.sizeBytes ? automaticSizeText(metadata.sizeBytes) : text;
    QCOMPARE(FileRenamer::applyPattern(input), expected);
}

void FileRenamerTest::detectedValues_data()
{
    // The analysis reports `value` for every detected field.
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("value");
    QTest::addColumn<NamingCaseStyle>("caseStyle");
    QTest::addColumn<NamingPatternSeparator>("wordSeparator");
    QTest::addColumn<QString>("expected");

    const auto title = NamingCaseStyle::Title;
    const auto space = NamingPatternSeparator::Space;
    QTest::newRow("date-in-date-format") << u"{invoice_date}"_s << u"April 3, 2026"_s << title << space
                                         << u"03.04.2026"_s;
    QTest::newRow("date-iso") << u"{invoice_date_iso}"_s << u"3/4/2026"_s << title << space << u"2026-04-03"_s;
    QTest::newRow("date-long") << u"{invoice_date_long}"_s << u"2026-04-03"_s << title << space << u"April 3 2026"_s;
    QTest::newRow("other-date-field") << u"{check_in_date_compact}"_s << u"10 May 2026"_s << title << space
                                      << u"20260510"_s;
    QTest::newRow("unreadable-date-not-case-rendered")
        << u"{due_date}"_s << u"end of month"_s << title << space << u"end of month"_s;
    QTest::newRow("unreadable-date-variant-sanitised")
        << u"{due_date_dot}"_s << u"soon!"_s << title << space << u"soon"_s;
    QTest::newRow("number-kept-literally")
        << u"{invoice_number}"_s << u"inv-0042/b"_s << title << space << u"inv-0042b"_s;
    QTest::newRow("amount-loses-currency-sign") << u"{total_amount}"_s << u"$42.99"_s << title << space << u"42.99"_s;
    QTest::newRow("amount-falls-back-on-analysis") << u"{total_amount}"_s << QString() << title << space << u"120.00"_s;
    QTest::newRow("identifier-kept-literally") << u"{patient_id}"_s << u"ab-12 x"_s << title << space << u"ab-12 x"_s;
    QTest::newRow("listed-name-kept-literally")
        << u"{location}"_s << u"new york"_s << NamingCaseStyle::Upper << space << u"new york"_s;
    QTest::newRow("text-in-style") << u"{author}"_s << u"jane doe"_s << NamingCaseStyle::Snake
                                   << NamingPatternSeparator::Underscore << u"jane_doe"_s;
    QTest::newRow("text-joined-with-setting-separator")
        << u"{author}"_s << u"jane doe"_s << NamingCaseStyle::Snake << space << u"jane doe"_s;
    QTest::newRow("text-punctuation-splits-words")
        << u"{meeting_title}"_s << u"q3 planning: budget"_s << NamingCaseStyle::Kebab << NamingPatternSeparator::Hyphen
        << u"q3-planning-budget"_s;
    QTest::newRow("non-literal-number-split-into-words")
        << u"{subtotal}"_s << u"$42.99"_s << title << space << u"42 99"_s;
    QTest::newRow("missing-value-vanishes") << u"x {author}"_s << QString() << title << space << u"x"_s;
}

void FileRenamerTest::detectedValues()
{
    QFETCH(QString, pattern);
    QFETCH(QString, value);
    QFETCH(NamingCaseStyle, caseStyle);
    QFETCH(NamingPatternSeparator, wordSeparator);
    QFETCH(QString, expected);

    PatternRenderInput input = inputFor(pattern);
    input.dateFormat = u"dot"_s;
    input.caseStyle = caseStyle;
    input.wordSeparator = wordSeparator;
    input.amount = u"120.00"_s;
    if (!value.isEmpty()) {
        for (const NamingPatternField *field : fieldCatalogue().allFields())
            input.metadata.detectedFields.insert(normalizedFieldName(field->token), value);
    }
    QCOMPARE(FileRenamer::applyPattern(input), expected);
}

void FileRenamerTest::emptyValues_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("vendor");
    QTest::addColumn<QString>("expected");

    const QString t = u"Title"_s;
    QTest::newRow("leading-separator-trimmed") << u"{vendor}_{title}"_s << t << QString() << u"Title"_s;
    QTest::newRow("inner-underscores-collapse")
        << u"{title}_{vendor}_{date}"_s << t << QString() << u"Title_2026-09-03"_s;
    QTest::newRow("hyphen-pair-not-collapsed")
        << u"{title}-{vendor}-{date}"_s << t << QString() << u"Title--2026-09-03"_s;
    QTest::newRow("double-space-in-pattern-collapses") << u"{title}  x"_s << t << QString() << u"Title x"_s;
    QTest::newRow("trailing-dot-trimmed") << u"{title}.{vendor}"_s << t << QString() << u"Title"_s;
    QTest::newRow("trailing-dash-stays") << u"{title} - {vendor}"_s << t << QString() << u"Title -"_s;
    QTest::newRow("forbidden-separator-removed") << u"{title}/{vendor}"_s << t << u"acme"_s << u"TitleAcme"_s;
    QTest::newRow("unknown-token-loses-braces") << u"{foo}"_s << t << QString() << u"foo"_s;
    QTest::newRow("unclosed-brace-is-text") << u"{title"_s << t << QString() << u"title"_s;
    QTest::newRow("token-inside-braces") << u"{{title}}"_s << t << QString() << u"Title"_s;
    QTest::newRow("title-cannot-inject") << u"{title}"_s << u"{date}"_s << QString() << u"Date"_s;
    QTest::newRow("title-forms-cannot-inject")
        << u"{Title_Name} {titlename}"_s << u"{year}"_s << QString() << u"Year year"_s;
    QTest::newRow("vendor-cannot-inject") << u"{vendor}"_s << t << u"{time}"_s << u"Time"_s;
}

void FileRenamerTest::emptyValues()
{
    QFETCH(QString, pattern);
    QFETCH(QString, title);
    QFETCH(QString, vendor);
    QFETCH(QString, expected);

    PatternRenderInput input = inputFor(pattern);
    input.title = title;
    input.vendor = vendor;
    QCOMPARE(FileRenamer::applyPattern(input), expected);
}

void FileRenamerTest::fallbacks_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("originalName");
    QTest::addColumn<QString>("expected");

    QTest::newRow("empty-render-uses-title") << u"{vendor}"_s << u"budget plan"_s << u"scan"_s << u"Budget Plan"_s;
    QTest::newRow("forbidden-pattern-uses-title") << u"///"_s << u"REPORT FINAL"_s << u"scan"_s << u"Report Final"_s;
    QTest::newRow("forbidden-title-uses-original-name") << u"{title}"_s << u"///"_s << u"my report"_s << u"my report"_s;
    QTest::newRow("emoji-title-uses-original-name")
        << u"{Title}"_s << u"\U0001F389\U0001F389"_s << u"IMG_0042"_s << u"IMG_0042"_s;
    QTest::newRow("nothing-left-is-untitled") << u"{title}"_s << u"???"_s << u"***"_s << u"Untitled"_s;
}

void FileRenamerTest::fallbacks()
{
    QFETCH(QString, pattern);
    QFETCH(QString, title);
    QFETCH(QString, originalName);
    QFETCH(QString, expected);

    PatternRenderInput input = inputFor(pattern);
    input.title = title;
    input.originalName = originalName;
    QCOMPARE(FileRenamer::applyPattern(input), expected);
}

void FileRenamerTest::destination_data()
{
    QTest::addColumn<QStringList>("existing");
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("expected");

    // Entries ending in "/" are folders; "name->target" is a symbolic link.
    const QString title = u"{title}"_s;
    QTest::newRow("free-name") << QStringList { u"scan.pdf"_s } << u"scan.pdf"_s << title << u"tax return"_s
                               << u"tax return.pdf"_s;
    QTest::newRow("own-name-without-suffix") << QStringList { u"tax return.pdf"_s } << u"tax return.pdf"_s << title
                                             << u"tax return"_s << u"tax return.pdf"_s;
    QTest::newRow("next-free-number") << QStringList { u"scan.txt"_s, u"a.txt"_s, u"a_1.txt"_s } << u"scan.txt"_s
                                      << title << u"a"_s << u"a_2.txt"_s;
    QTest::newRow("own-numbered-name-kept")
        << QStringList { u"a.txt"_s, u"a_1.txt"_s } << u"a_1.txt"_s << title << u"a"_s << u"a_1.txt"_s;
    QTest::newRow("dangling-symlink-occupies")
        << QStringList { u"scan.txt"_s, u"a.txt->missing.txt"_s } << u"scan.txt"_s << title << u"a"_s << u"a_1.txt"_s;
    QTest::newRow("folder-occupies") << QStringList { u"scan.txt"_s, u"a.txt/"_s } << u"scan.txt"_s << title << u"a"_s
                                     << u"a_1.txt"_s;
    QTest::newRow("extension-tokens-from-source")
        << QStringList { u"IMG_0042.JPG"_s } << u"IMG_0042.JPG"_s << u"{kind} {extension} {extension_original}"_s
        << u"holiday"_s << u"image jpg JPG.JPG"_s;
    QTest::newRow("last-extension-only") << QStringList { u"backup.tar.gz"_s } << u"backup.tar.gz"_s << title
                                         << u"archive"_s << u"archive.gz"_s;
    QTest::newRow("no-extension-keeps-none")
        << QStringList { u"README"_s } << u"README"_s << title << u"notes"_s << u"notes"_s;
    QTest::newRow("no-extension-empty-extension-file-kind")
        << QStringList { u"README"_s } << u"README"_s << u"{title} {kind}{extension}{EXTENSION}"_s << u"notes"_s
        << u"notes file"_s;
    QTest::newRow("no-extension-numbered")
        << QStringList { u"README"_s, u"notes"_s } << u"README"_s << title << u"notes"_s << u"notes_1"_s;
}

void FileRenamerTest::destination()
{
    QFETCH(QStringList, existing);
    QFETCH(QString, source);
    QFETCH(QString, pattern);
    QFETCH(QString, title);
    QFETCH(QString, expected);

    QTemporaryDir folder;
    QVERIFY(folder.isValid());
    const QDir dir(folder.path());
    for (const QString &entry : existing) {
        if (entry.endsWith(u'/')) {
            QVERIFY(dir.mkdir(entry.chopped(1)));
        } else if (const qsizetype arrow = entry.indexOf(u"->"); arrow > 0) {
            QVERIFY(QFile::link(entry.sliced(arrow + 2), dir.filePath(entry.first(arrow))));
        } else {
            QFile file(dir.filePath(entry));
            QVERIFY(file.open(QIODevice::WriteOnly));
        }
    }

    PatternRenderInput input = inputFor(pattern);
    input.title = title;
    input.caseStyle = NamingCaseStyle::Lower;
    QCOMPARE(FileRenamer::destination(dir.filePath(source), input), dir.filePath(expected));
}

void FileRenamerTest::destinationAfterAThousandTaken()
{
    QTemporaryDir folder;
    QVERIFY(folder.isValid());
    const QDir dir(folder.path());
    QStringList taken { u"scan.txt"_s, u"a.txt"_s };
    for (int n = 1; n <= 1000; ++n)
        taken.append(u"a_"_s + QString::number(n) + u".txt"_s);
    for (const QString &name : std::as_const(taken)) {
        QFile file(dir.filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
    }

    PatternRenderInput input = inputFor(u"{title}"_s);
    input.title = u"a"_s;
    input.caseStyle = NamingCaseStyle::Lower;
    const QFileInfo chosen(FileRenamer::destination(dir.filePath(u"scan.txt"_s), input));

    static const QRegularExpression randomSuffix(u"^a_[0-9A-Fa-f]{8}\\.txt$"_s);
    QCOMPARE(chosen.absolutePath(), dir.absolutePath());
    QVERIFY2(randomSuffix.match(chosen.fileName()).hasMatch(), qPrintable(chosen.fileName()));
    QVERIFY(!chosen.exists());
}

QTEST_GUILESS_MAIN(FileRenamerTest)

#include "filerenamertest.moc"
