// The values that travel between extraction, the AI routes and the rename
// workflows: which inputs are which, when an analysis counts as failed, how
// model text is cleaned, how a result is stored and what errors read.

#include <QJsonDocument>
#include <QTest>

#include "ai/aianalyzeinput.h"
#include "ai/aiserviceerror.h"
#include "ai/imageanalysis.h"
#include "ai/imageanalysisjson.h"

using namespace Nomly;
using namespace Qt::StringLiterals;

using OptionalText = std::optional<QString>;

Q_DECLARE_METATYPE(Nomly::AIAnalyzeInput)
Q_DECLARE_METATYPE(Nomly::AIAnalyzeInputKind)
Q_DECLARE_METATYPE(Nomly::AIServiceError)
Q_DECLARE_METATYPE(Nomly::ImageAnalysis)
Q_DECLARE_METATYPE(OptionalText)

namespace Nomly {

// Lets QCOMPARE show both sides of a mismatch.
char *toString(const ImageAnalysis &analysis)
{
    return qstrdup(QJsonDocument(toJson(analysis)).toJson(QJsonDocument::Compact).constData());
}

} // namespace Nomly

namespace {

template<typename Payload> AIAnalyzeInput at(const QString &path)
{
    Payload payload;
    payload.originalPath = path;
    return payload;
}

ImageAnalysis titled(const QString &title)
{
    ImageAnalysis analysis;
    analysis.title = title;
    return analysis;
}

ImageAnalysis failedWith(const QString &error)
{
    ImageAnalysis analysis;
    analysis.error = error;
    return analysis;
}

// Every text a model writes, plus the two fields that are never cleaned.
ImageAnalysis everywhere(const QString &cleaned, const QString &untouched)
{
    ImageAnalysis analysis;
    analysis.title = cleaned;
    analysis.description = cleaned;
    analysis.tags = { cleaned, cleaned };
    analysis.type = cleaned;
    analysis.vendor = cleaned;
    analysis.amount = cleaned;
    analysis.error = untouched;
    analysis.detectedFields = { { u"vendor"_s, untouched } };
    return analysis;
}

ImageAnalysis complete()
{
    ImageAnalysis analysis = titled(u"Invoice March"_s);
    analysis.description = u"Office chairs"_s;
    analysis.tags = { u"invoice"_s, u"Büro"_s };
    analysis.error = u"partial"_s;
    analysis.type = u"invoice"_s;
    analysis.vendor = u"ACME"_s;
    analysis.amount = u"12.50 EUR"_s;
    analysis.detectedFields = { { u"date"_s, u"2024-03-01"_s }, { u"vendor"_s, u"ACME"_s } };
    return analysis;
}

QJsonObject object(const QByteArray &json)
{
    return QJsonDocument::fromJson(json).object();
}

} // namespace

class AnalysisModelTest : public QObject
{
    Q_OBJECT

private slots:
    void input_data();
    void input();
    void normalize_data();
    void normalize();
    void isFailed_data();
    void isFailed();
    void errorText_data();
    void errorText();
    void roundTrip_data();
    void roundTrip();
    void decode_data();
    void decode();
};

void AnalysisModelTest::input_data()
{
    QTest::addColumn<AIAnalyzeInput>("input");
    QTest::addColumn<AIAnalyzeInputKind>("kind");
    QTest::addColumn<QString>("path");

    using Kind = AIAnalyzeInputKind;
    QTest::newRow("image") << at<FileImageAnalysisPayload>(u"/a.png"_s) << Kind::Image << u"/a.png"_s;
    QTest::newRow("text") << at<FileTextAnalysisPayload>(u"/b.txt"_s) << Kind::Text << u"/b.txt"_s;
    QTest::newRow("document") << at<FileDocumentAnalysisPayload>(u"/c.pdf"_s) << Kind::Document << u"/c.pdf"_s;
    QTest::newRow("video") << at<FileVideoAnalysisPayload>(u"/d.mp4"_s) << Kind::Video << u"/d.mp4"_s;
    QTest::newRow("audio") << at<FileAudioAnalysisPayload>(u"/e.m4a"_s) << Kind::Audio << u"/e.m4a"_s;
}

