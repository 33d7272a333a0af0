// The mail, markup and subtitle readers over text: which parts of a message
// count, how bodies decode, what HTML and subtitle markup leave behind.

#include <QTest>

#include "content/contenttext.h"
#include "content/htmltext.h"
#include "content/mailtext.h"
#include "content/subtitlecues.h"

using namespace Qt::StringLiterals;
using namespace Nomly;

namespace {

const QString Plain = u"Please pay invoice INV-2026-0420 by Friday."_s;
const QString Other = u"The delivery arrives on Monday morning."_s;

QString part(const QString &type, const QString &body, const QString &extraHeaders = {})
{
    return u"Content-Type: "_s + type + u"\n"_s + extraHeaders + u"\n"_s + body;
}

QString multipart(const QString &subtype, const QString &boundary, const QStringList &parts, bool closed = true)
{
    QString body = u"Content-Type: multipart/"_s + subtype + u"; boundary=\""_s + boundary
        + u"\"\n\nThis is a preamble that goes.\n"_s;
    for (const QString &section : parts)
        body += u"--"_s + boundary + u"\n"_s + section + u"\n"_s;
    return closed ? body + u"--"_s + boundary + u"--\nAn epilogue that goes too.\n"_s : body;
}

// A multipart tree `levels` deep with one plain part at its bottom.
QString nested(int levels)
{
    QString mail;
    for (int level = 0; level < levels; ++level)
        mail += u"Content-Type: multipart/mixed; boundary=b%1\n\n--b%1\n"_s.arg(level);
    mail += part(u"text/plain"_s, Plain);
    for (int level = levels - 1; level >= 0; --level)
        mail += u"\n--b%1--"_s.arg(level);
    return mail;
}

} // namespace

class MailTextTest : public QObject
{
    Q_OBJECT

private slots:

    void mail_data()
    {
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("text");
        const QString html = u"<p>HTML copy &amp; more of the same invoice</p>"_s;
        QTest::newRow("plain-preferred-over-html") << u"Subject: Invoice\n"_s
                + multipart(u"alternative"_s, u"=_b=="_s, { part(u"text/plain"_s, Plain), part(u"text/html"_s, html) })
                                                   << u"Invoice\n\n"_s + Plain;
        QTest::newRow("two-plain-parts-joined-by-a-blank-line")
            << multipart(u"mixed"_s, u"b"_s, { part(u"text/plain"_s, Plain), part(u"TEXT/PLAIN; x=1"_s, Other) })
            << Plain + u"\n\n"_s + Other;
        QTest::newRow("html-only-without-tags") << multipart(u"mixed"_s, u"b"_s, { part(u"text/html"_s, html) })
                                                << u"HTML copy & more of the same invoice"_s;
        QTest::newRow("nested-multipart-walked") << nested(4) << Plain;
        QTest::newRow("hostile-nesting-not-walked") << nested(20000) << QString();
        QTest::newRow("attachment-adds-nothing")
            << multipart(u"mixed"_s,
                         u"b"_s,
                         { part(u"text/plain"_s, Plain),
                           part(u"text/plain"_s, Other, u"Content-Disposition: ATTACHMENT; filename=a.txt\n"_s) })
            << Plain;
        QTest::newRow("short-part-drops-message-with-subject")
            << u"Subject: A subject long enough to count on its own\n\nHi there"_s << QString();
        QTest::newRow("folded-subject-one-line")
            << u"Subject: Quarterly\r\n budget\r\n\r\n"_s + Plain << u"Quarterly budget\n\n"_s + Plain;
        QTest::newRow("latin-1-q-subject")
            << u"Subject: =?iso-8859-1?q?Caf=E9_order?=\n\n"_s + Plain << u"Café order\n\n"_s + Plain;
        QTest::newRow("unclosed-last-section-lost")
            << multipart(u"mixed"_s, u"b"_s, { part(u"text/plain"_s, Plain), part(u"text/plain"_s, Other) }, false)
            << Plain;
        QTest::newRow("multipart-without-boundary") << u"Content-Type: multipart/mixed\n\n"_s + Plain << QString();
        QTest::newRow("other-type-gives-nothing") << part(u"application/pdf"_s, Plain) << QString();
        QTest::newRow("quoted-printable-utf-8") << part(u"text/plain; charset=\"UTF-8\""_s,
                                                        u"Caf=C3=A9 invoice INV-2026-=\n0420 is due"_s,
                                                        u"Content-Transfer-Encoding: Quoted-Printable\n"_s)
                                                << u"Café invoice INV-2026-0420 is due"_s;
        QTest::newRow("base64-latin-1") << part(u"text/plain; charset=latin1"_s,
                                                u"Q2Fm6SBhdSBsYWl0LCBiaXR0ZSBz\r\nY2j2biB1bmQgZGFua2U="_s,
                                                u"Content-Transfer-Encoding: base64\n"_s)
                                        << u"Café au lait, bitte schön und danke"_s;
        QTest::newRow("bad-base64-left-as-is")
            << part(u"text/plain"_s, Plain, u"Content-Transfer-Encoding: base64\n"_s) << Plain;
        QTest::newRow("no-blank-line-all-body") << u"Subject: "_s + Plain << u"Subject: "_s + Plain;
    }

