// The text shaping every reader shares, at the edges of its limits: the
// normaliser, the spread of pages, the PDF excerpt form, the CSV summary,
// subtitle cues, RTF and the encoding ladder.

#include <QTest>

#include "content/contenttext.h"
#include "content/delimitedsummary.h"
#include "content/pdftext.h"
#include "content/rtftext.h"
#include "content/subtitlecues.h"
#include "content/textfilereader.h"

using namespace Qt::StringLiterals;
using namespace Nomly;

using IntList = QList<int>;

class ContentTextTest : public QObject
{
    Q_OBJECT

private slots:

    void normalizes_data()
    {
        QTest::addColumn<QString>("input");
        QTest::addColumn<QString>("expected");
        QTest::newRow("line ends and tabs") << u"a\r\nb\rc\td"_s << u"a\nb\nc d"_s;
        QTest::newRow("runs inside lines") << u"  one   two \n three "_s << u"one two\nthree"_s;
        QTest::newRow("blank lines capped at one") << u"a\n\n\n\n\nb"_s << u"a\n\nb"_s;
        QTest::newRow("blank-only lines count as blank") << u"a\n \n\t\n  \nb"_s << u"a\n\nb"_s;
        QTest::newRow("unicode separators") << u"a\u2028b\u00A0c"_s << u"a\nb c"_s;
        QTest::newRow("nothing") << u" \n\t "_s << QString();
    }

    void normalizes()
    {
        QFETCH(QString, input);
        QFETCH(QString, expected);
        QCOMPARE(normalizedText(input), expected);
    }

    void readableAtTwentyCharacters()
    {
        QVERIFY(!isReadableText(u"abcd efgh ijkl mnop qrs"_s)); // 19 letters
        QVERIFY(isReadableText(u"abcd efgh ijkl mnop qrst"_s)); // 20
        QCOMPARE(cutText(u"abc  def"_s, 5), u"abc"_s);
        QCOMPARE(cutText(u"abc"_s, 3), u"abc"_s);
    }

