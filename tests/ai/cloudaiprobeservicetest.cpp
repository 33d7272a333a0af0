// The key test and the model list against a provider on loopback that
// answers as each vendor documents, and fails as they do.

#include <QNetworkAccessManager>
#include <QtTest>

#include "ai/cloudaiprobeservice.h"
#include "ai/cloudproviderendpoint.h"
#include "awaited.h"
#include "loopbackresponder.h"

using namespace Qt::StringLiterals;
using Nomly::Test::LoopbackResponder;
using Step = LoopbackResponder::Step;

namespace Nomly {

namespace {

const QByteArray OpenAIModels = R"({"object":"list","data":[{"id":"gpt-5-mini","object":"model"},
    {"id":"whisper-1"},{"id":"gpt-4o-2024-08-06"},{"id":"gpt-4","owned_by":"openai"}]})"_ba;

Step answer(int status, const QByteArray &body = "{}"_ba)
{
    return { Step::Action::Answer, status, body };
}

} // namespace

class CloudAIProbeServiceTest : public QObject
{
    Q_OBJECT

private:
    QNetworkAccessManager m_network;

    // Points the provider's address at the responder for one test.
    static void route(AIProvider provider, const LoopbackResponder &peer, const QString &suffix = {})
    {
        qputenv(cloudProviderEndpoint(provider).baseUrlVariable.data(), (peer.baseUrl() + suffix).toUtf8());
    }

private slots:

    void cleanup()
    {
        for (const AIProvider provider : { AIProvider::Gemini,
                                           AIProvider::OpenAI,
                                           AIProvider::Claude,
                                           AIProvider::Groq,
                                           AIProvider::OpenAICompatible })
            qunsetenv(cloudProviderEndpoint(provider).baseUrlVariable.data());
    }

    // Each vendor's list, its query and where it reads the key; a server
    // documented with its version in the address reaches the same list.
    void requestsAsEachVendorDocuments_data()
    {
        QTest::addColumn<AIProvider>("provider");
        QTest::addColumn<QString>("suffix");
        QTest::addColumn<QByteArray>("target");
        QTest::addColumn<QByteArray>("header");

        QTest::newRow("gemini") << AIProvider::Gemini << QString() << "/v1beta/models?pageSize=1000"_ba
                                << "x-goog-api-key: key-123"_ba;
        QTest::newRow("openai") << AIProvider::OpenAI << QString() << "/v1/models"_ba
                                << "authorization: bearer key-123"_ba;
        QTest::newRow("openai-compatible-with-version") << AIProvider::OpenAI << u"/v1/"_s << "/v1/models"_ba
                                                        << "authorization: bearer key-123"_ba;
        QTest::newRow("anthropic") << AIProvider::Claude << QString() << "/v1/models?limit=1000"_ba
                                   << "x-api-key: key-123"_ba;
        QTest::newRow("groq") << AIProvider::Groq << u"/openai"_s << "/openai/v1/models"_ba
                              << "authorization: bearer key-123"_ba;
    }

    void requestsAsEachVendorDocuments()
    {
        QFETCH(AIProvider, provider);
        QFETCH(QString, suffix);
        QFETCH(QByteArray, target);
        QFETCH(QByteArray, header);

        LoopbackResponder peer(200, "{}"_ba);
        route(provider, peer, suffix);
        CloudAIProbeService probe(m_network);
        QCOMPARE(Test::awaited(probe.testKey(provider, u"  key-123 "_s)).kind, AIConnectionStatus::Kind::Ready);
        QCOMPARE(peer.received.size(), 1);
        QCOMPARE(peer.received.first().method, "GET"_ba);
        QCOMPARE(peer.received.first().path, target);
        QVERIFY2(peer.received.first().head.contains(header), peer.received.first().head.constData());
        if (provider == AIProvider::Claude)
            QVERIFY(peer.received.first().head.contains("anthropic-version: 2023-06-01"));
    }

    // The user's own server is asked at the address they set, or the
    // environment's over it, without a key when none is stored, and lists
    // every model it has loaded but those for embeddings or speech.
    void ownServer_data()
    {
        QTest::addColumn<bool>("setting");
        QTest::addColumn<bool>("environment");
        QTest::addColumn<QString>("expected");
        QTest::newRow("setting") << true << false << u"Connection OK|llava-v1.6 qwen2.5-vl-7b"_s;
        QTest::newRow("environment over setting") << false << true << u"Connection OK|llava-v1.6 qwen2.5-vl-7b"_s;
        QTest::newRow("no address") << false << false << u"Set the server's address first|"_s;
    }

    void ownServer()
    {
        QFETCH(bool, setting);
        QFETCH(bool, environment);
        QFETCH(QString, expected);
        LoopbackResponder peer(200,
                               R"({"object":"list","data":[{"id":"qwen2.5-vl-7b"},{"id":"nomic-embed-text"},)"
                               R"({"id":"llava-v1.6"}]})"_ba);
        if (environment)
            route(AIProvider::OpenAICompatible, peer, u"/v1"_s);
        const QString address
            = setting ? peer.baseUrl() + u"/v1"_s : u"http://127.0.0.1:%1/v1"_s.arg(Test::closedLoopbackPort());
        CloudAIProbeService probe(m_network);
        const QString serverUrl = setting || environment ? address : QString();
        const AIConnectionStatus status = Test::awaited(probe.testKey(AIProvider::OpenAICompatible, {}, serverUrl));
        const auto models = Test::awaited(probe.loadModels(AIProvider::OpenAICompatible, {}, serverUrl));
        QStringList ids;
        for (const ModelOption &model : models.ok() ? models.value() : QList<ModelOption>())
            ids.append(model.id);
        QCOMPARE(status.text() + u'|' + ids.join(u' '), expected);
        for (const auto &request : peer.received)
            QVERIFY(!request.head.contains("authorization"));
    }

