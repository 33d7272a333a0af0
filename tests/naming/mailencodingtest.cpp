// How mail encodes its headers: encoded words in each charset mail names,
// quoted-printable, and the header block with folds and repeats.

#include <QTest>

#include "naming/mailencoding.h"

using namespace Qt::StringLiterals;
using namespace Nomly;

class MailEncodingTest : public QObject
{
    Q_OBJECT

private slots:

    void headerWords_data()
    {
        QTest::addColumn<QString>("header");
        QTest::addColumn<QString>("decoded");
        QTest::newRow("utf-8-base64") << u"=?utf-8?b?UmVjaG51bmcgZsO8ciBNw6Ryeg==?="_s << u"Rechnung für März"_s;
        QTest::newRow("latin-1-q-with-underscores") << u"=?ISO-8859-1?Q?Caf=E9_au_lait?="_s << u"Café au lait"_s;
        QTest::newRow("latin-1-base64") << u"=?latin1?B?Q2Fm6SBhdSBsYWl0LCBiaXR0ZQ==?="_s << u"Café au lait, bitte"_s;
        QTest::newRow("text-around-and-blank-between-words-stay")
            << u"Re: =?utf-8?q?na=C3=AFve?= =?utf-8?q?plan?= (2)"_s << u"Re: naïve plan (2)"_s;
        QTest::newRow("unknown-charset-reads-utf-8") << u"=?x-unknown?q?=C3=A9t=C3=A9?="_s << u"été"_s;
        QTest::newRow("windows-1252-euro") << u"=?cp1252?q?=80_5?="_s << u"€ 5"_s;
        QTest::newRow("utf-16-byte-order-mark") << u"=?utf-16?b?//5IAGkA?="_s << u"Hi"_s;
        QTest::newRow("utf-16-big-endian-without-mark") << u"=?utf16?b?AEgAaQ==?="_s << u"Hi"_s;
        QTest::newRow("bad-base64-stays") << u"=?utf-8?b?@@@@?="_s << u"=?utf-8?b?@@@@?="_s;
        QTest::newRow("invalid-utf-8-stays") << u"=?utf-8?q?=FF?="_s << u"=?utf-8?q?=FF?="_s;
        QTest::newRow("ascii-high-byte-stays") << u"=?us-ascii?q?=E9?="_s << u"=?us-ascii?q?=E9?="_s;
        QTest::newRow("unknown-encoding-letter-stays") << u"=?utf-8?x?abc?="_s << u"=?utf-8?x?abc?="_s;
    }

    void headerWords()
    {
        QFETCH(QString, header);
        QFETCH(QString, decoded);
        QCOMPARE(MailEncoding::decodedHeaderWords(header), decoded);
    }

    void quotedPrintable_data()
    {
        QTest::addColumn<QByteArray>("encoded");
        QTest::addColumn<QByteArray>("decoded");
        QTest::newRow("soft-break-lf") << QByteArray("Invoice=\n due") << QByteArray("Invoice due");
        QTest::newRow("soft-break-crlf") << QByteArray("Invoice=\r\n due") << QByteArray("Invoice due");
        QTest::newRow("hex-in-either-case") << QByteArray("=c3=A9") << QByteArray("\xc3\xa9");
        QTest::newRow("lone-equals-stands") << QByteArray("a=b =G1 =4") << QByteArray("a=b =G1 =4");
    }

    void quotedPrintable()
    {
        QFETCH(QByteArray, encoded);
        QFETCH(QByteArray, decoded);
        QCOMPARE(MailEncoding::quotedPrintableDecoded(encoded), decoded);
    }

    void headerBlock_data()
    {
        QTest::addColumn<QString>("block");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("value");
        QTest::newRow("folded-with-blank") << u"Subject: Re: Fwd:\n Budget"_s << u"subject"_s << u"Re: Fwd: Budget"_s;
        QTest::newRow("folded-with-tab") << u"To: a@example.com,\n\tb@example.com"_s << u"to"_s
                                         << u"a@example.com, b@example.com"_s;
        QTest::newRow("last-of-two-stands") << u"Subject: one\nSubject: two"_s << u"subject"_s << u"two"_s;
        QTest::newRow("name-trimmed-lower-case") << u"noise line\nX-Tag\t: v:1 "_s << u"x-tag"_s << u"v:1"_s;
        QTest::newRow("empty-name-skipped") << u": orphan"_s << QString() << QString();
        QTest::newRow("blank-first-line-is-no-fold") << u" Date: today"_s << u"date"_s << u"today"_s;
    }

    void headerBlock()
    {
        QFETCH(QString, block);
        QFETCH(QString, name);
        QFETCH(QString, value);
        QCOMPARE(MailEncoding::parsedHeaders(block).value(name), value);
    }
};

QTEST_GUILESS_MAIN(MailEncodingTest)
#include "mailencodingtest.moc"
