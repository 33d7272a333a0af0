// Random patterns, titles, values and date formats thrown at the renderer and
// the parsers. Only what must hold for every input is checked: nothing
// crashes, and every rendered name is a clean, non-empty file name.

#include <QRandomGenerator>
#include <QTest>
#include <cmath>
#include <ctime>
#include <limits>

#include "naming/dateformats.h"
#include "naming/fieldcatalogue.h"
#include "naming/filerenamer.h"
#include "naming/nametext.h"
#include "naming/namingpattern.h"
#include "naming/originalnametokens.h"

using namespace Nomly;
using namespace Qt::StringLiterals;

namespace {

constexpr int IterationsPerSeed = 1000;

class Fuzzer
{
public:
    explicit Fuzzer(quint32 seed)
        : m_random(seed)
    {}

    int below(int bound) { return static_cast<int>(m_random.bounded(bound)); }

    bool chance(int percent) { return below(100) < percent; }

    template<typename T> T pick(const QList<T> &items) { return items.at(below(static_cast<int>(items.size()))); }

    // One code point, or a lone surrogate, from the kinds of text that reach
    // a renderer: plain, accented and non-Latin letters, digits, whitespace,
    // controls, emoji, marks, braces and every forbidden character.
    QString character()
    {
        static const QString awkward = u"/\\:*?\"<>|{}[]()&'+,;=!@#$%^~`_-. \t\n\r\u00a0\u3000"_s;
        static const QList<char32_t> specials { 0x0000, 0x0007,  0x001b,  0x007f,  0x0085,   0x200b, 0x200d,
                                                0x200f, 0x2028,  0x202e,  0xfeff,  0x0301,   0x0308, 0x20dd,
                                                0x00e9, 0x00df,  0x0130,  0x01c6,  0x0663,   0x4e2d, 0x0416,
                                                0x05d0, 0x1f389, 0x1f1fa, 0x1d400, 0x10ffff, 0xfffd };
        switch (below(8)) {
        case 0:
            return QString(awkward.at(below(static_cast<int>(awkward.size()))));
        case 1:
            return QString::fromUcs4(&specials.at(below(static_cast<int>(specials.size()))), 1);
        case 2:
            return QString(QChar(static_cast<char16_t>(0xd800 + below(0x800)))); // a lone surrogate
        case 3: {
            const char32_t c = static_cast<char32_t>(0x20 + below(0xd7e0)); // anywhere below the surrogates
            return QString::fromUcs4(&c, 1);
        }
        case 4:
            return QString(QChar(static_cast<char16_t>(below(0x20))));
        default:
            return QString(QChar(static_cast<char16_t>(u'0' + below(75))));
        }
    }

    QString text(int maxLength)
    {
        QString result;
        const int length = below(maxLength + 1);
        for (int i = 0; i < length; ++i)
            result += character();
        return result;
    }

    QString token()
    {
        QString spelling = pick(knownTokens());
        switch (below(10)) {
        case 0:
            return spelling.toUpper();
        case 1:
            return spelling.insert(1 + below(static_cast<int>(spelling.size()) - 1), character());
        case 2:
            return spelling.chopped(1);
        default:
            return spelling;
        }
    }

    QString pattern()
    {
        QString result;
        const int pieces = below(8);
        for (int i = 0; i < pieces; ++i) {
            const int kind = below(10);
            if (kind < 5)
                result += token();
            else if (kind < 7)
                result += pick(QList<QString> { u" "_s, u"_"_s, u"-"_s, u"."_s, u"__"_s, u"  "_s, u" - "_s });
            else if (kind < 8)
                result += pick(QList<QString> { u"{"_s, u"}"_s, u"{{"_s, u"}}"_s, u"{}"_s });
            else
                result += text(6);
        }
        return result;
    }