void AnalysisModelTest::input()
{
    QFETCH(AIAnalyzeInput, input);
    QFETCH(AIAnalyzeInputKind, kind);
    QFETCH(QString, path);

    QCOMPARE(std::pair(input.kind(), input.originalPath()), std::pair(kind, path));
}

void AnalysisModelTest::normalize_data()
{
    QTest::addColumn<QString>("raw");
    QTest::addColumn<QString>("expected");

    QTest::newRow("escape-becomes-composed-letter") << u"Caf\\u00e9"_s << u"Caf\u00e9"_s;
    QTest::newRow("upper-case-digits") << u"\\u00C9t\\u00E9"_s << u"\u00c9t\u00e9"_s;
    QTest::newRow("surrogate-pair-becomes-one-emoji") << u"\\ud83d\\ude00"_s << u"\U0001F600"_s;
    QTest::newRow("lone-high-surrogate-stays") << u"x\\ud83d"_s << u"x\\ud83d"_s;
    QTest::newRow("high-surrogate-before-plain-escape") << u"\\ud83d\\u00e9"_s << u"\\ud83d\u00e9"_s;
    QTest::newRow("low-surrogate-first-stays") << u"\\ude00\\ud83d"_s << u"\\ude00\\ud83d"_s;
    QTest::newRow("doubled-high-then-pair") << u"\\ud83d\\ud83d\\ude00"_s << u"\\ud83d\U0001F600"_s;
    QTest::newRow("short-escape-stays") << u"a\\u12"_s << u"a\\u12"_s;
    QTest::newRow("non-hex-escape-stays-next-decodes") << u"\\u00g9\\u0041"_s << u"\\u00g9A"_s;
    QTest::newRow("signed-digits-stay") << u"\\u+0041"_s << u"\\u+0041"_s;
    QTest::newRow("escaped-combining-mark-composes") << u"e\\u0301"_s << u"\u00e9"_s;
    QTest::newRow("decomposed-text-composes") << u"Cafe\u0301"_s << u"Caf\u00e9"_s;
    QTest::newRow("plain-text-unchanged") << u"Invoice 2024 \\ backslash"_s << u"Invoice 2024 \\ backslash"_s;
}

void AnalysisModelTest::normalize()
{
    QFETCH(QString, raw);
    QFETCH(QString, expected);

    QCOMPARE(normalized(everywhere(raw, raw)), everywhere(expected, raw));
}

void AnalysisModelTest::isFailed_data()
{
    QTest::addColumn<ImageAnalysis>("analysis");
    QTest::addColumn<bool>("failed");

    ImageAnalysis titledWithError = titled(u"Receipt"_s);
    titledWithError.error = u"timeout"_s;

    QTest::newRow("title-only-succeeds") << titled(u"Receipt"_s) << false;
    QTest::newRow("error-without-title") << failedWith(u"timeout"_s) << true;
    QTest::newRow("empty-title") << titled(QString()) << true;
    QTest::newRow("title-with-error") << titledWithError << true;
    QTest::newRow("nothing-at-all") << ImageAnalysis() << true;
}

void AnalysisModelTest::isFailed()
{
    QFETCH(ImageAnalysis, analysis);
    QFETCH(bool, failed);

    QCOMPARE(analysis.isFailed(), failed);
}

