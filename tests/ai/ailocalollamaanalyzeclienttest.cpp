// The local Ollama route against an Ollama peer on loopback: the request it
// sends, how a batch is paced and put together, and what the user reads when
// a call fails.

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTest>

#include "ai/ailocalollamaanalyzeclient.h"
#include "ai/analysisprompt.h"
#include "awaited.h"
#include "loopbackresponder.h"
#include "ollamapeer.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using namespace Nomly;
using namespace Nomly::Test;

namespace {

const QString NotInstalled
    = u"Ollama model \"llava\" is not installed. Pull it in Ollama or choose an installed model."_s;
const QString TimedOut = u"Ollama request timed out. Try again or choose a smaller model."_s;
const QString Generic = u"Ollama analysis failed. Check the endpoint and model, then retry."_s;
const QString Lost = u"Network connection to Ollama was lost"_s;
const QString Refused = u"Ollama connection failed. Check the endpoint and retry."_s;
const QString InvalidJson = u"Local AI returned invalid JSON"_s;

AnalyzeRequest textRequest(const QString &name)
{
    AnalyzeRequest request;
    request.contentKind = u"text"_s;
    request.filename = name + u".txt"_s;
    request.originalExtension = u"txt"_s;
    request.mimeType = u"text/plain"_s;
    request.text = u"Contents of "_s + name;
    return request;
}

// Answers each file with a title made from its name, so that a test can tell
// where each answer landed.
OllamaPeer::Answer titledAfterFile(const OllamaPeer::Request &request, std::chrono::milliseconds delay = {})
{
    const QString name = request.prompt().section(u"Filename: "_s, 1).section(u".txt"_s, 0, 0);
    return OllamaPeer::reply(u"{\"title\":\"Title "_s + name + u"\"}"_s, delay);
}

} // namespace

class AILocalOllamaAnalyzeClientTest : public QObject
{
    Q_OBJECT

private slots:

    void endpointUrl_data()
    {
        QTest::addColumn<QString>("endpoint");
        QTest::addColumn<QString>("url"); // empty: none

        QTest::newRow("bare-localhost-port") << u"localhost:11434/"_s << u"http://127.0.0.1:11434/api/chat"_s;
        QTest::newRow("path-replaced") << u" http://gpu-box.lan:11434/v1/ \n"_s
                                       << u"http://gpu-box.lan:11434/api/chat"_s;
        QTest::newRow("https-kept") << u"https://ollama.example.org"_s << u"https://ollama.example.org/api/chat"_s;
        QTest::newRow("localhost-with-scheme") << u"http://localhost:8080//"_s << u"http://127.0.0.1:8080/api/chat"_s;
        QTest::newRow("blank") << u"  \n"_s << QString();
        QTest::newRow("only-slashes") << u"///"_s << QString();
        QTest::newRow("space-in-host") << u"http://my host:11434"_s << QString();
        QTest::newRow("port-not-a-number") << u"localhost:eleven"_s << QString();
    }

    void endpointUrl()
    {
        QFETCH(QString, endpoint);
        QFETCH(QString, url);

        const std::optional<QUrl> made = ollamaEndpointUrl(endpoint, u"/api/chat"_s);
        QCOMPARE(made ? made->toString() : QString(), url);
    }

    void replyErrorText_data()
    {
        QTest::addColumn<int>("status"); // -1: none
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("text");

        QTest::newRow("500-body-says-model-not-found")
            << 500 << u"{\"error\":\"model \\\"llava\\\" not found, try pulling it first\"}"_s << NotInstalled;
        QTest::newRow("model-does-not-exist-without-status") << -1 << u"Model does not exist"_s << NotInstalled;
        QTest::newRow("pull-hint") << -1 << u"model requires a pull"_s << NotInstalled;
        QTest::newRow("404-plain") << 404 << u"404 page not found"_s << NotInstalled;
        QTest::newRow("not-found-without-model-word")
            << -1 << u"file not found"_s << u"Ollama analysis failed: file not found"_s;
        QTest::newRow("400") << 400 << u"bad input"_s
                             << u"Ollama rejected the request. Check the configured model and endpoint, then retry."_s;
        QTest::newRow("401") << 401 << QString()
                             << u"Ollama endpoint rejected the request. Check endpoint access, then retry."_s;
        QTest::newRow("429") << 429 << u"{\"error\":\"server busy\"}"_s
                             << u"Ollama is busy. Wait a moment, then retry."_s;
        QTest::newRow("503")
            << 503 << u"overloaded"_s
            << u"Ollama failed while running the model. Restart Ollama or choose a smaller model, then retry."_s;
        QTest::newRow("timeout-in-message") << -1 << u"Client.Timeout exceeded"_s << TimedOut;
        QTest::newRow("timed-out-after-unknown-status") << 418 << u"request timed out"_s << TimedOut;
        QTest::newRow("other-message") << 418 << u"teapot"_s << u"Ollama analysis failed: teapot"_s;
        QTest::newRow("nothing-known") << -1 << QString() << Generic;
    }

