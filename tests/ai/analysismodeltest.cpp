// The analysis result: when it counts as failed, how model text is cleaned
// and how it is stored.

#include <QJsonDocument>
#include <QTest>

#include "ai/imageanalysis.h"
#include "ai/imageanalysisjson.h"

using namespace Nomly;
using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(Nomly::ImageAnalysis)

namespace Nomly {

// Lets QCOMPARE show both sides of a mismatch.
char *toString(const ImageAnalysis &analysis)
{
    return qstrdup(QJsonDocument(toJson(analysis)).toJson(QJsonDocument::Compact).constData());
}

} // namespace Nomly

namespace {

ImageAnalysis titled(const QString &title)
{
    ImageAnalysis analysis;
    analysis.title = title;
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

} // namespace

class AnalysisModelTest : public QObject
{
    Q_OBJECT

private slots:
    void normalize_data();
    void normalize();
    void storedForm_data();
    void storedForm();
};

void AnalysisModelTest::normalize_data()
{
    QTest::addColumn<QString>("raw");
    QTest::addColumn<QString>("expected");

    QTest::newRow("escape-becomes-composed-letter") << u"Caf\\u00e9"_s << u"Caf\u00e9"_s;
    QTest::newRow("surrogate-pair-becomes-one-emoji") << u"\\ud83d\\ude00"_s << u"\U0001F600"_s;
    QTest::newRow("lone-high-surrogate-stays") << u"x\\ud83d"_s << u"x\\ud83d"_s;
    QTest::newRow("high-surrogate-before-plain-escape") << u"\\ud83d\\u00e9"_s << u"\\ud83d\u00e9"_s;
    QTest::newRow("short-escape-stays") << u"a\\u12"_s << u"a\\u12"_s;
    QTest::newRow("non-hex-escape-stays-next-decodes") << u"\\u00g9\\u0041"_s << u"\\u00g9A"_s;
    QTest::newRow("escaped-combining-mark-composes") << u"e\\u0301"_s << u"\u00e9"_s;
    QTest::newRow("plain-text-unchanged") << u"Invoice 2024 \\ backslash"_s << u"Invoice 2024 \\ backslash"_s;
}

void AnalysisModelTest::normalize()
{
    QFETCH(QString, raw);
    QFETCH(QString, expected);

    QCOMPARE(normalized(everywhere(raw, raw)), everywhere(expected, raw));
}

// A canonical form is what storing the analysis writes, no more and no less.
void AnalysisModelTest::storedForm_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<bool>("canonical");
    QTest::addColumn<ImageAnalysis>("expected");

    QTest::newRow("every-field") << R"({"title":"Invoice March","description":"Office chairs",
        "tags":["invoice","Büro"],"error":"partial","type":"invoice","vendor":"ACME","amount":"12.50 EUR",
        "detectedFields":{"date":"2024-03-01","vendor":"ACME"}})"_ba
                                 << true << complete();
    QTest::newRow("absent-optionals-left-out")
        << R"({"description":"","detectedFields":{},"tags":[]})"_ba << true << ImageAnalysis();
    QTest::newRow("empty-title-is-not-absent")
        << R"({"title":"","description":"","detectedFields":{},"tags":[]})"_ba << true << titled(QString());
    QTest::newRow("empty-object") << "{}"_ba << false << ImageAnalysis();
    QTest::newRow("wrong-types-keep-defaults")
        << R"({"title":1,"description":[],"tags":"a","error":false,"type":{},"vendor":2,"amount":3,
            "detectedFields":["a"]})"_ba
        << false << ImageAnalysis();
    QTest::newRow("tag-list-with-number-is-wrong-type")
        << R"({"title":"T","tags":["a",1]})"_ba << false << titled(u"T"_s);
}

void AnalysisModelTest::storedForm()
{
    QFETCH(QByteArray, json);
    QFETCH(bool, canonical);
    QFETCH(ImageAnalysis, expected);

    const QJsonObject object = QJsonDocument::fromJson(json).object();
    QCOMPARE(imageAnalysisFromJson(object), expected);
    if (canonical) {
        QCOMPARE(toJson(expected), object);
    }
}

QTEST_GUILESS_MAIN(AnalysisModelTest)
#include "analysismodeltest.moc"