    // A vendor's key never travels to the address set for the user's own
    // server.
    void vendorKeyStaysWithVendor()
    {
        LoopbackResponder ownServer(200, "{}"_ba);
        CloudAIProbeService probe(m_network);
        // The vendor's own address is tried (and fails here, offline or
        // refused); what matters is where the key went.
        probe.setTimeout(std::chrono::milliseconds(500));
        Test::awaited(probe.testKey(AIProvider::OpenAI, u"sk-vendor"_s, ownServer.baseUrl()));
        QVERIFY(ownServer.received.isEmpty());
    }

    // What the status row says for each answer.
    void testsTheKey_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QList<Step>>("script");
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("text");

        using Kind = AIConnectionStatus::Kind;
        QTest::newRow("ok") << u"sk-good"_s << QList<Step> { answer(200, OpenAIModels) } << int(Kind::Ready)
                            << u"Connection OK"_s;
        QTest::newRow("401") << u"sk-bad"_s << QList<Step> { answer(401) } << int(Kind::Failed)
                             << u"OpenAI rejected the API key (401)"_s;
        QTest::newRow("403") << u"sk-bad"_s << QList<Step> { answer(403) } << int(Kind::Failed)
                             << u"OpenAI rejected the API key (403)"_s;
        QTest::newRow("429-warns") << u"sk-good"_s << QList<Step> { answer(429) } << int(Kind::Warning)
                                   << u"OpenAI is rate limiting — try again in a moment"_s;
        QTest::newRow("500-warns") << u"sk-good"_s << QList<Step> { answer(503) } << int(Kind::Warning)
                                   << u"OpenAI is temporarily unavailable (503)"_s;
        QTest::newRow("404-fails") << u"sk-good"_s << QList<Step> { answer(404) } << int(Kind::Failed)
                                   << u"OpenAI returned status 404"_s;
        QTest::newRow("closed-connection") << u"sk-good"_s << QList<Step> { { Step::Action::Close, 0, {} } }
                                           << int(Kind::Failed) << u"Invalid response from OpenAI"_s;
        QTest::newRow("no-answer-in-time") << u"sk-good"_s << QList<Step> { { Step::Action::Stall, 0, {} } }
                                           << int(Kind::Failed) << u"Invalid response from OpenAI"_s;
        QTest::newRow("empty-key-no-call")
            << u"  "_s << QList<Step> { answer(200) } << int(Kind::Failed) << u"Save an API key first"_s;
    }

    void testsTheKey()
    {
        QFETCH(QString, key);
        QFETCH(QList<Step>, script);
        QFETCH(int, kind);
        QFETCH(QString, text);

        LoopbackResponder peer(script);
        route(AIProvider::OpenAI, peer);
        CloudAIProbeService probe(m_network);
        probe.setTimeout(std::chrono::milliseconds(600));
        const AIConnectionStatus status = Test::awaited(probe.testKey(AIProvider::OpenAI, key));
        QCOMPARE(int(status.kind), kind);
        QCOMPARE(status.text(), text);
        // Qt sends a GET again once when the connection closes unanswered.
        QCOMPARE(peer.received.isEmpty(), key.trimmed().isEmpty());
    }

    // The list after the catalogue's filters, or why there is none.
    void loadsModels_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QList<Step>>("script");
        QTest::addColumn<QString>("expected");

        QTest::newRow("filtered-and-sorted")
            << u"sk-good"_s << QList<Step> { answer(200, OpenAIModels) } << u"gpt-4o-2024-08-06 gpt-5-mini"_s;
        QTest::newRow("rejected-key") << u"sk-bad"_s << QList<Step> { answer(401) } << u"OpenAI returned status 401"_s;
        QTest::newRow("not-a-list") << u"sk-good"_s << QList<Step> { answer(200, "<html>"_ba) }
                                    << u"Invalid model list response"_s;
        QTest::newRow("no-key") << QString() << QList<Step> { answer(200, OpenAIModels) } << u"Save an API key first"_s;
    }

    void loadsModels()
    {
        QFETCH(QString, key);
        QFETCH(QList<Step>, script);
        QFETCH(QString, expected);

        LoopbackResponder peer(script);
        route(AIProvider::OpenAI, peer);
        CloudAIProbeService probe(m_network);
        const auto models = Test::awaited(probe.loadModels(AIProvider::OpenAI, key));
        QStringList ids;
        for (const ModelOption &model : models.ok() ? models.value() : QList<ModelOption>())
            ids.append(model.id);
        QCOMPARE(models.ok() ? ids.join(u' ') : models.error(), expected);
    }
};

} // namespace Nomly

Q_DECLARE_METATYPE(QList<Step>)

QTEST_GUILESS_MAIN(Nomly::CloudAIProbeServiceTest)
#include "cloudaiprobeservicetest.moc"
