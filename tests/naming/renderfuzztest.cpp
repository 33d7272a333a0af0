// Random patterns, titles, values and date formats thrown at the renderer and
// the date parsers. Only what must hold for every input is checked: nothing
// crashes, and every rendered name is a clean, non-empty file name.

#include <QRandomGenerator>
#include <QTest>
#include <ctime>
#include <limits>
#include <string_view>

#include "naming/dateformats.h"
#include "naming/fieldcatalogue.h"
#include "naming/filerenamer.h"
#include "naming/nametext.h"
#include "naming/originalnametokens.h"

using namespace Nomly;
using namespace Qt::StringLiterals;

namespace {

constexpr int IterationsPerSeed = 1000;

struct Fuzzer
{
    QRandomGenerator generator;

    int below(int bound) { return static_cast<int>(generator.bounded(bound)); }

    bool chance(int percent) { return below(100) < percent; }

    template<typename T> T pick(const QList<T> &items) { return items.at(below(static_cast<int>(items.size()))); }

    // One code point or a lone surrogate: a forbidden, awkward or invisible
    // character, a mark, an emoji, any ASCII or anything below the surrogates.
    QString character()
    {
        static constexpr std::u32string_view awkward
            = U"/\\:*?\"<>|{}[]()&'+,;=!@#$%^~`_-. \t\n\r\u00a0\u3000\u0085\u200b\u200d\u200f\u2028\u202e\ufeff"
              U"\u0301\u0308\u20dd\u00e9\u00df\u0130\u01c6\u0663\u4e2d\u0416\u05d0\ufffd\U0001F389\U0001F1FA\U0001D400"
              U"\U0010FFFF";
        if (chance(15))
            return QString(QChar(static_cast<char16_t>(0xd800 + below(0x800))));
        const int kind = below(3);
        const char32_t c = kind == 0 ? awkward[below(static_cast<int>(awkward.size()))]
                                     : static_cast<char32_t>(below(kind == 1 ? 0xd800 : 0x80));
        return QString::fromUcs4(&c, 1);
    }

    QString text(int maxLength)
    {
        QString result;
        for (int length = below(maxLength + 1); length > 0; --length)
            result += character();
        return result;
    }

    // A known token, often respelled: with a variant suffix, in capitals or
    // capitalised, spaced or joined, or broken.
    QString token()
    {
        static const QList<QString> suffixes
            = u"_iso|_long|_12h|_hyphen|_name|_kb|_clock|_number|_original|_height|_rounded"_s.split(u'|');
        static const QList<QString> tokens = [] {
            QList<QString> all;
            for (const NamingPatternField *field : fieldCatalogue().allFields())
                all.append(field->token);
            for (const OriginalNameToken &row : OriginalNameTokens)
                all.append(QString::fromUtf16(row.token));
            return all;
        }();
        QString spelling = pick(tokens);
        if (chance(30))
            spelling.insert(spelling.size() - 1, pick(suffixes));
        if (chance(20))
            spelling = chance(50) ? spelling.toUpper() : spelling.replace(1, 1, spelling.at(1).toUpper());
        if (chance(20))
            spelling.replace(u'_', chance(50) ? u" "_s : QString());
        if (chance(15))
            spelling.insert(1 + below(static_cast<int>(spelling.size()) - 1), character());
        return spelling;
    }

    QString pattern()
    {
        static const QList<QString> separators { u" "_s, u"_"_s, u"-"_s, u"."_s, u"__"_s, u" - "_s, u"{"_s, u"}"_s };
        QString result;
        for (int pieces = below(8); pieces > 0; --pieces)
            result += chance(50) ? token() : chance(60) ? pick(separators) : text(6);
        return result;
    }

    // Texts that are dates, nearly dates, or anything at all.
    QString dateText()
    {
        const QString day = QString::number(below(35));
        const QString month = QString::number(below(15));
        const QString year = QString::number(chance(30) ? below(100) : 1 + below(9999));
        const QString time
            = pick(QList<QString> { QString(), u"T12:00:00Z"_s, u"T25:00:00+02:00"_s, u"T09:30:00.5Z"_s });
        return pick(QList<QString> { year + u'-' + month + u'-' + day + time,
                                     day + pick(QList<QString> { u"/"_s, u"."_s, u"-"_s }) + month + u'/' + year,
                                     pick(QList<QString> { u"May"_s, u"Sep"_s, u"mai"_s }) + u' ' + day + u", " + year,
                                     year + u':' + month + u':' + day + u" 14:15:00",
                                     text(12) });
    }

    // Named formats, patterns, patterns ICU refuses and quoting mistakes.
    QString dateFormat()
    {
        return chance(30)
            ? text(8)
            : pick(u"dot|dd/MM/yy|EEEE, MMMM d|'quoted|yyyy'MM|''|J|ppp||GGGGG QQQQ|zzzz VVVV|{date}"_s.split(u'|'));
    }

