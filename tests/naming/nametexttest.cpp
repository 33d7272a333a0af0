#include <QTest>
#include <optional>

#include "naming/nametext.h"

using namespace Nomly;
using namespace Qt::StringLiterals;

using Separator = std::optional<NamingPatternSeparator>;

class NameTextTest : public QObject
{
    Q_OBJECT

private slots:
    void sanitize_data();
    void sanitize();
    void splitWords_data();
    void splitWords();
    void renderCase_data();
    void renderCase();
    void normalizeTitle_data();
    void normalizeTitle();
};

void NameTextTest::sanitize_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("keepSpaces");
    QTest::addColumn<QString>("expected");

    QTest::newRow("forbidden-characters-removed") << u"a/b\\c:d*e?f\"g<h>i|j"_s << true << u"abcdefghij"_s;
    QTest::newRow("punctuation-removed") << u"Tom's [draft] & notes+v1, final"_s << true
                                         << u"Toms draft notesv1 final"_s;
    QTest::newRow("control-characters-removed") << u"a\u0001b\u0007c\u007fd"_s << true << u"abcd"_s;
    QTest::newRow("tab-and-newline-are-whitespace") << u"line1\tline2\nline3"_s << true << u"line1 line2 line3"_s;
    QTest::newRow("whitespace-becomes-underscore") << u"line1\t line2\nline3"_s << false << u"line1_line2_line3"_s;
    QTest::newRow("emoji-removed-underscores-collapse") << u"Trip \U0001F389 photos"_s << false << u"Trip_photos"_s;
    QTest::newRow("accented-letters-survive") << u"Café résumé naïve"_s << true << u"Café résumé naïve"_s;
    QTest::newRow("decomposed-accent-survives") << u"Cafe\u0301 menu"_s << true << u"Cafe\u0301 menu"_s;
    QTest::newRow("cjk-survives") << u"東京 写真 2026"_s << false << u"東京_写真_2026"_s;
    QTest::newRow("supplementary-letters-survive") << u"\U0001D400bc"_s << true << u"\U0001D400bc"_s;
    QTest::newRow("hyphen-underscore-dot-kept") << u"a-b_c.d"_s << false << u"a-b_c.d"_s;
    QTest::newRow("underscore-left-by-removal-collapses") << u"a_&_b"_s << true << u"a_b"_s;
    QTest::newRow("hyphen-pair-not-collapsed") << u"a--b"_s << true << u"a--b"_s;
    QTest::newRow("space-runs-collapse") << u"a   b    c"_s << true << u"a b c"_s;
    QTest::newRow("ends-trimmed-of-space-underscore-dot") << u" _. name ._ "_s << true << u"name"_s;
    QTest::newRow("trailing-hyphen-stays") << u"-name-"_s << true << u"-name-"_s;
    QTest::newRow("lone-surrogate-removed") << (u"a"_s + QChar(0xd800) + u"b"_s) << true << u"ab"_s;
    QTest::newRow("stray-mark-removed") << u"\u0301abc"_s << true << u"abc"_s;
    QTest::newRow("non-joiner-inside-word-kept") << u"می\u200Cخواهم"_s << true << u"می\u200Cخواهم"_s;
    QTest::newRow("joiner-in-conjunct-kept") << u"\u0915\u094D\u200D\u0937"_s << true << u"\u0915\u094D\u200D\u0937"_s;
    QTest::newRow("emoji-joiner-goes-with-emoji") << u"a \U0001F468\u200D\U0001F4BB b"_s << true << u"a b"_s;
}

void NameTextTest::sanitize()
{
    QFETCH(QString, text);
    QFETCH(bool, keepSpaces);
    QFETCH(QString, expected);

    QCOMPARE(sanitizeName(text, keepSpaces), expected);
}

void NameTextTest::splitWords_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("separators-split") << u"my_file.v2-final"_s
                                      << QStringList { u"my"_s, u"file"_s, u"v2"_s, u"final"_s };
    QTest::newRow("digits-stay-in-word") << u"v2beta"_s << QStringList { u"v2beta"_s };
    QTest::newRow("dot-splits-a-version") << u"v2.5"_s << QStringList { u"v2"_s, u"5"_s };
    QTest::newRow("no-split-at-case-change") << u"fileName"_s << QStringList { u"fileName"_s };
    QTest::newRow("punctuation-is-boundary-and-lost")
        << u"hello, world! (draft)"_s << QStringList { u"hello"_s, u"world"_s, u"draft"_s };
    QTest::newRow("apostrophe-splits") << u"O'Reilly"_s << QStringList { u"O"_s, u"Reilly"_s };
    QTest::newRow("separators-only-give-no-words") << u"-_. ,"_s << QStringList();
}