void AnalysisModelTest::errorText_data()
{
    QTest::addColumn<AIServiceError>("error");
    QTest::addColumn<QString>("text");
    QTest::addColumn<OptionalText>("reason");

    const OptionalText none;
    QTest::newRow("api-message") << AIServiceError::apiError(u"Quota exceeded"_s) << u"Quota exceeded"_s << none;
    QTest::newRow("api-empty-message") << AIServiceError::apiError(QString()) << u"AI service error"_s << none;
    QTest::newRow("default-is-empty-api-error") << AIServiceError() << u"AI service error"_s << none;
    QTest::newRow("reason-kept-apart") << AIServiceError::apiErrorWithReason(u"Too many files"_s, u"limit"_s)
                                       << u"Too many files"_s << OptionalText(u"limit"_s);
    QTest::newRow("reason-with-empty-message")
        << AIServiceError::apiErrorWithReason(QString(), u"auth"_s) << u"AI service error"_s << OptionalText(u"auth"_s);
    QTest::newRow("invalid-response") << AIServiceError::invalidResponse() << u"Invalid server response"_s << none;
    QTest::newRow("invalid-url") << AIServiceError::invalidUrl() << u"Invalid API URL"_s << none;
    QTest::newRow("no-valid-files") << AIServiceError::validImageNotFound() << u"No valid files to analyze"_s << none;
}

void AnalysisModelTest::errorText()
{
    QFETCH(AIServiceError, error);
    QFETCH(QString, text);
    QFETCH(OptionalText, reason);

    QCOMPARE(std::pair(error.text(), error.reason()), std::pair(text, reason));
}

void AnalysisModelTest::roundTrip_data()
{
    QTest::addColumn<ImageAnalysis>("analysis");
    QTest::addColumn<QStringList>("keys");

    const QStringList always { u"description"_s, u"detectedFields"_s, u"tags"_s };

    QTest::newRow("every-field") << complete()
                                 << QStringList { u"amount"_s, u"description"_s, u"detectedFields"_s, u"error"_s,
                                                  u"tags"_s,   u"title"_s,       u"type"_s,           u"vendor"_s };
    QTest::newRow("absent-optionals-left-out") << ImageAnalysis() << always;
    QTest::newRow("empty-title-is-not-absent") << titled(QString()) << (always + QStringList { u"title"_s });
    QTest::newRow("failure-keeps-error") << failedWith(
        u"No answer"_s) << QStringList { u"description"_s, u"detectedFields"_s, u"error"_s, u"tags"_s };
}

void AnalysisModelTest::roundTrip()
{
    QFETCH(ImageAnalysis, analysis);
    QFETCH(QStringList, keys);

    const QJsonObject json = toJson(analysis);
    QCOMPARE(json.keys(), keys);
    QCOMPARE(imageAnalysisFromJson(json), analysis);
}

void AnalysisModelTest::decode_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<ImageAnalysis>("expected");

    QTest::newRow("stored-form") << R"({"title":"Invoice March","description":"Office chairs",
        "tags":["invoice","Büro"],"error":"partial","type":"invoice","vendor":"ACME","amount":"12.50 EUR",
        "detectedFields":{"date":"2024-03-01","vendor":"ACME"}})"_ba
                                 << complete();
    QTest::newRow("empty-object") << "{}"_ba << ImageAnalysis();
    QTest::newRow("null-title-is-absent") << R"({"title":null,"error":"x"})"_ba << failedWith(u"x"_s);
    QTest::newRow("wrong-types-keep-defaults")
        << R"({"title":1,"description":[],"tags":"a","error":false,"type":{},"vendor":2,"amount":3,
            "detectedFields":["a"]})"_ba
        << ImageAnalysis();
    QTest::newRow("tag-list-with-number-is-wrong-type") << R"({"title":"T","tags":["a",1]})"_ba << titled(u"T"_s);
    QTest::newRow("field-map-with-number-is-wrong-type")
        << R"({"title":"T","detectedFields":{"date":"2024","page":3}})"_ba << titled(u"T"_s);
    QTest::newRow("unknown-keys-ignored") << R"({"title":"T","confidence":0.9})"_ba << titled(u"T"_s);
}

void AnalysisModelTest::decode()
{
    QFETCH(QByteArray, json);
    QFETCH(ImageAnalysis, expected);

    QCOMPARE(imageAnalysisFromJson(object(json)), expected);
}

QTEST_GUILESS_MAIN(AnalysisModelTest)
#include "analysismodeltest.moc"
