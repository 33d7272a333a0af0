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
PatternRenderInput inputFor(const QString &pattern)
{
    PatternRenderInput input;
    input.pattern = pattern;
    input.title = u"NASA launch plan"_s;
    input.originalName = u"scan_0042 Tax-return"_s;
    input.now = QDateTime(QDate(2026, 9, 3), QTime(14, 30, 5));
    return input;
}

// Every value a named token reads, as an analysis and the file readers fill them.
PatternRenderInput richInputFor(const QString &pattern)
{
    PatternRenderInput input = inputFor(pattern);
    input.dateFormat = u"dd/MM/yy"_s;
    input.vendor = u"acme corp"_s;
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
    return input;
}

} // namespace

class FileRenamerTest : public QObject
{
    Q_OBJECT

private slots:
    void dateIsSanitisedWithTheName();
    void initTestCase();
    void forms_data();
    void forms();
    void values_data();
    void values();
    void styles_data();
    void styles();
    void mediaForms_data();
    void mediaForms();
    void cleanupAndFallbacks_data();
    void cleanupAndFallbacks();
    void destination_data();
    void destination();
};

void FileRenamerTest::initTestCase()
{
    qputenv("TZ", "UTC");
    tzset();
}

void FileRenamerTest::forms_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("expected");

    QTest::newRow("title") << u"{Title} {TITLE}"_s << u"NASA Launch Plan NASA LAUNCH PLAN"_s;
    QTest::newRow("title-underscored") << u"{Title_Name} {Title_name}"_s << u"NASA_Launch_Plan Nasa_launch_plan"_s;
    QTest::newRow("original-as-it-stands-and-joined") << u"{original} {ORIGINALNAME} {originalName}"_s
                                                      << u"scan_0042 Tax-return SCAN0042TAXRETURN scan0042TaxReturn"_s;
    QTest::newRow("dates-in-setting-slashes-removed") << u"{date} {created_date}"_s << u"030926 150126"_s;
    QTest::newRow("fixed-date-forms-ignore-setting")
        << u"{date_iso} {date_long} {created_date_compact}"_s << u"2026-09-03 September 3 2026 20260115"_s;
    QTest::newRow("unreadable-date-kept") << u"{modified_date} {modified_date_iso}"_s << u"last week last week"_s;
    QTest::newRow("time-forms") << u"{time} {time_short} {time_compact} {time_hyphen} {time_12h}"_s
                                << u"14.30.05 14.30 143005 14-30-05 2.30 PM"_s;
    QTest::newRow("year-and-month") << u"{year_short} {month} {month_short} {MONTH}"_s << u"26 09 Sep SEPTEMBER"_s;
    QTest::newRow("vendor-forms") << u"{VENDOR} {vendor_name} {Vendor_Name}"_s << u"ACME CORP acme_corp Acme_Corp"_s;
    QTest::newRow("amount-and-currency") << u"{amount} {currency} {Currency} {CURRENCY}"_s << u"42.99 usd Usd USD"_s;
    QTest::newRow("file-facts-in-style-acronyms-kept")
        << u"{parent_folder} {camera_model} {width}x{HEIGHT} {capture_time_12h}"_s
        << u"Tax Docs 2026 Canon EOS R5 1920x1080 9.05 AM"_s;
}

void FileRenamerTest::forms()
{
    QFETCH(QString, pattern);
    QFETCH(QString, expected);

    QCOMPARE(FileRenamer::applyPattern(richInputFor(pattern)), expected);
}

