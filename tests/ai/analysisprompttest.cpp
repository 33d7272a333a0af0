// The prompt a local model reads, and the reading of what it answers.

#include <QLocale>
#include <QTest>
#include <limits>

#include "ai/analysisprompt.h"

using namespace Qt::StringLiterals;
using namespace Nomly;

namespace {

const QString NoMarkdown = u"\nNo markdown. No extra keys. Use null when a top-level field doesn't apply."_s;
const QString InferLanguage
    = u"\nWhen no explicit title language is requested, infer the predominant natural language from the file content, "
      "transcript, visible text, and filename metadata. Write the \"title\" field in that same language using natural "
      "wording. Do not translate non-English source content into English unless English is the predominant source "
      "language or the only reliable source wording is English. Keep exact proper nouns, brand names, identifiers, "
      "product names, and source text in their original language or script."_s;
// The openings of the guidance sentences for pictures and for videos.
const QString ScreenshotGuidance = u" For screenshots, identify apps/products from visible UI text"_s;
const QString VideoGuidance = u" For videos, use exact performer, song, band, celebrity"_s;
const QString FullTemplate
    = uR"({"title":"2-6 words","description":"brief summary","tags":["tag1","tag2","tag3"],)"
      uR"("type":"receipt|invoice|photo|screenshot|document|contract|design|code|video|audio|other",)"
      uR"("vendor":"company name if receipt/invoice, else null",)"
      uR"("amount":"amount with currency e.g. $42.99 if receipt/invoice, else null"})"_s;

// A plain text file: no pictures, no guidance, no language asked for.
AnalyzeRequest textRequest()
{
    AnalyzeRequest request;
    request.contentKind = u"text"_s;
    request.filename = u"notes.txt"_s;
    request.mimeType = u"text/plain"_s;
    return request;
}

// The part of `text` after `from` and before `to`, or the rest when `to` is
// empty; a null string when `from` isn't there.
QString between(const QString &text, const QString &from, const QString &to = {})
{
    const qsizetype start = text.indexOf(from);
    if (start < 0)
        return {};
    const qsizetype begin = start + from.size();
    const qsizetype end = to.isEmpty() ? text.size() : text.indexOf(to, begin);
    return end < 0 ? QString() : text.mid(begin, end - begin);
}

} // namespace

class AnalysisPromptTest : public QObject
{
    Q_OBJECT

private slots:

    void initTestCase() { QLocale::setDefault(QLocale(u"fr_FR"_s)); }

    // Every piece once and in its place, for a document that carries a page
    // picture; the rows below pin the wording of each piece.
    void pieceOrder()
    {
        AnalyzeRequest request;
        request.contentKind = u"document"_s;
        request.filename = u"Invoice 2291.pdf"_s;
        request.originalExtension = u"pdf"_s;
        request.mimeType = u"application/pdf"_s;
        request.imageMimeType = u"image/jpeg"_s;
        request.images = QList<QByteArray> { QByteArray("jpeg") };
        request.pageCount = 3;
        request.previewPageNumbers = QList<int> { 1, 2 };
        request.text = u"  Invoice 2291\nTotal 42.99 EUR \n"_s;
        request.requestedFieldKeys = QStringList { u"{Invoice Number}"_s };
        request.language = u" de "_s;
        request.rejectedTitles = QStringList { u"Invoice"_s, u"Bill"_s };
        request.renamePromptOverride = u" Prefer the vendor first. "_s;
        request.tagPromptOverride = u"Use German tags.\n"_s;
        const QString prompt = analysisPrompt(request);

        const QStringList pieces {
            u"for this document.\nFilename: Invoice 2291.pdf\nExtension: pdf\nMIME type: application/pdf\n"
            "Uploaded image MIME type: image/jpeg\nPage count: 3\nPreview pages: 1, 2\n\nExtracted text:\n"
            "Invoice 2291\nTotal 42.99 EUR\nRequested naming fields"_s,
            u"\ninvoice_number: Invoice Number - Invoice or bill number.\n\nReturn exactly one"_s,
            FullTemplate.chopped(1) + u",\"fields\":{"_s,
            u"only these requested snake_case keys: invoice_number."_s,
            NoMarkdown,
            ScreenshotGuidance,
            u"\nThe \"title\" field MUST be written in German."_s,
            u"\nAvoid these previously rejected titles: Invoice, Bill."_s,
            u"\n\nAdditional instructions:\nPrefer the vendor first.\nUse German tags."_s,
        };
        qsizetype at = 0;
        for (const QString &piece : pieces) {
            QVERIFY2(prompt.count(piece) == 1 && prompt.indexOf(piece) >= at, qPrintable(piece));
            at = prompt.indexOf(piece) + piece.size();
        }
        QCOMPARE(at, prompt.size());
    }