    // Texts that are dates, nearly dates, or anything at all.
    QString dateText()
    {
        static const QList<QString> months { u"May"_s, u"September"_s, u"Sep"_s, u"mai"_s, u"Febr"_s };
        const QString day = QString::number(below(35));
        const QString month = QString::number(below(15));
        const QString year = QString::number(below(3) == 0 ? below(100) : 1 + below(9999));
        switch (below(6)) {
        case 0:
            return year + u'-' + month + u'-' + day;
        case 1:
            return day + pick(QList<QString> { u"/"_s, u"."_s, u"-"_s }) + month + u'/' + year;
        case 2:
            return pick(months) + u' ' + day + pick(QList<QString> { u", "_s, u" "_s, u",,"_s }) + year;
        case 3:
            return year + u'-' + month + u'-' + day + u'T' + QString::number(below(30)) + u":00:0"
                + QString::number(below(10)) + pick(QList<QString> { u"Z"_s, u"+02:00"_s, u".5Z"_s, u""_s });
        case 4:
            return year + u':' + month + u':' + day + u' ' + QString::number(below(30)) + u":15:00";
        default:
            return text(12);
        }
    }

    QString dateFormat()
    {
        // Named formats, patterns, patterns ICU refuses and quoting mistakes.
        static const QStringList formats = u"iso|dot|long|compact|yyyy-MM-dd|dd/MM/yyyy|EEEE, MMMM d|'quoted|"
                                           u"yyyy'MM|J|ppp||GGGGG yyyyy QQQQ|zzzz VVVV|{date}|''"_s.split(u'|');
        if (chance(30))
            return text(8);
        return pick(formats);
    }

    std::optional<qint64> bytes()
    {
        switch (below(6)) {
        case 0:
            return std::nullopt;
        case 1:
            return std::numeric_limits<qint64>::max();
        case 2:
            return std::numeric_limits<qint64>::min();
        case 3:
            return 0;
        default:
            return static_cast<qint64>(m_random.bounded(Q_INT64_C(1) << 45));
        }
    }

    std::optional<double> seconds()
    {
        constexpr double Infinity = std::numeric_limits<double>::infinity();
        static const QList<double> edges { qQNaN(), Infinity, -Infinity, -1.0, 0.0, 0.4, 1e18, 1e300, 5e-324 };
        if (chance(20))
            return std::nullopt;
        if (chance(50))
            return pick(edges);
        return m_random.bounded(400000.0);
    }

    QDateTime moment()
    {
        if (chance(5))
            return {};
        const qint64 first = QDateTime(QDate(1, 1, 1), QTime(0, 0), Qt::UTC).toMSecsSinceEpoch();
        const qint64 last = QDateTime(QDate(9999, 12, 31), QTime(0, 0), Qt::UTC).toMSecsSinceEpoch();
        return QDateTime::fromMSecsSinceEpoch(first + static_cast<qint64>(m_random.bounded(quint64(last - first))));
    }

    QString value() { return chance(50) ? dateText() : text(16); }