    // A moment from year 1 to year 9999, or none.
    QDateTime moment()
    {
        if (chance(5))
            return {};
        return QDateTime::fromSecsSinceEpoch(generator.bounded(-Q_INT64_C(62135596800), Q_INT64_C(253402214400)));
    }

    QString value() { return chance(50) ? dateText() : text(16); }

    PatternRenderInput renderInput()
    {
        constexpr qint64 Largest = std::numeric_limits<qint64>::max();
        PatternRenderInput input;
        input.pattern = pattern();
        input.title = chance(20) ? pattern() : text(24);
        input.originalName = chance(20) ? pattern() : text(16);
        input.now = moment();
        input.dateFormat = dateFormat();
        input.caseStyle = static_cast<NamingCaseStyle>(below(10));
        input.wordSeparator = static_cast<NamingPatternSeparator>(below(5));
        input.type = input.amount = value();
        input.vendor = input.currency = value();

        PatternFileMetadata &metadata = input.metadata;
        metadata.sizeBytes = pick(
            QList<std::optional<qint64>> { {}, 0, -1, Largest, -Largest - 1, generator.bounded(Q_INT64_C(1) << 45) });
        metadata.durationSeconds = pick(QList<std::optional<double>> {
            {}, qQNaN(), qInf(), -qInf(), -1.0, 0.4, 1e300, 5e-324, generator.bounded(400000.0) });
        metadata.size = metadata.duration = metadata.createdDate = value();
        metadata.resolution
            = pick(QList<QString> { u"1920x1080"_s, u"99999999999999999999x1"_s, u"-1x-1"_s, text(10) });
        metadata.frameRate = pick(QList<QString> { u"29.97"_s, u"."_s, QString(400, u'9'), u"1..2"_s, text(8) });
        metadata.captureTime = pick(QList<QString> { u"14.30.05"_s, u"25.61.61"_s, text(8) });
        const QList<const NamingPatternField *> &fields = fieldCatalogue().allFields();
        for (int i = below(6); i > 0; --i)
            metadata.detectedFields.insert(normalizedFieldName(pick(fields)->token), value());
        return input;
    }
};

// What is wrong with a rendered name, or empty when it is a clean one.
QString nameFault(const QString &name)
{
    if (name.isEmpty())
        return u"empty"_s;
    bool afterWord = false;
    for (const char32_t c : name.toUcs4()) {
        const auto category = QChar::category(c);
        const bool mark = category == QChar::Mark_NonSpacing || category == QChar::Mark_SpacingCombining
            || category == QChar::Mark_Enclosing;
        // Joiners and variation selectors only ever follow a letter, number or mark.
        const bool extender = c == 0x200C || c == 0x200D || (c >= 0xFE00 && c <= 0xFE0F);
        if (extender && !afterWord)
            return u"joiner or variation selector that follows no letter"_s;
        if (!QChar::isLetterOrNumber(c) && !mark && !extender
            && !(c < 0x80 && QStringView(u"-_. ").contains(QChar(static_cast<char16_t>(c)))))
            return u"character outside letters, numbers, marks and -_. (or a lone surrogate)"_s;
        afterWord = QChar::isLetterOrNumber(c) || mark || extender;
    }
    if (u" _."_s.contains(name.front()) || u" _."_s.contains(name.back()) || name.contains(u"__")
        || name.contains(u"  "))
        return u"untrimmed end or doubled separator"_s;
    if (sanitizeName(name, true) != name)
        return u"changes when sanitised again"_s;
    return {};
}

} // namespace

class RenderFuzzTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase_data();
    void initTestCase();
    void applyPattern();
};

// Every test runs once for each seed.
void RenderFuzzTest::initTestCase_data()
{
    QTest::addColumn<quint32>("seed");
    for (const quint32 seed : { 1u, 2u, 3u, 20260903u })
        QTest::newRow(qPrintable(u"seed-"_s + QString::number(seed))) << seed;
}

void RenderFuzzTest::initTestCase()
{
    qputenv("TZ", "UTC");
    tzset();
}

void RenderFuzzTest::applyPattern()
{
    QFETCH_GLOBAL(quint32, seed);

    Fuzzer fuzzer { QRandomGenerator(seed) };
    QString firstFault;
    for (int i = 0; i < IterationsPerSeed && firstFault.isEmpty(); ++i) {
        const PatternRenderInput input = fuzzer.renderInput();
        const QString name = FileRenamer::applyPattern(input);
        if (const QString fault = nameFault(name); !fault.isEmpty())
            firstFault = fault + u": "_s + name + u" from pattern "_s + input.pattern + u" title "_s + input.title;
    }
    QCOMPARE(firstFault, QString());
}

QTEST_GUILESS_MAIN(RenderFuzzTest)

#include "renderfuzztest.moc"