    void mail()
    {
        QFETCH(QString, message);
        QFETCH(QString, text);
        QCOMPARE(mailText(message).value_or(QString()), text);
    }

    void mailbox_data()
    {
        QTest::addColumn<QString>("mailbox");
        QTest::addColumn<QString>("text");
        const QString from = u"From dana@example.com Tue Apr 21 09:15:00 2026\n"_s;
        QTest::newRow("messages-joined") << from + u"Subject: One\n\n"_s + Plain + u"\n"_s + from + Other
                                         << u"One\n\n"_s + Plain + u"\n\n"_s + Other;
        QTest::newRow("text-before-first-from-dropped") << u"\r\n"_s + from + Plain << Plain;
        QTest::newRow("no-message-counts") << from + u"Hi\n"_s + from + u"Bye\n"_s << QString();
        QString many;
        QStringList firstEight;
        for (int i = 0; i < 12; ++i) {
            many += from + Plain + QString::number(i) + u"\n"_s;
            if (i < 8)
                firstEight.append(Plain + QString::number(i));
        }
        QTest::newRow("first-messages-only") << many << firstEight.join(u"\n\n"_s);
    }

    void mailbox()
    {
        QFETCH(QString, mailbox);
        QFETCH(QString, text);
        QCOMPARE(mailboxText(mailbox).value_or(QString()), text);
    }

    void html_data()
    {
        QTest::addColumn<QString>("html");
        QTest::addColumn<QString>("text");
        QTest::newRow("scripts-styles-comments-gone")
            << u"<STYLE type=x>p{}</style>a<script>var b;</Script><!-- c > e -->d"_s << u"a d"_s;
        QTest::newRow("unclosed-script-kept-later-style-gone")
            << u"<script>a<style>b</style>c<script>d"_s << u"a c d"_s;
        QTest::newRow("line-ending-tags") << u"a<br>b</p>c< BR/>d</h2>e</pre>f"_s << u"a\nb\nc\nd\ne\nf"_s;
        QTest::newRow("other-tags-blank") << u"<b>bold</b>text<>"_s << u"bold text<>"_s;
        QTest::newRow("named-entities-in-order")
            << u"&lt;a&gt; &quot;q&quot; &apos;s&nbsp;x &amp;lt;"_s << u"<a> \"q\" 's x <"_s;
        QTest::newRow("numeric-entities") << u"&#233;t&#xE9;"_s << u"été"_s;
        QTest::newRow("past-unicode-and-surrogate-stay")
            << u"&#x110000; &#55296; &#99999999999;"_s << u"&#x110000; &#55296; &#99999999999;"_s;
    }

    void html()
    {
        QFETCH(QString, html);
        QFETCH(QString, text);
        QCOMPARE(normalizedText(htmlText(html)), text);
    }

    void subtitles_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("input");
        QTest::addColumn<QString>("text");
        QTest::newRow("srt-numbers-timings-tags-gone")
            << u"srt"_s << u"1\r\n00:00:01,000 --> 00:00:02,500\r\n<i>Hello</i> there\r\n\r\n-2\r\n+3\r\nBye"_s
            << u"Hello there\nBye"_s;
        QTest::newRow("vtt-header-note-style-gone")
            << u"srt"_s
            << u"WEBVTT\n\nNOTE first\nsecond note line\n\nSTYLE\n0:00:01.000 --> 0:00:02.000 a:b\nNOTEBOOKS"_s
            << u"second note line\nNOTEBOOKS"_s;
        const QString events = u"[Script Info]\nFormat: a, b\n[Events]\n"_s;
        QTest::newRow("ass-text-field-with-commas")
            << u"ass"_s
            << events + u"Dialogue: 0,0:00:01.00,0:00:02.00,Default,,0,0,0,,{\\i1}Hi,{\\b1} you{\\b0}\\Nnext\\hline\n"_s
            << u"Hi, you\nnext line"_s;
        QTest::newRow("ass-format-line-counts-fields")
            << u"ass"_s << u"[Events]\nFormat: Start, End, Text\nDialogue: 1,2,Say, hello\nComment: 1,2,no"_s
            << u"Say, hello"_s;
    }

    void subtitles()
    {
        QFETCH(QString, kind);
        QFETCH(QString, input);
        QFETCH(QString, text);
        QCOMPARE(kind == u"ass" ? styledSubtitleText(input) : cleanedSubtitleCues(input), text);
    }
};

QTEST_GUILESS_MAIN(MailTextTest)
#include "mailtexttest.moc"
