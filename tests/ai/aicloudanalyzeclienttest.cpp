// The hosted analysis client against a scripted HTTP peer on loopback: the
// request it sends, which failures it retries and how often, the error a
// failed call ends with, and what its log lines may hold.

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTest>
#include <QTranslator>

#include "ai/aicloudanalyzeclient.h"
#include "ai/aimessagelocalizer.h"
#include "ai/backenderrormessage.h"
#include "awaited.h"
#include "loopbackresponder.h"

using namespace Nomly;
using namespace Nomly::Test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString GatewayToken = u"gateway.token-for-tests.signature"_s;
const QString DeviceSecret = u"device-secret-9d2c41"_s;
const QString ApiKey = u"sk-user-key-77aa01"_s;

QStringList s_logLines;

// The shortest pauses before a retry: 0.5 s after a lost connection, 400 ms
// after a server error, less the 5% by which a coarse timer may fire early.
constexpr int TransportPause = 475;
constexpr int ServerPause = 380;

void collectLog(QtMsgType, const QMessageLogContext &, const QString &message)
{
    s_logLines.append(message);
}

using Step = LoopbackResponder::Step;

Step answer(int status, const QByteArray &body = {})
{
    return Step { Step::Action::Answer, status, body };
}

const Step Drop { Step::Action::Drop, 0, {} };
const Step Close { Step::Action::Close, 0, {} };
const Step Stall { Step::Action::Stall, 0, {} };

AnalyzeRequest sampleRequest()
{
    AnalyzeRequest request;
    request.deviceId = u"device-1"_s;
    request.deviceSecret = DeviceSecret;
    request.mimeType = u"text/plain"_s;
    request.contentKind = u"text"_s;
    request.text = u"Quarterly report for the board"_s;
    request.byokEnabled = true;
    request.aiProvider = u"gemini"_s;
    request.apiKey = ApiKey;
    request.includeTags = false;
    return request;
}

const QByteArray GoodReply = R"({"results":[{"title":"Quarterly Board Report","tags":["report"]}],
    "effective_provider":"gemini","timings":{"db":2,"ai":900,"total":910}})"_ba;

// Runs one batch against a base URL and keeps what came of it.
struct Outcome
{
    Outcome(const QString &baseUrl, std::chrono::milliseconds timeout = AICloudAnalyzeClient::DefaultTimeout)
        : client(network, HostedBackend(baseUrl, GatewayToken))
    {
        client.setTimeout(timeout);
        QElapsedTimer batchStart;
        batchStart.start();
        elapsed.start();
        result.emplace(awaited(client.sendBatch({ sampleRequest() }, batchStart)));
        milliseconds = elapsed.elapsed();
    }

    QNetworkAccessManager network;
    AICloudAnalyzeClient client;
    QElapsedTimer elapsed;
    qint64 milliseconds = 0;
    std::optional<Result<BatchAnalyzeResponse, AIServiceError>> result;
};

// Replaces a few texts as a loaded translation would.
class GermanTexts final : public QTranslator
{
public:
    QString translate(const char *context, const char *source, const char *, int) const override
    {
        if (qstrcmp(context, "AIMessages") != 0)
            return {};
        const QByteArray text(source);
        if (text == "Invalid %1 API key. Please double-check and try again.")
            return u"Ungültiger %1-API-Schlüssel."_s;
        if (text == "Image data missing")
            return u"Bilddaten fehlen"_s;
        return {};
    }

    bool isEmpty() const override { return false; }
};

} // namespace

Q_DECLARE_METATYPE(QList<Step>)

class AICloudAnalyzeClientTest : public QObject
{
    Q_OBJECT

private slots:

    void init()
    {
        qunsetenv("NOMLY_BACKEND_URL");
        s_logLines.clear();
        qInstallMessageHandler(collectLog);
    }

    void cleanup() { qInstallMessageHandler(nullptr); }

    void errorMessage_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("reason");
        QTest::addColumn<QString>("summary");

