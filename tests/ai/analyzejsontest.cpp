// The wire format of the hosted analysis function: what a request body holds
// and in which order, that it reads back to the same request, and which
// replies decode.

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>
#include <algorithm>

#include "ai/analyzejson.h"

using namespace Nomly;
using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(Nomly::AnalyzeRequest)
Q_DECLARE_METATYPE(Nomly::BatchAnalyzeResponse)

namespace Nomly {

char *toString(const AnalyzeRequest &request)
{
    return qstrdup(analyzeRequestBody({ request }).constData());
}

char *toString(const BatchAnalyzeResponse &response)
{
    return qstrdup(QJsonDocument(toJson(response)).toJson(QJsonDocument::Compact).constData());
}

} // namespace Nomly

namespace {

AnalyzeRequest minimal()
{
    AnalyzeRequest request;
    request.deviceId = u"device-1"_s;
    request.deviceSecret = u"secret-1"_s;
    request.mimeType = u"application/pdf"_s;
    return request;
}

QByteArray everyByte()
{
    QByteArray bytes;
    for (int i = 0; i < 256; ++i)
        bytes.append(static_cast<char>(i));
    return bytes;
}

AnalyzeRequest complete()
{
    AnalyzeRequest request = minimal();
    request.appVersion = u"1.4.0"_s;
    request.platform = u"linux"_s;
    request.distributionChannel = u"direct"_s;
    request.contentKind = u"document"_s;
    request.document = everyByte();
    request.image = QByteArray("\xff\xd8\xff\xe0", 4);
    request.images = QList<QByteArray> { QByteArray("a"), QByteArray(), everyByte() };
    request.audio = QByteArray("RIFF....WAVE");
    request.text = u"Rechnung für März — 12,50 €\n\"quoted\""_s;
    request.localMetadata = u"Pages: 3"_s;
    request.filename = u"scan 1.pdf"_s;
    request.originalExtension = u"pdf"_s;
    request.imageMimeType = u"image/jpeg"_s;
    request.previewPageNumbers = QList<int> { 1, 2, 7 };
    request.previewTimestamps = QList<double> { 0.0, 2.5, 61.25 };
    request.pageCount = 12;
    request.durationSeconds = 61.5;
    request.regenerate = true;
    request.language = u"de"_s;
    request.byokEnabled = true;
    request.aiProvider = u"claude"_s;
    request.apiKey = u"sk-test"_s;
    request.byokModel = u"model-x"_s;
    request.providerBaseUrl = u"http://127.0.0.1:1234/v1"_s;
    request.rejectedTitles = QStringList { u"Old Title"_s, u"Another"_s };
    request.requestedFieldKeys = QStringList { u"vendor_name"_s };
    request.includeDescription = false;
    request.includeTags = false;
    request.renamePromptOverride = u"Short titles"_s;
    request.tagPromptOverride = u"Few tags"_s;
    return request;
}

// The keys of the first object of a body, in the order they are written.
QStringList keysInOrder(const QByteArray &body)
{
    const QJsonObject object = QJsonDocument::fromJson(body).array().at(0).toObject();
    QList<std::pair<qsizetype, QString>> positions;
    for (const QString &key : object.keys())
        positions.append({ body.indexOf(QByteArray("\"" + key.toUtf8() + "\":")), key });
    std::sort(positions.begin(), positions.end());
    QStringList keys;
    for (const auto &[position, key] : positions)
        keys.append(key);
    return keys;
}

} // namespace

class AnalyzeJsonTest : public QObject
{
    Q_OBJECT

private slots:

    void requestRoundTrip_data()
    {
        QTest::addColumn<AnalyzeRequest>("request");

        QTest::newRow("only-required") << minimal();
        QTest::newRow("every-field") << complete();
        AnalyzeRequest empties = minimal();
        empties.text = QString();
        empties.images = QList<QByteArray>();
        empties.rejectedTitles = QStringList();
        empties.image = QByteArray();
        QTest::newRow("present-but-empty") << empties;
    }

    void requestRoundTrip()
    {
        QFETCH(AnalyzeRequest, request);

        const QByteArray body = analyzeRequestBody({ request, minimal() });
        const Result<QList<AnalyzeRequest>> read = analyzeRequestsFromBody(body);

        QVERIFY2(read.ok(), qPrintable(read.error()));
        QCOMPARE(read.value(), (QList<AnalyzeRequest> { request, minimal() }));
        QCOMPARE(analyzeRequestFromJson(toJson(request)).value(), request);
    }