    void replyErrorText()
    {
        QFETCH(int, status);
        QFETCH(QString, message);
        QFETCH(QString, text);

        const std::optional<int> code = status < 0 ? std::nullopt : std::optional<int>(status);
        QCOMPARE(ollamaReplyErrorText(code, message, u"llava"_s), text);
    }

    void transportErrorText_data()
    {
        QTest::addColumn<AIServiceError>("error");
        QTest::addColumn<QString>("text");

        QTest::newRow("invalid-response")
            << AIServiceError::invalidResponse() << u"Ollama returned an invalid response"_s;
        QTest::newRow("invalid-url") << AIServiceError::invalidUrl() << u"Ollama endpoint URL is invalid"_s;
        QTest::newRow("api-error-message") << AIServiceError::apiError(u"Ollama is busy."_s) << u"Ollama is busy."_s;
        QTest::newRow("connection-lost") << AIServiceError::transport(QNetworkReply::RemoteHostClosedError, {}) << Lost;
        QTest::newRow("transfer-timeout")
            << AIServiceError::transport(QNetworkReply::OperationCanceledError, {}) << TimedOut;
        QTest::newRow("connect-timeout") << AIServiceError::transport(QNetworkReply::TimeoutError, {}) << TimedOut;
        QTest::newRow("refused") << AIServiceError::transport(QNetworkReply::ConnectionRefusedError, {}) << Refused;
        QTest::newRow("other-kind") << AIServiceError::apiErrorWithReason(u"x"_s, u"y"_s) << Generic;
    }

    void transportErrorText()
    {
        QFETCH(AIServiceError, error);
        QFETCH(QString, text);
        QCOMPARE(ollamaTransportErrorText(error, u"llava"_s), text);
    }

    void requestBody_data()
    {
        QTest::addColumn<std::optional<QList<QByteArray>>>("images");
        QTest::addColumn<std::optional<QByteArray>>("image");
        QTest::addColumn<QJsonValue>("sent"); // undefined: no "images" key

        const QByteArray first("\xff\xd8\xff\xe0 page one", 14);
        const QByteArray second("\xff\xd8\xff\xe0 page two", 14);
        QTest::newRow("images-list") << std::optional<QList<QByteArray>>({ first, second })
                                     << std::optional<QByteArray>(first)
                                     << QJsonValue(QJsonArray { QString::fromLatin1(first.toBase64()),
                                                                QString::fromLatin1(second.toBase64()) });
        QTest::newRow("single-image") << std::optional<QList<QByteArray>>() << std::optional<QByteArray>(second)
                                      << QJsonValue(QJsonArray { QString::fromLatin1(second.toBase64()) });
        QTest::newRow("empty-list-sends-none") << std::optional<QList<QByteArray>>(QList<QByteArray>())
                                               << std::optional<QByteArray>(first) << QJsonValue(QJsonValue::Undefined);
        QTest::newRow("no-pictures") << std::optional<QList<QByteArray>>() << std::optional<QByteArray>()
                                     << QJsonValue(QJsonValue::Undefined);
    }