void NameTextTest::splitWords()
{
    QFETCH(QString, text);
    QFETCH(QStringList, expected);

    QCOMPARE(Nomly::splitWords(text), expected);
}

void NameTextTest::renderCase_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<Separator>("separator");
    QTest::addColumn<NamingCaseStyle>("style");
    QTest::addColumn<QString>("expected");

    const QString name = u"my FILE name"_s;
    const Separator habit;

    QTest::newRow("title") << u"quarterly report"_s << habit << NamingCaseStyle::Title << u"Quarterly Report"_s;
    QTest::newRow("title-acronym-survives")
        << u"NASA launch plan"_s << habit << NamingCaseStyle::Title << u"NASA Launch Plan"_s;
    QTest::newRow("title-all-capitals-lose-acronyms")
        << u"NASA LAUNCH"_s << habit << NamingCaseStyle::Title << u"Nasa Launch"_s;
    QTest::newRow("title-single-capital-is-no-acronym")
        << u"plan B2 ready"_s << habit << NamingCaseStyle::Title << u"Plan B2 Ready"_s;
    QTest::newRow("title-mixed-case-word-capitalised")
        << u"iPhone review"_s << habit << NamingCaseStyle::Title << u"Iphone Review"_s;
    QTest::newRow("title-with-underscore")
        << u"my file"_s << Separator(NamingPatternSeparator::Underscore) << NamingCaseStyle::Title << u"My_File"_s;
    QTest::newRow("sentence") << name << habit << NamingCaseStyle::Sentence << u"My file name"_s;
    QTest::newRow("upper") << name << habit << NamingCaseStyle::Upper << u"MY FILE NAME"_s;
    QTest::newRow("upper-full-case-mapping") << u"straße"_s << habit << NamingCaseStyle::Upper << u"STRASSE"_s;
    QTest::newRow("snake") << name << habit << NamingCaseStyle::Snake << u"my_file_name"_s;
    QTest::newRow("kebab") << name << habit << NamingCaseStyle::Kebab << u"my-file-name"_s;
    QTest::newRow("constant") << name << habit << NamingCaseStyle::Constant << u"MY_FILE_NAME"_s;
    QTest::newRow("camel-lowercases-acronym-first")
        << u"HTTP server log"_s << habit << NamingCaseStyle::Camel << u"httpServerLog"_s;
    QTest::newRow("camel-ignores-separator")
        << name << Separator(NamingPatternSeparator::Hyphen) << NamingCaseStyle::Camel << u"myFileName"_s;
    QTest::newRow("snake-with-hyphen") << u"my file"_s << Separator(NamingPatternSeparator::Hyphen)
                                       << NamingCaseStyle::Snake << u"my-file"_s;
    QTest::newRow("separators-become-word-breaks")
        << u"my_file.v2-final"_s << habit << NamingCaseStyle::Snake << u"my_file_v2_final"_s;
    QTest::newRow("punctuation-lost") << u"Tom's notes!"_s << habit << NamingCaseStyle::Kebab << u"tom-s-notes"_s;
    QTest::newRow("no-words-give-empty") << u"!!! ???"_s << habit << NamingCaseStyle::Title << QString();
}

void NameTextTest::renderCase()
{
    QFETCH(QString, text);
    QFETCH(Separator, separator);
    QFETCH(NamingCaseStyle, style);
    QFETCH(QString, expected);

    QCOMPARE(Nomly::renderCase(text, separator, style), expected);
}

void NameTextTest::normalizeTitle_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");

    QTest::newRow("all-capitals-become-title-case") << u"REPORT FINAL"_s << u"Report Final"_s;
    QTest::newRow("mixed-case-word-capitalised") << u"iPhone review"_s << u"Iphone Review"_s;
    QTest::newRow("text-between-words-kept") << u"budget - q3, draft"_s << u"Budget - Q3, Draft"_s;
    QTest::newRow("underscores-kept") << u"hello_world"_s << u"Hello_World"_s;
    QTest::newRow("all-capitals-with-hyphen") << u"ALL-CAPS 2026"_s << u"All-Caps 2026"_s;
    QTest::newRow("accented-capitals-lowered") << u"ÉTÉ À PARIS"_s << u"Été À Paris"_s;
    QTest::newRow("empty-stays-empty") << QString() << QString();
}

void NameTextTest::normalizeTitle()
{
    QFETCH(QString, text);
    QFETCH(QString, expected);

    QCOMPARE(Nomly::normalizeTitle(text), expected);
}

QTEST_GUILESS_MAIN(NameTextTest)

#include "nametexttest.moc"