    void evenlySpaced_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("wanted");
        QTest::addColumn<IntList>("expected");
        QTest::newRow("none wanted") << 5 << 0 << IntList {};
        QTest::newRow("no pages") << 0 << 3 << IntList {};
        QTest::newRow("all when enough") << 5 << 5 << IntList { 0, 1, 2, 3, 4 };
        QTest::newRow("halves round away from zero") << 10 << 3 << IntList { 0, 5, 9 };
        QTest::newRow("one page") << 1 << 3 << IntList { 0 };
        QTest::newRow("spread") << 100 << 5 << IntList { 0, 25, 50, 74, 99 };
    }

    void evenlySpaced()
    {
        QFETCH(int, count);
        QFETCH(int, wanted);
        QFETCH(IntList, expected);
        QCOMPARE(evenlySpacedIndices(count, wanted), expected);
    }

    void pdfPagesRead_data()
    {
        QTest::addColumn<int>("pageCount");
        QTest::addColumn<IntList>("expected");
        QTest::newRow("12 pages: all") << 12 << IntList { 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11 };
        QTest::newRow("13 pages: long") << 13 << IntList { 0, 1, 2, 3, 4, 5, 6, 7, 9, 10, 11, 12 };
        QTest::newRow("40 pages") << 40 << IntList { 0, 1, 2, 3, 4, 9, 14, 19, 24, 29, 34, 39 };
        QTest::newRow("100 pages") << 100 << IntList { 0, 1, 2, 3, 4, 18, 31, 45, 58, 72, 85, 99 };
    }

    void pdfPagesRead()
    {
        QFETCH(int, pageCount);
        QFETCH(IntList, expected);
        QCOMPARE(pdfTextPageIndices(pageCount), expected);
    }

    // Pages of a short PDF are passed whole while they fit; past the limit,
    // or in a long PDF, each page gets its share under a head line.
    void pdfExcerpts_data()
    {
        QTest::addColumn<int>("pageCount");
        QTest::addColumn<int>("pagesWithText");
        QTest::addColumn<int>("charactersPerPage");
        QTest::addColumn<QString>("head");
        QTest::addColumn<int>("longestPage");
        QTest::newRow("short and fits") << 12 << 12 << 900 << u"Page 1 of 12:"_s << 900;
        QTest::newRow("short, 13,000 characters") << 12 << 12 << 1084 << u"PDF text excerpts from 12 pages."_s << 1000;
        QTest::newRow("long, all yielded") << 100 << 12 << 50 << u"PDF text excerpts from 12 of 100 pages."_s << 50;
        QTest::newRow("20 pages of text share 12,000")
            << 30 << 20 << 800 << u"PDF text excerpts from 20 of 30 pages."_s << 600;
        QTest::newRow("24 pages of text share 12,000")
            << 24 << 24 << 800 << u"PDF text excerpts from 24 of 24 pages."_s << 500;
        QTest::newRow("25 pages of text get 500 each")
            << 25 << 25 << 800 << u"PDF text excerpts from 25 of 25 pages."_s << 500;
    }

    void pdfExcerpts()
    {
        QFETCH(int, pageCount);
        QFETCH(int, pagesWithText);
        QFETCH(int, charactersPerPage);
        QFETCH(QString, head);
        QFETCH(int, longestPage);
        QList<PdfPageText> pages;
        for (int i = 0; i < pagesWithText; ++i)
            pages.append({ i, QString(charactersPerPage, QChar(u'a' + i % 26)) });
        const QString text = assembledPdfText(pageCount, pages).value();
        QVERIFY2(text.startsWith(head), qPrintable(text.left(60)));
        QVERIFY(text.size() <= 12000);
        int longest = 0;
        for (const QString &line : text.split(u'\n'))
            longest = std::max(longest, int(line.size()));
        QCOMPARE(longest, longestPage);
        QVERIFY(!assembledPdfText(pageCount, {}));
    }

    // The page headings and the head line come out again; a line of a page
    // that only starts like a heading stays.
    void pdfHeadingsTakenOut_data()
    {
        QTest::addColumn<int>("pageCount");
        QTest::newRow("short, pages whole") << 2;
        QTest::newRow("long, excerpts under a head line") << 40;
    }

    void pdfHeadingsTakenOut()
    {
        QFETCH(int, pageCount);
        const QList<PdfPageText> pages { { 0, u"Text of page 1.\nPage 9 of 12: the chart"_s },
                                         { 1, u"Text of page 2."_s } };
        QCOMPARE(pdfTextWithoutHeadings(assembledPdfText(pageCount, pages).value()),
                 u"Text of page 1.\nPage 9 of 12: the chart\n\nText of page 2."_s);
    }

    void csvSummary_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        QTest::newRow("quoted comma and doubled quote")
            << u"name,note\r\n\"Smith, J\",\"said \"\"hi\"\"\"\n\nlast,row\n"_s
            << u"CSV file summary\nRows: 3\nColumns: 2\nHeaders: name, note\nSample rows:\nSmith, J | said \"hi\"\n"
               u"\nlast | row"_s;
        QTest::newRow("one line") << u"a,b,c\n"_s << u"CSV file summary\nRows: 1\nColumns: 3\nHeaders: a, b, c"_s;
    }

    void csvSummary()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QCOMPARE(delimitedSummary(text, u',', u"csv"_s).value(), expected);
        QVERIFY(!delimitedSummary(QString(), u',', u"csv"_s));
    }

    void subtitleCues()
    {
        const QString srt = u"1\r\n00:00:01,000 --> 00:00:02,500\r\n<i>Hello</i> there\r\n\r\n2\r\n"
                            u"00:00:03.000 --> 00:00:04.000 align:start\r\nGeneral Kenobi\r\n"_s;
        QCOMPARE(cleanedSubtitleCues(srt), u"Hello there\nGeneral Kenobi"_s);
        const QString vtt = u"WEBVTT\n\nNOTE made by hand\nkept note line\n\nSTYLE\n::cue {}\n\n-3\nWords"_s;
        QCOMPARE(cleanedSubtitleCues(vtt), u"kept note line\n::cue {}\nWords"_s);
    }

    void rtf_data()
    {
        QTest::addColumn<QByteArray>("rtf");
        QTest::addColumn<QString>("expected");
        QTest::newRow("tables skipped, paragraphs kept") << QByteArray(
            R"({\rtf1\ansi{\fonttbl{\f0 Helvetica;}}{\colortbl;\red0\green0\blue0;}\f0 Quarterly report\par for the board of directors})")
                                                         << u"Quarterly report\nfor the board of directors"_s;
        QTest::newRow("escapes") << QByteArray(R"({\rtf1\ansi Caf\'e9 \u8364? costs \{42\} in the caf\'e9 today})")
                                 << u"Café € costs {42} in the café today"_s;
        QTest::newRow("binary data holds braces") << QByteArray("{\\rtf1 Twenty characters of text\\bin2 }{ continue}")
                                                  << u"Twenty characters of text continue"_s;
        QTest::newRow("ignorable destination")
            << QByteArray(R"({\rtf1{\*\generator Writer;}Twenty characters of body text})")
            << u"Twenty characters of body text"_s;
    }

    void rtf()
    {
        QFETCH(QByteArray, rtf);
        QFETCH(QString, expected);
        QCOMPARE(rtfText(rtf).value_or(u"<none>"_s), expected);
    }

    void rtfNeedsItsHeaderAndText()
    {
        QVERIFY(!rtfText("plain text that is long enough to count"));
        QVERIFY(!rtfText(R"({\rtf1 short})"));
    }

    void decodes_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<bool>("complete");
        QTest::addColumn<QString>("expected");
        QTest::newRow("utf-8") << QByteArray("caf\xc3\xa9") << true << u"café"_s;
        QTest::newRow("utf-8 bom dropped") << QByteArray("\xef\xbb\xbfhi") << true << u"hi"_s;
        QTest::newRow("utf-16le bom") << QByteArray("\xff\xfeh\0i\0", 6) << true << u"hi"_s;
        QTest::newRow("utf-16be bom") << QByteArray("\xfe\xff\0h\0i", 6) << true << u"hi"_s;
        QTest::newRow("utf-16le without bom") << QByteArray("N\0o\0t\0e\0s\0", 10) << true << u"Notes"_s;
        QTest::newRow("utf-16be without bom") << QByteArray("\0N\0o\0t\0e\0 \0\xe9", 12) << true << u"Note é"_s;
        QTest::newRow("utf-16le without bom cut mid-character") << QByteArray("h\0i\0!", 5) << false << u"hi"_s;
        QTest::newRow("a stray nul keeps utf-8")
            << QByteArray("caf\xc3\xa9 au lait\0 ok", 17) << true << u"café au lait\0 ok"_s;
        QTest::newRow("latin-1") << QByteArray("caf\xe9") << true << u"café"_s;
        QTest::newRow("windows quotes") << QByteArray("\x93quoted\x94") << true << u"\u201Cquoted\u201D"_s;
        QTest::newRow("cut inside a sequence") << QByteArray("ab\xc3") << false << u"ab"_s;
        QTest::newRow("whole file ending inside a sequence") << QByteArray("ab\xc3") << true << u"ab\u00C3"_s;
    }

    void decodes()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(bool, complete);
        QFETCH(QString, expected);
        QCOMPARE(decodeText(bytes, complete).value_or(u"<none>"_s), expected);
    }
};

QTEST_APPLESS_MAIN(ContentTextTest)
#include "contenttexttest.moc"