    void requestBody_data()
    {
        QTest::addColumn<AnalyzeRequest>("request");
        QTest::addColumn<QStringList>("keys");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QJsonValue>("value");

        const auto keys = [](const QString &names) { return names.split(u' '); };
        const QStringList required = keys(u"device_id device_secret mime_type"_s);

        QTest::newRow("absent-optionals-left-out")
            << minimal() << required << u"mime_type"_s << QJsonValue(u"application/pdf"_s);

        QTest::newRow("every-key-in-wire-order")
            << complete()
            << keys(
                   u"device_id device_secret app_version platform distribution_channel content_kind document image "
                   u"images "
                   "audio text local_metadata filename original_extension mime_type image_mime_type "
                   "preview_page_numbers "
                   "preview_timestamps page_count duration_seconds regenerate language byok_enabled ai_provider "
                   "api_key "
                   "byok_model provider_base_url rejected_titles requested_field_keys include_description include_tags "
                   "rename_prompt_override tag_prompt_override"_s)
            << u"image"_s << QJsonValue(u"/9j/4A=="_s);

        AnalyzeRequest wantsAll = minimal();
        wantsAll.includeTags = true;
        wantsAll.includeDescription = true;
        QTest::newRow("include-flags-never-sent-true")
            << wantsAll << required << u"include_tags"_s << QJsonValue(QJsonValue::Undefined);

        AnalyzeRequest noTags = minimal();
        noTags.includeTags = false;
        QTest::newRow("include-tags-sent-as-false")
            << noTags << keys(u"device_id device_secret mime_type include_tags"_s) << u"include_tags"_s
            << QJsonValue(false);

        AnalyzeRequest pages = minimal();
        pages.images = QList<QByteArray> { QByteArray("\x01\x02\x03"), QByteArray("hi") };
        QTest::newRow("images-each-base64") << pages << keys(u"device_id device_secret images mime_type"_s)
                                            << u"images"_s << QJsonValue(QJsonArray { u"AQID"_s, u"aGk="_s });

        AnalyzeRequest counted = minimal();
        counted.pageCount = 0;
        counted.regenerate = false;
        QTest::newRow("zero-and-false-are-still-sent")
            << counted << keys(u"device_id device_secret mime_type page_count regenerate"_s) << u"page_count"_s
            << QJsonValue(0);
    }

    void requestBody()
    {
        QFETCH(AnalyzeRequest, request);
        QFETCH(QStringList, keys);
        QFETCH(QString, key);
        QFETCH(QJsonValue, value);

        const QByteArray body = analyzeRequestBody({ request });
        const QJsonDocument document = QJsonDocument::fromJson(body);

        QVERIFY(document.isArray());
        QCOMPARE(document.array().size(), 1);
        QCOMPARE(keysInOrder(body), keys);
        QCOMPARE(document.array().at(0).toObject().value(key), value);
        QCOMPARE(toJson(request), document.array().at(0).toObject());
    }

    void requestReading_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<QString>("failingKey");