    void outputFlags_data()
    {
        QTest::addColumn<std::optional<bool>>("includeDescription");
        QTest::addColumn<std::optional<bool>>("includeTags");
        QTest::addColumn<QString>("opening");
        QTest::addColumn<QString>("jsonTemplate");
        QTest::addColumn<QString>("sentences");

        const QString title = u"{\"title\":\"2-6 words\","_s;
        const QString rest = FullTemplate.sliced(FullTemplate.indexOf(u"\"type\""_s));
        const QString colour = u" Avoid color-name tags unless color identifies a product or asset."_s;
        QTest::newRow("absent-flags-want-both")
            << std::optional<bool>() << std::optional<bool>()
            << u"Create a short filename title, a brief description, Finder tags, structured naming metadata for this "
               "text file."_s
            << FullTemplate << colour;
        QTest::newRow("description-only")
            << std::optional<bool>() << std::optional<bool>(false)
            << u"Create a short filename title, a brief description, structured naming metadata for this text file."_s
            << title + u"\"description\":\"brief summary\","_s + rest << u" Do not analyze or return tags."_s;
        QTest::newRow("tags-only") << std::optional<bool>(false) << std::optional<bool>()
                                   << u"Create a short filename title, Finder tags, structured naming metadata for "
                                      "this text file."_s
                                   << title + u"\"tags\":[\"tag1\",\"tag2\",\"tag3\"],"_s + rest
                                   << u" Do not analyze or return a description."_s + colour;
        QTest::newRow("neither") << std::optional<bool>(false) << std::optional<bool>(false)
                                 << u"Create a short filename title, structured naming metadata for this text file."_s
                                 << title + rest << u" Do not analyze or return description or tags."_s;
    }

    void outputFlags()
    {
        QFETCH(std::optional<bool>, includeDescription);
        QFETCH(std::optional<bool>, includeTags);
        QFETCH(QString, opening);
        QFETCH(QString, jsonTemplate);
        QFETCH(QString, sentences);

        AnalyzeRequest request = textRequest();
        request.includeDescription = includeDescription;
        request.includeTags = includeTags;
        request.tagPromptOverride = u"Tags in lower case."_s;
        const QString prompt = analysisPrompt(request);

        QCOMPARE(prompt.section(u'\n', 0, 0), opening);
        QCOMPARE(between(prompt, u"with these fields:\n"_s, NoMarkdown), jsonTemplate);
        QCOMPARE(between(prompt, NoMarkdown, InferLanguage), sentences);
        // The tag instructions only count when tags are asked for.
        QCOMPARE(prompt.contains(u"Tags in lower case."_s), request.wantsTags());
    }