void FileRenamerTest::values_data()
{
    // `value` is the title, the original name, the vendor and every detected
    // field at once; the date format is "dot".
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("expected");

    QTest::newRow("vendor-acronym-kept-but-not-in-base")
        << u"{Vendor} {Vendor_Name}"_s << u"IBM research"_s << u"IBM Research Ibm_Research"_s;
    QTest::newRow("punctuation-dropped-or-splitting")
        << u"{Vendor} {vendor}"_s << u"O'Reilly & Sons, Inc."_s << u"Oreilly Sons Inc O Reilly Sons Inc"_s;
    QTest::newRow("title-cannot-inject") << u"{title} {Title_Name} {titlename}"_s << u"{year}"_s << u"Year Year year"_s;
    QTest::newRow("detected-date") << u"{invoice_date} {invoice_date_iso}"_s << u"3/4/2026"_s
                                   << u"03.04.2026 2026-04-03"_s;
    QTest::newRow("unreadable-date-sanitised-not-case-rendered")
        << u"{due_date} {due_date_dot}"_s << u"end of month!"_s << u"end of month end of month"_s;
    QTest::newRow("number-kept-literally") << u"{invoice_number}"_s << u"inv-0042/b"_s << u"inv-0042b"_s;
    QTest::newRow("amount-loses-currency-sign") << u"{total_amount}"_s << u"$42.99"_s << u"42.99"_s;
    QTest::newRow("non-literal-number-split-into-words") << u"{subtotal}"_s << u"$42.99"_s << u"42 99"_s;
    QTest::newRow("missing-value-vanishes") << u"x {author}"_s << QString() << u"x"_s;
}

void FileRenamerTest::dateIsSanitisedWithTheName()
{
    PatternRenderInput input = inputFor(u"{date}_{title}"_s);
    input.dateFormat = u"yyyy.MM."_s;
    QCOMPARE(FileRenamer::applyPattern(input), u"2026.09._NASA Launch Plan"_s);
}

void FileRenamerTest::values()
{
    QFETCH(QString, pattern);
    QFETCH(QString, value);
    QFETCH(QString, expected);

    PatternRenderInput input = inputFor(pattern);
    input.title = input.originalName = input.vendor = value;
    input.dateFormat = u"dot"_s;
    if (!value.isEmpty()) {
        for (const NamingPatternField *field : fieldCatalogue().allFields())
            input.metadata.detectedFields.insert(normalizedFieldName(field->token), value);
    }
    QCOMPARE(FileRenamer::applyPattern(input), expected);
}

void FileRenamerTest::styles_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("value");
    QTest::addColumn<NamingCaseStyle>("caseStyle");
    QTest::addColumn<NamingPatternSeparator>("wordSeparator");
    QTest::addColumn<QString>("expected");

    const QString title = u"{title}"_s;
    using Case = NamingCaseStyle;
    using Separator = NamingPatternSeparator;
    QTest::newRow("dash-dropped-in-snake")
        << title << u"Budget - Q3"_s << Case::Snake << Separator::Underscore << u"budget_q3"_s;
    QTest::newRow("text-joined-with-setting-separator")
        << u"{author}"_s << u"jane doe"_s << Case::Snake << Separator::Space << u"jane doe"_s;
    QTest::newRow("text-punctuation-splits-words") << u"{meeting_title}"_s << u"q3 planning: budget"_s << Case::Kebab
                                                   << Separator::Hyphen << u"q3-planning-budget"_s;
}

void FileRenamerTest::styles()
{
    QFETCH(QString, pattern);
    QFETCH(QString, value);
    QFETCH(NamingCaseStyle, caseStyle);
    QFETCH(NamingPatternSeparator, wordSeparator);
    QFETCH(QString, expected);

    PatternRenderInput input = inputFor(pattern);
    input.title = value;
    input.caseStyle = caseStyle;
    input.wordSeparator = wordSeparator;
    for (const NamingPatternField *field : fieldCatalogue().allFields())
        input.metadata.detectedFields.insert(normalizedFieldName(field->token), value);
    QCOMPARE(FileRenamer::applyPattern(input), expected);
}