        QTest::newRow("unknown-key-ignored")
            << R"({"device_id":"d","mime_type":"m","future_flag":[1]})"_ba << QString();
        QTest::newRow("null-counts-as-absent") << R"({"device_id":"d","text":null})"_ba << QString();
        QTest::newRow("broken-base64") << R"({"image":"not base64!"})"_ba << u"image"_s;
        QTest::newRow("broken-base64-in-list") << R"({"images":["AQID","%%%"]})"_ba << u"images"_s;
        QTest::newRow("number-for-string") << R"({"device_id":42})"_ba << u"device_id"_s;
        QTest::newRow("fraction-for-integer") << R"({"page_count":2.5})"_ba << u"page_count"_s;
        QTest::newRow("text-in-page-numbers") << R"({"preview_page_numbers":[1,"2"]})"_ba << u"preview_page_numbers"_s;
        QTest::newRow("string-for-bool") << R"({"regenerate":"true"})"_ba << u"regenerate"_s;
        QTest::newRow("object-for-list") << R"({"rejected_titles":{"a":"b"}})"_ba << u"rejected_titles"_s;
    }

    void requestReading()
    {
        QFETCH(QByteArray, json);
        QFETCH(QString, failingKey);

        const Result<AnalyzeRequest> read = analyzeRequestFromJson(QJsonDocument::fromJson(json).object());

        QCOMPARE(read.ok(), failingKey.isEmpty());
        if (!failingKey.isEmpty())
            QVERIFY2(read.error().contains(u'"' + failingKey + u'"'), qPrintable(read.error()));
    }

    void batchResponse_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<bool>("decodes");
        QTest::addColumn<BatchAnalyzeResponse>("expected");

        BatchAnalyzeResponse two;
        AnalyzeResponse first;
        first.title = u"Invoice ACME March"_s;
        first.tags = QStringList { u"invoice"_s };
        first.fields = QMap<QString, QString> { { u"vendor"_s, u"ACME"_s } };
        AnalyzeResponse second;
        second.error = u"Image data missing"_s;
        two.results = { first, second };
        two.effectiveProvider = u"gemini"_s;
        two.timings = ServerTimings { 3, 812, 840 };
        QTest::newRow("results-with-extras")
            << R"({"results":[{"title":"Invoice ACME March","tags":["invoice"],"fields":{"vendor":"ACME"},"confidence":0.9},
               {"error":"Image data missing"}],
              "effective_provider":"gemini","timings":{"db":3,"ai":812.4,"total":840},"request_id":"r1"})"_ba
            << true << two;

        BatchAnalyzeResponse nulls;
        nulls.results = { AnalyzeResponse {} };
        QTest::newRow("nulls-count-as-absent")
            << R"({"results":[{"title":null,"tags":null}],"timings":null,"effective_provider":null})"_ba << true
            << nulls;

        QTest::newRow("empty-results") << R"({"results":[]})"_ba << true << BatchAnalyzeResponse {};
        QTest::newRow("no-results-key") << R"({"effective_provider":"gemini"})"_ba << false << BatchAnalyzeResponse {};
        QTest::newRow("results-not-a-list") << R"({"results":{"title":"x"}})"_ba << false << BatchAnalyzeResponse {};
        QTest::newRow("result-not-an-object") << R"({"results":["x"]})"_ba << false << BatchAnalyzeResponse {};
        QTest::newRow("tag-not-a-string") << R"({"results":[{"tags":["a",1]}]})"_ba << false << BatchAnalyzeResponse {};
        QTest::newRow("field-not-a-string")
            << R"({"results":[{"fields":{"a":1}}]})"_ba << false << BatchAnalyzeResponse {};
        QTest::newRow("timing-not-a-number")
            << R"({"results":[],"timings":{"db":"3"}})"_ba << false << BatchAnalyzeResponse {};
        QTest::newRow("bare-array") << R"([{"title":"x"}])"_ba << false << BatchAnalyzeResponse {};
        QTest::newRow("not-json") << "<html>Bad gateway</html>"_ba << false << BatchAnalyzeResponse {};
    }

    void batchResponse()
    {
        QFETCH(QByteArray, body);
        QFETCH(bool, decodes);
        QFETCH(BatchAnalyzeResponse, expected);

        const Result<BatchAnalyzeResponse> read = batchAnalyzeResponseFromBody(body);

        QVERIFY2(read.ok() == decodes, qPrintable(read.error()));
        if (decodes)
            QCOMPARE(read.value(), expected);
        else
            QVERIFY(!read.error().isEmpty());
    }

    void responseRoundTrip()
    {
        BatchAnalyzeResponse response;
        AnalyzeResponse full;
        full.title = u"Café Receipt"_s;
        full.description = u"Lunch"_s;
        full.tags = QStringList { u"receipt"_s, u"food"_s };
        full.type = u"receipt"_s;
        full.vendor = u"Café Zürich"_s;
        full.amount = u"CHF 23.50"_s;
        full.fields = QMap<QString, QString> { { u"date"_s, u"2024-05-01"_s } };
        response.results = { full, AnalyzeResponse {} };
        response.timings = ServerTimings { 1, 2, 3 };
        response.effectiveProvider = u"openai"_s;

        const QByteArray body = QJsonDocument(toJson(response)).toJson();
        const Result<BatchAnalyzeResponse> read = batchAnalyzeResponseFromBody(body);

        QVERIFY2(read.ok(), qPrintable(read.error()));
        QCOMPARE(read.value(), response);
        QVERIFY(!toJson(AnalyzeResponse {}).contains(u"title"_s));
    }
};

QTEST_GUILESS_MAIN(AnalyzeJsonTest)
#include "analyzejsontest.moc"