    void requestedFields_data()
    {
        QTest::addColumn<QStringList>("keys");
        QTest::addColumn<QString>("lines");
        QTest::addColumn<QString>("ruleKeys");

        QTest::newRow("braces-hyphen-and-case-normalised")
            << QStringList { u"{Patient-Name}"_s }
            << u"patient_name: Patient Name - Patient name from medical documents."_s << u"patient_name"_s;
        QTest::newRow("dots-and-blanks-normalised")
            << QStringList { u"  {invoice.number} "_s } << u"invoice_number: Invoice Number - Invoice or bill number."_s
            << u"invoice_number"_s;
        QTest::newRow("alias-becomes-field-name") << QStringList { u"{Vendor-Name}"_s, u"Receipt Date"_s }
                                                  << u"vendor: Vendor Name - Seller, issuer, merchant, or payee.\n"
                                                     "invoice_date: Invoice Date - Invoice, receipt, or bill date."_s
                                                  << u"vendor, invoice_date"_s;
        QTest::newRow("unknown-key-kept-in-list-without-line")
            << QStringList { u"{Mystery Thing}"_s, u"framework"_s }
            << u"framework: Framework - Framework, library, or tool."_s << u"mystery_thing, framework"_s;
        QTest::newRow("empty-keys-dropped")
            << QStringList { u"{ }"_s, u""_s, u"framework"_s }
            << u"framework: Framework - Framework, library, or tool."_s << u"framework"_s;
        QTest::newRow("unknown-key-alone-gives-nothing")
            << QStringList { u"{Mystery Thing}"_s } << QString() << QString();
    }

    void requestedFields()
    {
        QFETCH(QStringList, keys);
        QFETCH(QString, lines);
        QFETCH(QString, ruleKeys);

        AnalyzeRequest request = textRequest();
        request.requestedFieldKeys = keys;
        const QString prompt = analysisPrompt(request);

        const QString blockHead = u"\nRequested naming fields to extract when visible/certain:\n"_s;
        const QString ruleHead = u"only these requested snake_case keys: "_s;
        QCOMPARE(between(prompt, blockHead, u"\n\nReturn exactly one"_s), lines);
        QCOMPARE(between(prompt, ruleHead, u". Omit uncertain or inapplicable fields."_s), ruleKeys);
        QCOMPARE(prompt.contains(u"\"fields\":{"_s), !lines.isEmpty());
        QCOMPARE(prompt.contains(blockHead), !lines.isEmpty());
        QCOMPARE(prompt.contains(ruleHead), !lines.isEmpty());
    }

    void languageSentence_data()
    {
        QTest::addColumn<std::optional<QString>>("language");
        QTest::addColumn<QString>("sentence");

        auto required = [](const QString &name) -> QString {
            return u"\nThe \"title\" field MUST be written in "_s + name + u". Use natural "_s + name
                + u" wording, not English, unless the subject is a proper noun or brand name."_s;
        };
        QTest::newRow("absent-infers") << std::optional<QString>() << InferLanguage;
        QTest::newRow("blank-infers") << std::optional<QString>(u" \n "_s) << InferLanguage;
        QTest::newRow("code-named-in-english") << std::optional<QString>(u"ja"_s) << required(u"Japanese"_s);
        QTest::newRow("auto-follows-locale") << std::optional<QString>(u"auto"_s) << required(u"French"_s);
        QTest::newRow("unknown-code-stands-for-itself") << std::optional<QString>(u"qqq"_s) << required(u"qqq"_s);
    }

    void languageSentence()
    {
        QFETCH(std::optional<QString>, language);
        QFETCH(QString, sentence);

        AnalyzeRequest request = textRequest();
        request.language = language;
        QVERIFY(analysisPrompt(request).endsWith(sentence));
    }

    void extractedText_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("section");