    PatternRenderInput renderInput()
    {
        PatternRenderInput input;
        input.pattern = pattern();
        input.title = chance(20) ? pattern() : text(24);
        input.originalName = chance(20) ? pattern() : text(16);
        input.now = moment();
        input.dateFormat = dateFormat();
        input.caseStyle = static_cast<NamingCaseStyle>(below(10));
        input.wordSeparator = static_cast<NamingPatternSeparator>(below(5));
        input.type = value();
        input.vendor = value();
        input.amount = value();
        input.currency = value();
        input.kind = pick(QList<QString> { u"design"_s, u"image"_s, u"file"_s, text(6) });

        PatternFileMetadata &metadata = input.metadata;
        metadata.fileExtension = text(4);
        metadata.fileExtensionOriginal = text(4);
        metadata.sizeBytes = bytes();
        metadata.size = value();
        metadata.durationSeconds = seconds();
        metadata.duration = value();
        metadata.resolution
            = pick(QList<QString> { u"1920x1080"_s, u"x"_s, u"99999999999999999999x1"_s, u"-1x-1"_s, text(10) });
        metadata.frameRate = pick(QList<QString> { u"29.97"_s, u"."_s, QString(400, u'9'), u"1..2"_s, text(8) });
        metadata.createdDate = value();
        metadata.modifiedDate = value();
        metadata.captureDate = value();
        metadata.captureTime = pick(QList<QString> { u"14.30.05"_s, u"25.61.61"_s, text(8) });
        metadata.parentFolder = value();
        metadata.cameraModel = value();
        metadata.width = value();
        metadata.pages = value();
        const QList<const NamingPatternField *> &fields = fieldCatalogue().allFields();
        for (int i = below(6); i > 0; --i)
            metadata.detectedFields.insert(normalizedFieldName(pick(fields)->token), value());
        return input;
    }

private:
    static const QList<QString> &knownTokens()
    {
        static const QList<QString> tokens = [] {
            QList<QString> all;
            const FieldCatalogue &catalogue = fieldCatalogue();
            for (const NamingPatternField *field : catalogue.allFields())
                all.append(field->token);
            for (const QString &name : catalogue.dateFields()) {
                for (const char16_t *suffix : { u"_iso", u"_dot", u"_long", u"_compact" })
                    all.append(u'{' + name + QStringView(suffix) + u'}');
            }
            for (const QString &name : catalogue.timeFields()) {
                for (const char16_t *suffix : { u"_short", u"_compact", u"_hyphen", u"_12h" })
                    all.append(u'{' + name + QStringView(suffix) + u'}');
            }
            for (const OriginalNameToken &row : OriginalNameTokens)
                all.append(QString::fromUtf16(row.token));
            all += u"{Title}|{Title Name}|{Title name}|{title Name}|{title name}|{TITLE}|{TITLE NAME}|"
                   u"{Title_Name}|{Title_name}|{title_name}|{TITLE_NAME}|{TitleName}|{titleName}|{titlename}|"
                   u"{TITLENAME}|{original}|{Type}|{TYPE_NAME}|{Vendor_Name}|{VendorName}|{vendorName}|{Kind}|"
                   u"{KIND}|{extension_upper}|{extension_original}|{size_bytes}|{size_kb}|{size_mb}|"
                   u"{duration_clock}|{duration_minutes}|{duration_seconds}|{resolution_hyphen}|"
                   u"{resolution_height}|{frame_rate_rounded}|{frame_rate_number}|{year_short}|{month_short}|"
                   u"{MONTH}|{Amount}|{CURRENCY}"_s.split(u'|');
            return all;
        }();
        return tokens;
    }

    QRandomGenerator m_random;
};

// What is wrong with a rendered name, or empty when it is a clean one.
QString nameFault(const QString &name)
{
    if (name.isEmpty())
        return u"empty"_s;
    if (!QStringView(name).isValidUtf16())
        return u"lone surrogate"_s;
    for (const QChar c : name) {
        if (u"/\\:*?\"<>|"_s.contains(c))
            return u"forbidden character"_s;
        if (c.category() == QChar::Other_Control)
            return u"control character"_s;
    }
    bool allowed = true;
    const QList<uint> codePoints = name.toUcs4();
    for (const uint c : codePoints) {
        const auto category = QChar::category(static_cast<char32_t>(c));
        allowed = allowed
            && (QChar::isLetterOrNumber(static_cast<char32_t>(c)) || category == QChar::Mark_NonSpacing
                || category == QChar::Mark_SpacingCombining || category == QChar::Mark_Enclosing
                || (c < 0x80 && QStringView(u"-_. ").contains(QChar(static_cast<char16_t>(c)))));
    }
    if (!allowed)
        return u"character outside letters, numbers, marks and -_. "_s;
    if (u" _."_s.contains(name.front()) || u" _."_s.contains(name.back()))
        return u"untrimmed end"_s;
    if (name.contains(u"__"))
        return u"double underscore"_s;
    if (name.contains(u"  "))
        return u"double space"_s;
    if (sanitizeName(name, true) != name)
        return u"changes when sanitised again"_s;
    return {};
}

QString describe(const PatternRenderInput &input)
{
    return u" pattern="_s + input.pattern + u" title="_s + input.title + u" original="_s + input.originalName
        + u" dateFormat="_s + input.dateFormat;
}

} // namespace

class RenderFuzzTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void applyPattern_data();
    void applyPattern();
    void dateParsers_data();
    void dateParsers();
    void patternTokens_data();
    void patternTokens();
};

void RenderFuzzTest::initTestCase()
{
    qputenv("TZ", "UTC");
    tzset();
}

namespace {

void addSeeds()
{
    QTest::addColumn<quint32>("seed");

    for (const quint32 seed : { 1u, 2u, 3u, 20260903u })
        QTest::newRow(qPrintable(u"seed-"_s + QString::number(seed))) << seed;
}

} // namespace

void RenderFuzzTest::applyPattern_data()
{
    addSeeds();
}

void RenderFuzzTest::applyPattern()
{
    QFETCH(quint32, seed);

    Fuzzer fuzzer(seed);
    QString firstFault;
    for (int i = 0; i < IterationsPerSeed && firstFault.isEmpty(); ++i) {
        const PatternRenderInput input = fuzzer.renderInput();
        const QString name = FileRenamer::applyPattern(input);
        if (const QString fault = nameFault(name); !fault.isEmpty())
            firstFault = fault + u": name="_s + name + describe(input);
    }
    QCOMPARE(firstFault, QString());
}

void RenderFuzzTest::dateParsers_data()
{
    addSeeds();
}

void RenderFuzzTest::dateParsers()
{
    QFETCH(quint32, seed);

    // A date that was read is valid, in UTC, and reads back the same from its
    // own ISO text; formatting with any pattern returns.
    Fuzzer fuzzer(seed);
    QString firstFault;
    for (int i = 0; i < IterationsPerSeed && firstFault.isEmpty(); ++i) {
        const QString text = fuzzer.dateText();
        const auto general = DateFormats::parseGeneral(text);
        const auto wide = DateFormats::parseWide(text);
        DateFormats::format(fuzzer.moment(), fuzzer.dateFormat());
        for (const auto &parsed : { general, wide }) {
            if (!parsed)
                continue;
            if (!parsed->isValid() || parsed->timeSpec() != Qt::UTC)
                firstFault = u"invalid or not UTC: "_s + text;
            else if (general && DateFormats::parseGeneral(DateFormats::format(*general, u"yyyy-MM-dd"_s)) != general)
                firstFault = u"does not read back: "_s + text;
        }
    }
    QCOMPARE(firstFault, QString());
}

void RenderFuzzTest::patternTokens_data()
{
    addSeeds();
}

void RenderFuzzTest::patternTokens()
{
    QFETCH(quint32, seed);

    // Canonical tokens are braced and stay as they are when canonicalised
    // again; parsed tokens run from "{" to the first "}".
    Fuzzer fuzzer(seed);
    QString firstFault;
    for (int i = 0; i < IterationsPerSeed && firstFault.isEmpty(); ++i) {
        const QString pattern = fuzzer.pattern();
        const QString canonical = canonicalToken(fuzzer.chance(50) ? fuzzer.token() : fuzzer.text(10));
        if (!canonical.startsWith(u'{') || !canonical.endsWith(u'}'))
            firstFault = u"unbraced canonical token: "_s + canonical;
        else if (canonicalToken(canonical) != canonical)
            firstFault = u"canonical token changes: "_s + canonical;
        for (const QString &token : parsePattern(pattern).tokens) {
            if (!token.startsWith(u'{') || !token.endsWith(u'}') || token.count(u'}') != 1)
                firstFault = u"malformed token "_s + token + u" in "_s + pattern;
        }
    }
    QCOMPARE(firstFault, QString());
}

QTEST_GUILESS_MAIN(RenderFuzzTest)

#include "renderfuzztest.moc"