    void requestBody()
    {
        QFETCH(std::optional<QList<QByteArray>>, images);
        QFETCH(std::optional<QByteArray>, image);
        QFETCH(QJsonValue, sent);

        OllamaPeer peer;
        AILocalOllamaAnalyzeClient client(m_network);
        AnalyzeRequest request = textRequest(u"scan"_s);
        request.images = images;
        request.image = image;
        const QString endpoint = u" http://localhost:%1/v1/ "_s.arg(QUrl(peer.endpoint()).port());
        const auto result = awaited(client.analyzeOne(request, endpoint, u" llava \n"_s));
        QVERIFY2(result.ok(), qPrintable(result.error()));

        QCOMPARE(peer.received.size(), 1);
        const OllamaPeer::Request &call = peer.received.first();
        QCOMPARE(call.method, QByteArray("POST"));
        QCOMPARE(call.path, u"/api/chat"_s);
        QCOMPARE(call.contentType, QByteArray("application/json"));
        QJsonObject body = call.json();
        const QJsonArray messages = body.take(u"messages"_s).toArray();
        QCOMPARE(body,
                 QJsonDocument::fromJson(R"({"model":"llava","stream":false,"keep_alive":"10m",
                     "options":{"temperature":0,"num_predict":240,"num_ctx":2048}})")
                     .object());
        QCOMPARE(messages.size(), 1);
        const QJsonObject message = messages.first().toObject();
        QCOMPARE(message.value(u"role"_s), QJsonValue(u"user"_s));
        QCOMPARE(message.value(u"content"_s), QJsonValue(analysisPrompt(request)));
        QCOMPARE(message.value(u"images"_s), sent);
    }

    void batchPacing_data()
    {
        QTest::addColumn<QList<int>>("requestIndices");
        QTest::addColumn<int>("totalCount");
        QTest::addColumn<int>("inFlight");

        QTest::newRow("one-request") << QList<int> { 1 } << 3 << 1;
        QTest::newRow("two-at-once") << QList<int> { 0, 1 } << 2 << 2;
        QTest::newRow("five-in-slices-of-two") << QList<int> { 0, 2, 3, 5, 6 } << 8 << 2;
    }

    void batchPacing()
    {
        QFETCH(QList<int>, requestIndices);
        QFETCH(int, totalCount);
        QFETCH(int, inFlight);

        OllamaPeer peer;
        peer.answerWith([](const OllamaPeer::Request &request) { return titledAfterFile(request, 150ms); });
        AILocalOllamaAnalyzeClient client(m_network);
        QList<AnalyzeRequest> requests;
        for (qsizetype i = 0; i < requestIndices.size(); ++i)
            requests.append(textRequest(QString(QChar(char16_t(u'a' + i)))));

        const auto result
            = awaited(client.analyzeBatch(requests, requestIndices, totalCount, peer.endpoint(), u"  llava "_s));
        QVERIFY2(result.ok(), qPrintable(result.error()));
        QCOMPARE(peer.chatRequests().size(), requests.size());
        QCOMPARE(peer.maxInFlight(), inFlight);

        const AIAnalyzeBatchResult &batch = result.value();
        QCOMPARE(batch.effectiveProvider, std::optional<QString>(u"ollama:llava"_s));
        QList<std::optional<ImageAnalysis>> expected(totalCount);
        for (qsizetype i = 0; i < requestIndices.size(); ++i) {
            ImageAnalysis analysis;
            analysis.title = u"Title "_s + QChar(char16_t(u'a' + i));
            expected[requestIndices.at(i)] = analysis;
        }
        QCOMPARE(batch.analyses, expected);
    }

    // One file's failure is that file's error; the files around it go on.
    void failingFile_data()
    {
        QTest::addColumn<OllamaPeer::Answer>("answer");
        QTest::addColumn<QString>("error");

        OllamaPeer::Answer raw;
        QTest::newRow("500-model-not-found")
            << OllamaPeer::failure(500, u"model \"llava\" not found, try pulling it first"_s) << NotInstalled;
        raw.status = 418;
        raw.rawBody = QByteArray("\xc3\x28 broken", 9);
        QTest::newRow("body-not-text") << raw << u"Ollama analysis failed: Local AI request failed"_s;
        raw.status = 200;
        raw.rawBody = "{\"error\":\"unexpected EOF\"}";
        QTest::newRow("error-in-ok-reply") << raw << u"Ollama analysis failed: unexpected EOF"_s;
        raw.rawBody = "<html>proxy</html>";
        QTest::newRow("reply-not-json") << raw << Generic;
        raw.rawBody = "{\"message\":\"hello\"}";
        QTest::newRow("reply-of-wrong-shape") << raw << Generic;
        QTest::newRow("answer-not-json") << OllamaPeer::reply(u"A scanned page with a table."_s) << InvalidJson;
        OllamaPeer::Answer dropped;
        dropped.drop = true;
        QTest::newRow("connection-dropped") << dropped << Lost;
    }

    void failingFile()
    {
        QFETCH(OllamaPeer::Answer, answer);
        QFETCH(QString, error);

        OllamaPeer peer;
        peer.answerWith([answer](const OllamaPeer::Request &request) {
            return request.prompt().contains(u"Filename: b.txt"_s) ? answer : titledAfterFile(request);
        });
        AILocalOllamaAnalyzeClient client(m_network);
        const QList<AnalyzeRequest> requests { textRequest(u"a"_s), textRequest(u"b"_s), textRequest(u"c"_s) };
        const auto result = awaited(client.analyzeBatch(requests, { 0, 1, 2 }, 3, peer.endpoint(), u"llava"_s));
        QVERIFY2(result.ok(), qPrintable(result.error()));

        const QList<std::optional<ImageAnalysis>> &analyses = result.value().analyses;
        QCOMPARE(analyses.size(), 3);
        QCOMPARE(analyses.at(0)->title, std::optional<QString>(u"Title a"_s));
        QCOMPARE(analyses.at(2)->title, std::optional<QString>(u"Title c"_s));
        ImageAnalysis failed;
        failed.error = error;
        QCOMPARE(analyses.at(1), std::optional<ImageAnalysis>(failed));
    }

    void unreachable_data()
    {
        QTest::addColumn<QString>("endpoint");
        QTest::addColumn<QString>("error");

        QTest::newRow("refused") << u"127.0.0.1:%1"_s.arg(Test::closedLoopbackPort()) << Refused;
        QTest::newRow("blank-endpoint") << u"   "_s << u"Ollama endpoint URL is invalid"_s;
    }

    void unreachable()
    {
        QFETCH(QString, endpoint);
        QFETCH(QString, error);

        AILocalOllamaAnalyzeClient client(m_network);
        const auto result = awaited(client.analyzeBatch({ textRequest(u"a"_s) }, { 0 }, 1, endpoint, u"llava"_s));
        QVERIFY(result.ok());
        QCOMPARE(result.value().analyses.value(0).value_or(ImageAnalysis()).error, std::optional<QString>(error));
    }

    void unsetModelFailsBatch_data()
    {
        QTest::addColumn<QString>("model");
        QTest::newRow("empty") << QString();
        QTest::newRow("blank") << u" \n\t"_s;
    }

    void unsetModelFailsBatch()
    {
        QFETCH(QString, model);

        OllamaPeer peer;
        AILocalOllamaAnalyzeClient client(m_network);
        const auto result = awaited(client.analyzeBatch({ textRequest(u"a"_s) }, { 0 }, 1, peer.endpoint(), model));
        QVERIFY(!result.ok());
        QCOMPARE(result.failure().kind(), AIServiceError::Kind::ApiError);
        QCOMPARE(result.error(), u"Local AI model is not configured"_s);
        QVERIFY(peer.received.isEmpty());
    }

    void slowAnswerTimesOut()
    {
        OllamaPeer peer;
        peer.answerAlways(OllamaPeer::reply(u"{\"title\":\"Too Late\"}"_s, 3s));
        AILocalOllamaAnalyzeClient client(m_network);
        client.setTimeout(200ms);
        const auto result
            = awaited(client.analyzeBatch({ textRequest(u"a"_s) }, { 0 }, 1, peer.endpoint(), u"llava"_s));
        QVERIFY(result.ok());
        QCOMPARE(result.value().analyses.value(0).value_or(ImageAnalysis()).error, std::optional<QString>(TimedOut));
    }

    // The model's JSON becomes the analysis, normalised, with the parts the
    // caller didn't ask for left empty.
    void answerMapping_data()
    {
        QTest::addColumn<std::optional<bool>>("includeDescription");
        QTest::addColumn<std::optional<bool>>("includeTags");
        QTest::addColumn<QString>("description");
        QTest::addColumn<QStringList>("tags");

        const QStringList tags { u"caf\u00e9"_s, u"receipt"_s };
        QTest::newRow("both-wanted") << std::optional<bool>() << std::optional<bool>() << u"Lunch receipt"_s << tags;
        QTest::newRow("description-unwanted")
            << std::optional<bool>(false) << std::optional<bool>() << QString() << tags;
        QTest::newRow("tags-unwanted") << std::optional<bool>() << std::optional<bool>(false) << u"Lunch receipt"_s
                                       << QStringList();
    }

    void answerMapping()
    {
        QFETCH(std::optional<bool>, includeDescription);
        QFETCH(std::optional<bool>, includeTags);
        QFETCH(QString, description);
        QFETCH(QStringList, tags);

        OllamaPeer peer;
        peer.answerAlways(OllamaPeer::reply(
            u"```json\n{\"title\":\"Caf\\\\u00e9 Receipt\",\"description\":\"Lunch receipt\",\"tags\":[\"cafe\\u0301\","
            "\"receipt\"],\"type\":\"receipt\",\"vendor\":\"Le Petit\",\"amount\":null,\"fields\":{\"invoice_date\":"
            "\"2026-01-14\"}}\n```"_s));
        AILocalOllamaAnalyzeClient client(m_network);
        AnalyzeRequest request = textRequest(u"receipt"_s);
        request.includeDescription = includeDescription;
        request.includeTags = includeTags;
        const auto result = awaited(client.analyzeOne(request, peer.endpoint(), u"llava"_s));
        QVERIFY2(result.ok(), qPrintable(result.error()));

        ImageAnalysis expected;
        expected.title = u"Caf\u00e9 Receipt"_s;
        expected.description = description;
        expected.tags = tags;
        expected.type = u"receipt"_s;
        expected.vendor = u"Le Petit"_s;
        expected.detectedFields = { { u"invoice_date"_s, u"2026-01-14"_s } };
        QCOMPARE(result.value(), expected);
    }

private:
    QNetworkAccessManager m_network;
};

QTEST_GUILESS_MAIN(AILocalOllamaAnalyzeClientTest)
#include "ailocalollamaanalyzeclienttest.moc"