void FileRenamerTest::mediaForms_data()
{
    // `number` is the byte count and the seconds, `text` every other value; a
    // size's text stands only without a count, as the file readers fill it.
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("text");
    QTest::addColumn<std::optional<double>>("number");
    QTest::addColumn<QString>("expected");

    using Number = std::optional<double>;
    const QString none;
    QTest::newRow("size-bytes-whole") << u"{size}"_s << none << Number(1023) << u"1023B"_s;
    QTest::newRow("size-half-rounds-up") << u"{size}"_s << none << Number(10752) << u"11KB"_s;
    QTest::newRow("size-forms") << u"{SIZE} {size_bytes} {size_kb} {size_mb}"_s << none << Number(1468006)
                                << u"1.4MB 1468006B 1433.6KB 1.4MB"_s;
    QTest::newRow("size-missing-count-uses-text") << u"{size_kb}"_s << u"12 KB"_s << Number() << u"12 KB"_s;
    QTest::newRow("duration-forms-half-rounds-up")
        << u"{duration} {duration_clock} {duration_minutes} {duration_seconds}"_s << none << Number(84.5)
        << u"1m25s 00.01.25 1.4m 85s"_s;
    QTest::newRow("duration-minutes-tie-goes-even") << u"{duration_minutes}"_s << none << Number(75) << u"1.2m"_s;
    QTest::newRow("duration-hours") << u"{Duration} {duration_minutes}"_s << none << Number(3725)
                                    << u"1h02m05s 62.1m"_s;
    QTest::newRow("duration-rounding-reaches-a-minute") << u"{duration}"_s << none << Number(59.6) << u"1m00s"_s;
    QTest::newRow("duration-infinite-uses-text") << u"{duration}"_s << u"1:24"_s << Number(qInf()) << u"124"_s;
    QTest::newRow("resolution-forms") << u"{resolution} {resolution_hyphen} {resolution_height}"_s << u"1920x1080"_s
                                      << Number() << u"1920x1080 1920-1080 1080p"_s;
    QTest::newRow("frame-rate-forms") << u"{frame_rate} {frame_rate_rounded} {frame_rate_number}"_s << u"29.97 fps"_s
                                      << Number() << u"29.97fps 30fps 29.97"_s;
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

void FileRenamerTest::cleanupAndFallbacks_data()
{
    // The vendor is empty and the date format ISO.
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("originalName");
    QTest::addColumn<QString>("expected");

    const QString t = u"Title"_s;
    const QString scan = u"scan"_s;
    QTest::newRow("leading-separator-trimmed") << u"{vendor}_{title}"_s << t << scan << u"Title"_s;
    QTest::newRow("inner-underscores-collapse") << u"{title}_{vendor}_{date}"_s << t << scan << u"Title_2026-09-03"_s;
    QTest::newRow("forbidden-separator-removed") << u"{title}/{original}"_s << t << scan << u"Titlescan"_s;
    QTest::newRow("unknown-token-loses-braces") << u"{foo}"_s << t << scan << u"foo"_s;
    QTest::newRow("empty-render-uses-title") << u"{vendor}"_s << u"budget plan"_s << scan << u"Budget Plan"_s;
    QTest::newRow("forbidden-title-uses-original-name") << u"{title}"_s << u"///"_s << u"my report"_s << u"my report"_s;
    QTest::newRow("nothing-left-is-untitled") << u"{title}"_s << u"???"_s << u"***"_s << u"Untitled"_s;
}

void FileRenamerTest::cleanupAndFallbacks()
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

    // Entries ending in "/" are folders; "name->target" is a symbolic link. An
    // expected name with "[" is a regular expression.
    const QString title = u"{title}"_s;
    QStringList crowded { u"scan.txt"_s, u"a.txt"_s };
    for (int n = 1; n <= 1000; ++n)
        crowded.append(u"a_"_s + QString::number(n) + u".txt"_s);
    QTest::newRow("own-name-without-suffix") << QStringList { u"tax return.pdf"_s } << u"tax return.pdf"_s << title
                                             << u"tax return"_s << u"tax return.pdf"_s;
    QTest::newRow("next-free-number") << QStringList { u"scan.txt"_s, u"a.txt"_s, u"a_1.txt"_s } << u"scan.txt"_s
                                      << title << u"a"_s << u"a_2.txt"_s;
    QTest::newRow("own-numbered-name-kept")
        << QStringList { u"a.txt"_s, u"a_1.txt"_s } << u"a_1.txt"_s << title << u"a"_s << u"a_1.txt"_s;
    QTest::newRow("dangling-symlink-occupies")
        << QStringList { u"scan.txt"_s, u"a.txt->missing.txt"_s } << u"scan.txt"_s << title << u"a"_s << u"a_1.txt"_s;
    QTest::newRow("extension-tokens-from-source")
        << QStringList { u"IMG_0042.JPG"_s } << u"IMG_0042.JPG"_s << u"{kind} {extension} {extension_original}"_s
        << u"holiday"_s << u"image jpg JPG.JPG"_s;
    QTest::newRow("last-extension-only") << QStringList { u"backup.tar.gz"_s } << u"backup.tar.gz"_s << title
                                         << u"archive"_s << u"archive.gz"_s;
    QTest::newRow("no-extension-empty-extension-file-kind")
        << QStringList { u"README"_s } << u"README"_s << u"{title} {kind}{extension}{EXTENSION}"_s << u"notes"_s
        << u"notes file"_s;
    QTest::newRow("dot-file-has-no-extension")
        << QStringList { u".bashrc"_s } << u".bashrc"_s << u"{original} {title}"_s << u"shell"_s << u"bashrc shell"_s;
    QTest::newRow("random-suffix-after-a-thousand-numbers")
        << crowded << u"scan.txt"_s << title << u"a"_s << u"a_[0-9A-F]{8}\\.txt"_s;

    // Names longer than the file system's 255 bytes are cut before the
    // suffix and the extension, which stay whole.
    const QString words = u"abcdefghij "_s.repeated(30);
    const QString wordsCut = u"abcdefghij "_s.repeated(22).chopped(1);
    QTest::newRow("long-title-cut-at-word")
        << QStringList { u"x.txt"_s } << u"x.txt"_s << title << words << wordsCut + u".txt"_s;
    QTest::newRow("long-title-keeps-collision-suffix")
        << QStringList { u"x.txt"_s, wordsCut + u".txt"_s } << u"x.txt"_s << title << words << wordsCut + u"_1.txt"_s;
    QTest::newRow("long-title-without-extension")
        << QStringList { u"x"_s } << u"x"_s << title << u"b"_s.repeated(300) << u"b"_s.repeated(255);
    QTest::newRow("word-too-far-back-cut-at-character")
        << QStringList { u"x.txt"_s } << u"x.txt"_s << title << u"a b"_s + u"c"_s.repeated(300)
        << u"a b"_s + u"c"_s.repeated(248) + u".txt"_s;
    QTest::newRow("no-separator-left-at-the-cut")
        << QStringList { u"x.txt"_s } << u"x.txt"_s << title << u"a"_s.repeated(245) + u"-"_s + u"b"_s.repeated(20)
        << u"a"_s.repeated(245) + u".txt"_s;
    QTest::newRow("long-japanese-title-whole-characters")
        << QStringList { u"x.txt"_s } << u"x.txt"_s << title << u"日本語の長いタイトル"_s.repeated(30)
        << u"[日本語の長いタイトル]{67,83}\\.txt"_s;
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
    const QString chosen = FileRenamer::destination(dir.filePath(source), input);
    QVERIFY2(QFileInfo(chosen).fileName().toUtf8().size() <= 255, qPrintable(chosen));
    if (expected.contains(u'['))
        QVERIFY2(QRegularExpression(QRegularExpression::anchoredPattern(expected))
                     .match(dir.relativeFilePath(chosen))
                     .hasMatch(),
                 qPrintable(chosen));
    else
        QCOMPARE(chosen, dir.filePath(expected));
}

QTEST_GUILESS_MAIN(FileRenamerTest)

#include "filerenamertest.moc"
