// The local rules run over an analysed file: they read the file's own text,
// not the words extraction or the AI put around it, and they leave every
// field the AI gave as it is, whatever key the model wrote it under.

#include <QTest>

#include "content/pdftext.h"
#include "content/textlanguage.h"
#include "workflows/localfieldcompletion.h"

using namespace Qt::StringLiterals;
using namespace Nomly;

using ModelFields = QMap<QString, QString>;

namespace {

const QString JapaneseMemo = u"会議メモ 2026年4月3日 参加者：田中、鈴木、佐藤。"
                             u"議題：来期の予算と新しいプロジェクトの進め方について話し合いました。"
                             u"次回は来週の月曜日です。"_s;

ImageAnalysis analysisSaying(const QString &title, const QString &description)
{
    ImageAnalysis analysis;
    analysis.title = title;
    analysis.description = description;
    return analysis;
}

FileDocumentAnalysisPayload pdfWith(const QString &text)
{
    FileDocumentAnalysisPayload payload;
    payload.originalPath = u"/tmp/memo.pdf"_s;
    payload.filename = u"memo.pdf"_s;
    payload.originalExtension = u"pdf"_s;
    payload.mimeType = u"application/pdf"_s;
    payload.pageCount = 40;
    payload.text = text;
    return payload;
}

} // namespace

Q_DECLARE_METATYPE(AIAnalyzeInput)
Q_DECLARE_METATYPE(ImageAnalysis)

class LocalFieldCompletionTest : public QObject
{
    Q_OBJECT

private slots:

    void language_data()
    {
        QTest::addColumn<AIAnalyzeInput>("input");
        QTest::addColumn<ImageAnalysis>("analysis");
        QTest::addColumn<QString>("expected");
        const ImageAnalysis english = analysisSaying(
            u"Meeting Memo Budget Planning"_s,
            u"Notes from a meeting about next year's budget and how the new project should proceed."_s);
        const int half = int(JapaneseMemo.size() / 2);
        QTest::newRow("page headings are not the document's") << AIAnalyzeInput(
            pdfWith(assembledPdfText(40, { { 0, JapaneseMemo.left(half) }, { 7, JapaneseMemo.mid(half) } }).value()))
                                                              << english << u"Japanese"_s;
        FileVideoAnalysisPayload video;
        video.originalPath = u"/tmp/clip.mp4"_s;
        video.filename = u"clip.mp4"_s;
        video.originalExtension = u"mp4"_s;
        QTest::newRow("a video without words has no language")
            << AIAnalyzeInput(video)
            << analysisSaying(u"Pôr do sol na praia"_s,
                              u"Um vídeo curto de um pôr do sol na praia, com ondas calmas e o céu alaranjado."_s)
            << QString();
    }

    void language()
    {
        if (!TextLanguage::isAvailable())
            QSKIP("the libexttextcat fingerprints are not installed");
        QFETCH(AIAnalyzeInput, input);
        QFETCH(ImageAnalysis, analysis);
        QFETCH(QString, expected);
        const ImageAnalysis completed = withLocalFields(analysis, input, input.originalPath());
        QCOMPARE(completed.detectedFields.value(u"language"_s), expected);
    }

    void theAIsFieldsStay_data()
    {
        QTest::addColumn<ModelFields>("fields");
        QTest::addColumn<ModelFields>("expected");
        QTest::newRow("key in words") << ModelFields { { u"Invoice Number"_s, u"INV-9"_s } }
                                      << ModelFields { { u"Invoice Number"_s, u"INV-9"_s },
                                                       { u"total_amount"_s, u"20.00"_s },
                                                       { u"currency"_s, u"EUR"_s } };
        QTest::newRow("alias key") << ModelFields { { u"total"_s, u"19.99"_s } }
                                   << ModelFields { { u"total"_s, u"19.99"_s },
                                                    { u"invoice_number"_s, u"INV-7"_s },
                                                    { u"currency"_s, u"EUR"_s } };
        QTest::newRow("a blank value is filled") << ModelFields { { u"Invoice Number"_s, u" "_s } }
                                                 << ModelFields { { u"Invoice Number"_s, u" "_s },
                                                                  { u"invoice_number"_s, u"INV-7"_s },
                                                                  { u"total_amount"_s, u"20.00"_s },
                                                                  { u"currency"_s, u"EUR"_s } };
    }

    void theAIsFieldsStay()
    {
        QFETCH(ModelFields, fields);
        QFETCH(ModelFields, expected);
        FileTextAnalysisPayload text;
        text.originalPath = u"/tmp/bill.txt"_s;
        text.filename = u"bill.txt"_s;
        text.originalExtension = u"txt"_s;
        text.text = u"Invoice INV-7\nTotal 20.00 EUR"_s;
        ImageAnalysis analysis = analysisSaying(u"Bill"_s, QString());
        analysis.detectedFields = fields;
        ModelFields completed = withLocalFields(analysis, text, text.originalPath).detectedFields;
        completed.remove(u"language"_s);
        QCOMPARE(completed, expected);
    }
};

QTEST_GUILESS_MAIN(LocalFieldCompletionTest)
#include "localfieldcompletiontest.moc"