        QTest::newRow("message-wins-over-code") << 400 << R"({"message":"x","error":"invalid_key"})"_ba << u"x"_s
                                                << u"invalid_key"_s << u"status=400 body_bytes=37"_s;
        QTest::newRow("sentence-in-error-is-no-code")
            << 400 << R"({"error":"Something broke"})"_ba << u"Something broke"_s << u"bad_request"_s
            << u"status=400 body_bytes=27"_s;
        QTest::newRow("nested-error-object")
            << 401
            << R"({"error":{"message":"Invalid Gemini API key.","code":"invalid_api_key","type":"auth_error"}})"_ba
            << u"Invalid Gemini API key."_s << u"invalid_api_key"_s
            << u"status=401 body_bytes=92 code=invalid_api_key type=auth_error"_s;
        QTest::newRow("top-level-code-and-type")
            << 403 << R"({"message":"Device blocked","code":"device_blocked","type":"auth"})"_ba << u"Device blocked"_s
            << u"device_blocked"_s << u"status=403 body_bytes=66 code=device_blocked type=auth"_s;
        QTest::newRow("capitalised-word-is-no-machine-code")
            << 400 << R"({"message":"Readable","error":"Forbidden"})"_ba << u"Forbidden"_s << u"Forbidden"_s
            << u"status=400 body_bytes=42"_s;
        QTest::newRow("upper-case-code-with-underscore")
            << 402 << R"({"message":"Out of credit","error":"QUOTA_EXCEEDED"})"_ba << u"Out of credit"_s
            << u"QUOTA_EXCEEDED"_s << u"status=402 body_bytes=52"_s;
        QTest::newRow("code-with-blank-does-not-count")
            << 400 << R"({"error":{"code":"bad key","type":"invalid_request"}})"_ba
            << uR"({"error":{"code":"bad key","type":"invalid_request"}})"_s << u"invalid_request"_s
            << u"status=400 body_bytes=53 type=invalid_request"_s;
        QTest::newRow("unexpected-error-means-backend-down")
            << 500 << R"({"message":"An unexpected error occurred"})"_ba
            << u"Backend is not responding. If you're on Local mode, make sure the Supabase edge runtime is running. "
               "Otherwise check your network connection."_s
            << u"server_error"_s << u"status=500 body_bytes=42"_s;
        QTest::newRow("plain-text-body") << 418 << "I'm a teapot"_ba << u"I'm a teapot"_s << u"http_418"_s
                                         << u"status=418 body_bytes=12"_s;
        QTest::newRow("empty-body") << 502 << QByteArray() << u"Backend returned HTTP 502 with no body."_s
                                    << u"server_error"_s << u"status=502 body_bytes=0"_s;
        QTest::newRow("blank-body") << 404 << "  \n"_ba << u"Backend returned HTTP 404 with no body."_s
                                    << u"not_found"_s << u"status=404 body_bytes=3"_s;
        QTest::newRow("json-array-is-plain-text")
            << 429 << R"(["slow down"])"_ba << u"[\"slow down\"]"_s << u"rate_limit"_s << u"status=429 body_bytes=13"_s;
    }

    void errorMessage()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(QString, message);
        QFETCH(QString, reason);
        QFETCH(QString, summary);

        QCOMPARE(backendErrorMessage(status, body), message);
        QCOMPARE(backendFailureReason(status, body), reason);
        QCOMPARE(backendFailureSummary(status, body), summary);
    }

    void localizedMessage_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("english");
        QTest::addColumn<QString>("german");

        QTest::newRow("known-text") << u"Image data missing"_s << u"Image data missing"_s << u"Bilddaten fehlen"_s;
        QTest::newRow("compared-trimmed")
            << u"  Image data missing\n"_s << u"Image data missing"_s << u"Bilddaten fehlen"_s;
        QTest::newRow("provider-carried-over")
            << u"Invalid Groq API key. Please double-check and try again."_s
            << u"Invalid Groq API key. Please double-check and try again."_s << u"Ungültiger Groq-API-Schlüssel."_s;
        QTest::newRow("placeholder-needs-a-name") << u"Invalid  API key. Please double-check and try again."_s
                                                  << u"Invalid  API key. Please double-check and try again."_s
                                                  << u"Invalid  API key. Please double-check and try again."_s;
        QTest::newRow("unknown-text-untouched")
            << u" Something else \n"_s << u" Something else \n"_s << u" Something else \n"_s;
        QTest::newRow("known-text-inside-longer-one")
            << u"Image data missing for page 2"_s << u"Image data missing for page 2"_s
            << u"Image data missing for page 2"_s;
    }

    void localizedMessage()
    {
        QFETCH(QString, text);
        QFETCH(QString, english);
        QFETCH(QString, german);

        QCOMPARE(localizedAIMessage(text), english);
        GermanTexts translation;
        QVERIFY(QCoreApplication::installTranslator(&translation));
        const QString translated = localizedAIMessage(text);
        QCoreApplication::removeTranslator(&translation);
        QCOMPARE(translated, german);
    }

    void requestShape()
    {
        LoopbackResponder peer({ answer(200, GoodReply) });

        const Outcome outcome(peer.baseUrl());

        QVERIFY2(outcome.result->ok(), qPrintable(outcome.result->error()));
        QCOMPARE(outcome.result->value().results.size(), 1);
        QCOMPARE(outcome.result->value().results.at(0).title, u"Quarterly Board Report"_s);
        QCOMPARE(outcome.result->value().effectiveProvider, u"gemini"_s);
        QCOMPARE(peer.received.size(), 1);
        const QByteArray head = peer.received.at(0).head;
        QVERIFY2(head.startsWith("post /functions/v1/analyze http/1.1"), head.constData());
        QVERIFY(head.contains("\r\ncontent-type: application/json"));
        QVERIFY(head.contains("\r\ncache-control: no-store"));
        QVERIFY(head.contains("\r\npragma: no-cache"));
        QVERIFY(head.contains(QByteArray("\r\nauthorization: bearer " + GatewayToken.toLower().toUtf8())));
        const QJsonDocument body = QJsonDocument::fromJson(peer.received.at(0).body);
        QVERIFY(body.isArray());
        QCOMPARE(body.array().size(), 1);
        QCOMPARE(body.array().at(0).toObject().value(u"device_secret"_s).toString(), DeviceSecret);
        QCOMPARE(body.array().at(0).toObject().value(u"include_tags"_s), QJsonValue(false));
        // The log may name the call, never its secrets.
        for (const QString &line : std::as_const(s_logLines)) {
            QVERIFY2(!line.contains(DeviceSecret) && !line.contains(ApiKey) && !line.contains(GatewayToken),
                     qPrintable(line));
        }
    }

    void callLoop_data()
    {
        QTest::addColumn<QList<Step>>("script");
        QTest::addColumn<int>("requests");
        QTest::addColumn<int>("kind"); // -1 for success
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("reason");
        QTest::addColumn<int>("minimumMs");

        const int ok = -1;
        const auto kind = [](AIServiceError::Kind k) { return static_cast<int>(k); };

        QTest::newRow("server-error-retried-once")
            << QList<Step> { answer(502), answer(502) } << 2 << kind(AIServiceError::Kind::ApiErrorWithReason)
            << u"Backend returned HTTP 502 with no body."_s << u"server_error"_s << ServerPause;
        QTest::newRow("server-error-then-success") << QList<Step> { answer(500, "oops"), answer(200, GoodReply) } << 2
                                                   << ok << QString() << QString() << ServerPause;
        QTest::newRow("retries-count-apart") << QList<Step> { answer(503), Drop, answer(200, GoodReply) } << 3 << ok
                                             << QString() << QString() << ServerPause + TransportPause;
        QTest::newRow("server-retry-renews-transport-retry")
            << QList<Step> { Drop, answer(503), Drop, answer(200, GoodReply) } << 4 << ok << QString() << QString()
            << ServerPause + 2 * TransportPause;
        // One retry in all, never a resend of the network layer's own.
        QTest::newRow("closed-before-any-answer-twice-fails")
            << QList<Step> { Close, Close } << 2 << kind(AIServiceError::Kind::Transport) << u"Connection closed"_s
            << QString() << TransportPause;
        QTest::newRow("dropped-twice-fails") << QList<Step> { Drop, Drop } << 2 << kind(AIServiceError::Kind::Transport)
                                             << QString() << QString() << TransportPause;
        QTest::newRow("rate-limit-not-retried")
            << QList<Step> { answer(429, R"({"error":"Gemini is rate limiting — try again in a moment"})"_ba) } << 1
            << kind(AIServiceError::Kind::ApiError) << u"Gemini is rate limiting — try again in a moment"_s << QString()
            << 0;
        QTest::newRow("client-error-not-retried")
            << QList<Step> { answer(401, R"({"message":"Invalid Claude API key. Please double-check and try again.",
                                         "error":"invalid_key"})"_ba) }
            << 1 << kind(AIServiceError::Kind::ApiErrorWithReason)
            << u"Invalid Claude API key. Please double-check and try again."_s << u"invalid_key"_s << 0;
        QTest::newRow("no-results-is-invalid")
            << QList<Step> { answer(200, R"({"effective_provider":"gemini"})"_ba) } << 1
            << kind(AIServiceError::Kind::InvalidResponse) << u"Invalid server response"_s << QString() << 0;
        QTest::newRow("body-not-utf8") << QList<Step> { answer(400, "\xff\xfe\xfd") } << 1
                                       << kind(AIServiceError::Kind::ApiErrorWithReason) << u"Unknown error"_s
                                       << u"bad_request"_s << 0;
    }

    void callLoop()
    {
        QFETCH(QList<Step>, script);
        QFETCH(int, requests);
        QFETCH(int, kind);
        QFETCH(QString, text);
        QFETCH(QString, reason);
        QFETCH(int, minimumMs);

        LoopbackResponder peer(script);
        const Outcome outcome(peer.baseUrl());

        QVERIFY2(peer.received.size() == requests, qPrintable(s_logLines.join(u'\n')));
        if (kind < 0) {
            QVERIFY2(outcome.result->ok(), qPrintable(outcome.result->error()));
            QCOMPARE(outcome.result->value().results.size(), 1);
        } else {
            QVERIFY(!outcome.result->ok());
            const AIServiceError &error = outcome.result->failure();
            QCOMPARE(static_cast<int>(error.kind()), kind);
            if (!text.isEmpty())
                QCOMPARE(error.text(), text);
            QCOMPARE(error.reason().value_or(QString()), reason);
        }
        QVERIFY2(outcome.milliseconds >= minimumMs, qPrintable(QString::number(outcome.milliseconds)));
        // Each retry waits out its own pause, and a call is retried at most once
        // per kind: no more than a pause of each.
        QVERIFY2(outcome.milliseconds < 5000, qPrintable(QString::number(outcome.milliseconds)));
    }

    void refusedConnectionRetriedOnce()
    {
        QTcpServer closed;
        QVERIFY(closed.listen(QHostAddress::LocalHost));
        const QString url = u"http://127.0.0.1:%1"_s.arg(closed.serverPort());
        closed.close();

        const Outcome outcome(url);

        QVERIFY(!outcome.result->ok());
        QCOMPARE(outcome.result->failure().kind(), AIServiceError::Kind::Transport);
        QCOMPARE(outcome.result->failure().networkError(), int(QNetworkReply::ConnectionRefusedError));
        QCOMPARE(s_logLines.count(u"Retry attempt 1/2, waiting 0.5s"_s), 1);
        QVERIFY2(outcome.milliseconds >= TransportPause, qPrintable(QString::number(outcome.milliseconds)));
    }

    void slowServerIsNotRetried()
    {
        LoopbackResponder peer({ Stall });

        const Outcome outcome(peer.baseUrl(), 300ms);

        QCOMPARE(peer.received.size(), 1);
        QVERIFY(!outcome.result->ok());
        QCOMPARE(outcome.result->failure().kind(), AIServiceError::Kind::Transport);
        QCOMPARE(outcome.result->failure().text(), u"The request to the AI service timed out."_s);
        QVERIFY2(outcome.milliseconds < 2000, qPrintable(QString::number(outcome.milliseconds)));
    }

    void missingBackendUrl()
    {
        const Outcome outcome { QString() };

        QVERIFY(!outcome.result->ok());
        QCOMPARE(outcome.result->failure().kind(), AIServiceError::Kind::InvalidUrl);
        QCOMPARE(outcome.result->failure().text(), u"Invalid API URL"_s);
    }
};

QTEST_GUILESS_MAIN(AICloudAnalyzeClientTest)
#include "aicloudanalyzeclienttest.moc"