        const QString head = u"\n\nExtracted text:\n"_s;
        QTest::newRow("trimmed") << u"\n  Meeting notes \t\n"_s << head + u"Meeting notes"_s;
        QTest::newRow("3000-kept-whole") << QString(3000, u'a') << head + QString(3000, u'a');
        QTest::newRow("3001-cut-to-3000") << QString(3001, u'a') << head + QString(3000, u'a') + u"\n[truncated]"_s;
        QTest::newRow("length-counted-after-trim")
            << u"   "_s + QString(3000, u'b') + u"   "_s << head + QString(3000, u'b');
        QTest::newRow("blank-gives-no-section") << u" \n\t "_s << QString();
    }

    void extractedText()
    {
        QFETCH(QString, text);
        QFETCH(QString, section);

        AnalyzeRequest request = textRequest();
        request.text = text;
        const QString prompt = analysisPrompt(request);
        QCOMPARE(between(prompt, u"MIME type: text/plain"_s, u"\n\nReturn exactly one"_s), section);
    }

    void metadataBlock_data()
    {
        QTest::addColumn<std::optional<double>>("duration");
        QTest::addColumn<QList<double>>("timestamps");
        QTest::addColumn<QString>("lines");

        QTest::newRow("rounded-minutes-and-seconds")
            << std::optional<double>(61.4) << QList<double> { 0.0, 29.5, 59.6 }
            << u"\nDuration: 01:01\nSampled video frames: 00:00, 00:30, 01:00"_s;
        QTest::newRow("over-an-hour-in-minutes")
            << std::optional<double>(3725.0) << QList<double>() << u"\nDuration: 62:05\nSampled video frames: "_s;
        QTest::newRow("not-finite-is-unknown") << std::optional<double>(std::numeric_limits<double>::infinity())
                                               << QList<double>() << u"\nDuration: unknown\nSampled video frames: "_s;
        QTest::newRow("missing-duration-left-out")
            << std::optional<double>() << QList<double> { 5.0 } << u"\nSampled video frames: 00:05"_s;
    }

    void metadataBlock()
    {
        QFETCH(std::optional<double>, duration);
        QFETCH(QList<double>, timestamps);
        QFETCH(QString, lines);

        AnalyzeRequest request;
        request.contentKind = u"video"_s;
        request.mimeType = u"video/mp4"_s;
        request.durationSeconds = duration;
        request.previewTimestamps = timestamps;
        request.localMetadata = u"Codec: h264"_s;
        const QString prompt = analysisPrompt(request);
        QCOMPARE(between(prompt, u"\nMIME type: video/mp4"_s, u"\nLocal file metadata:\nCodec: h264\n\nReturn"_s),
                 lines);
    }

    void kindGuidance_data()
    {
        QTest::addColumn<std::optional<QString>>("kind");
        QTest::addColumn<int>("pictures"); // -1: no `images`, else their number
        QTest::addColumn<bool>("singleImage");
        QTest::addColumn<QString>("opening");
        QTest::addColumn<QString>("guidance");

        QTest::newRow("video") << std::optional<QString>(u"video"_s) << 3 << false << u"video file"_s << VideoGuidance;
        QTest::newRow("image") << std::optional<QString>(u"image"_s) << -1 << false << u"visual file"_s
                               << ScreenshotGuidance;
        QTest::newRow("document-with-pages")
            << std::optional<QString>(u"document"_s) << 2 << false << u"document"_s << ScreenshotGuidance;
        QTest::newRow("audio-with-single-image")
            << std::optional<QString>(u"audio"_s) << -1 << true << u"audio file"_s << ScreenshotGuidance;
        QTest::newRow("empty-images-send-none")
            << std::optional<QString>(u"document"_s) << 0 << true << u"document"_s << QString();
        QTest::newRow("text-without-pictures")
            << std::optional<QString>(u"text"_s) << -1 << false << u"text file"_s << QString();
        QTest::newRow("missing-kind-is-visual")
            << std::optional<QString>() << -1 << false << u"visual file"_s << QString();
    }

    void kindGuidance()
    {
        QFETCH(std::optional<QString>, kind);
        QFETCH(int, pictures);
        QFETCH(bool, singleImage);
        QFETCH(QString, opening);
        QFETCH(QString, guidance);

        AnalyzeRequest request;
        request.contentKind = kind;
        request.mimeType = u"application/octet-stream"_s;
        if (pictures >= 0)
            request.images = QList<QByteArray>(pictures, QByteArray("jpeg"));
        if (singleImage)
            request.image = QByteArray("jpeg");
        const QString prompt = analysisPrompt(request);
        QVERIFY(prompt.section(u'\n', 0, 0).endsWith(u" for this "_s + opening + u'.'));
        const QString got
            = between(prompt, u" Avoid color-name tags unless color identifies a product or asset."_s, InferLanguage);
        QVERIFY2(got.startsWith(guidance) && got.isEmpty() == guidance.isEmpty(), qPrintable(got));
    }

    void trailingSentences_data()
    {
        QTest::addColumn<QStringList>("rejected");
        QTest::addColumn<QString>("renameOverride");
        QTest::addColumn<QString>("tail");

        QTest::newRow("nothing") << QStringList() << QString() << QString();
        QTest::newRow("rejected-titles") << QStringList { u"Beach Day"_s, u"Sunny Beach"_s } << QString()
                                         << u"\nAvoid these previously rejected titles: Beach Day, Sunny Beach."_s;
        QTest::newRow("blank-override-left-out") << QStringList() << u"  \n"_s << QString();
        QTest::newRow("override-trimmed")
            << QStringList { u"Old"_s } << u"\n Name it after the project. "_s
            << u"\nAvoid these previously rejected titles: Old.\n\nAdditional instructions:\nName it after the project."_s;
    }

    void trailingSentences()
    {
        QFETCH(QStringList, rejected);
        QFETCH(QString, renameOverride);
        QFETCH(QString, tail);

        AnalyzeRequest request = textRequest();
        request.rejectedTitles = rejected;
        request.renamePromptOverride = renameOverride;
        QCOMPARE(between(analysisPrompt(request), InferLanguage), tail);
    }

    void modelAnswer_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("title"); // empty: no answer
        QTest::addColumn<std::optional<QString>>("vendor");

        const auto none = std::optional<QString>();
        QTest::newRow("surrounding-whitespace") << u"\n\n  {\"title\":\"Receipt\",\"vendor\":\"Acme\"}  \n"_s
                                                << u"Receipt"_s << std::optional<QString>(u"Acme"_s);
        QTest::newRow("markdown-fence") << u"```json\n{\"title\":\"Tax Form 2025\"}\n```"_s << u"Tax Form 2025"_s
                                        << none;
        QTest::newRow("leading-and-trailing-chatter")
            << u"Sure! Here is the JSON: {\"title\":\"Team Photo\",\"tags\":[\"team\"]} Hope it helps {}"_s
            << u"Team Photo"_s << none;
        QTest::newRow("brace-inside-string") << u"Answer: {\"title\":\"a } b\"}"_s << u"a } b"_s << none;
        QTest::newRow("escaped-quote-inside-string") << u"x {\"title\":\"say \\\"}{\\\" now\",\"vendor\":\"V\"} y"_s
                                                     << u"say \"}{\" now"_s << std::optional<QString>(u"V"_s);
        QTest::newRow("nested-object")
            << u"ok {\"title\":\"Lab Report\",\"fields\":{\"patient_name\":\"Ann {B}\"}} done"_s << u"Lab Report"_s
            << none;
        QTest::newRow("blank-title") << u"{\"title\":\"  \"}"_s << QString() << none;
        QTest::newRow("missing-title") << u"{\"description\":\"a lake\"}"_s << QString() << none;
        QTest::newRow("no-object") << u"I cannot tell what this is."_s << QString() << none;
        QTest::newRow("unbalanced-object") << u"here {\"title\":\"Cut off\""_s << QString() << none;
        QTest::newRow("title-of-wrong-type") << u"{\"title\":42}"_s << QString() << none;
    }

    void modelAnswer()
    {
        QFETCH(QString, text);
        QFETCH(QString, title);
        QFETCH(std::optional<QString>, vendor);

        const std::optional<AnalyzeResponse> answer = parseModelAnswer(text);
        QCOMPARE(answer.has_value(), !title.isEmpty());
        if (answer) {
            QCOMPARE(answer->title.value_or(QString()), title);
            QCOMPARE(answer->vendor, vendor);
        }
    }
};

QTEST_GUILESS_MAIN(AnalysisPromptTest)
#include "analysisprompttest.moc"
