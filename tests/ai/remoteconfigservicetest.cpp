// The remote configuration: how an answer lays over the built-in values, and
// the fetch against a loopback backend with its cache in a real defaults file.

#include <QNetworkAccessManager>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

#include <qcoro/qcorotask.h>

#include "ai/configresponse.h"
#include "ai/hostedbackend.h"
#include "ai/remoteconfigservice.h"
#include "loopbackresponder.h"
#include "platform/userdefaults.h"

using namespace Qt::StringLiterals;
using namespace Nomly;
using namespace Nomly::Test;

namespace {

const QString Token = u"gateway-token"_s;
const QDateTime Start(QDate(2026, 11, 23), QTime(9, 0), Qt::UTC);

} // namespace

class RemoteConfigServiceTest : public QObject
{
    Q_OBJECT

private slots:

    // The lists are complete on their own, so a machine that never reaches
    // the backend accepts every type.
    void builtInListsAreComplete()
    {
        const RemoteConfig config;
        QCOMPARE(config.imageExtensions.size(), 41);
        QCOMPARE(config.designExtensions.size(), 4);
        QCOMPARE(config.documentExtensions.size(), 43);
        QCOMPARE(config.videoExtensions.size(), 19);
        QCOMPARE(config.audioExtensions.size(), 11);
        QVERIFY(config.imageExtensions.contains(u"raw"_s) && config.documentExtensions.contains(u"xltm"_s));
        // The kinds common on Linux too.
        QVERIFY(config.videoExtensions.contains(u"mkv"_s) && config.audioExtensions.contains(u"opus"_s));
    }

    void answerOverBuiltIns_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<QString>("field");
        QTest::addColumn<QVariant>("expected");
        const QByteArray images = R"("image_extensions":["xyz","png"])";
        QTest::newRow("lists only add") << "{" + images + "}" << u"imageExtensions"_s
                                        << QVariant(QStringList { u"xyz"_s } + RemoteConfig().imageExtensions);
        QTest::newRow("missing list keeps built-in")
            << "{" + images + "}" << u"audioExtensions"_s << QVariant(RemoteConfig().audioExtensions);
        QTest::newRow("number replaces") << "{" + images + R"(,"processing_delay_ms":750})" << u"processingDelayMs"_s
                                         << QVariant(750);
        QTest::newRow("null is absent") << "{" + images + R"(,"batch_analysis_limit":null})" << u"batchAnalysisLimit"_s
                                        << QVariant(50);
        QTest::newRow("provider trimmed and lowered")
            << "{" + images + R"(,"ai_provider":" Gemini "})" << u"aiProvider"_s << QVariant(u"gemini"_s);
        QTest::newRow("blank provider") << "{" + images + R"(,"ai_provider":"  "})" << u"aiProvider"_s
                                        << QVariant(u"gemini"_s);
        QTest::newRow("blank google model") << "{" + images + R"(,"byok_google_model":"   "})" << u"byokGeminiModel"_s
                                            << QVariant(u"gemini-2.5-flash-lite"_s);
        QTest::newRow("gemini model key") << "{" + images + R"(,"byok_gemini_model":" gemini-x "})"
                                          << u"byokGeminiModel"_s << QVariant(u"gemini-x"_s);
        QTest::newRow("anthropic before claude")
            << "{" + images + R"(,"byok_anthropic_model":"a","byok_claude_model":"c"})" << u"byokClaudeModel"_s
            << QVariant(u"a"_s);
        QTest::newRow("groq takes its one model only") << "{" + images + R"(,"byok_groq_model":"llama-3"})"
                                                       << u"byokGroqModel"_s << QVariant(u"qwen/qwen3.6-27b"_s);
        QTest::newRow("prompt") << "{" + images + R"(,"rename_prompt_default":"Be brief"})" << u"renamePromptDefault"_s
                                << QVariant(u"Be brief"_s);
        QTest::newRow("flag") << "{" + images + R"(,"pdf_text_extraction_enabled":false})"
                              << u"pdfTextExtractionEnabled"_s << QVariant(false);
    }

    void answerOverBuiltIns()
    {
        QFETCH(QByteArray, json);
        QFETCH(QString, field);
        QFETCH(QVariant, expected);
        const auto response = ConfigResponse::fromJson(json);
        QVERIFY(response);
        const RemoteConfig config = response->applied();
        const QHash<QString, QVariant> fields {
            { u"imageExtensions"_s, config.imageExtensions },
            { u"audioExtensions"_s, config.audioExtensions },
            { u"processingDelayMs"_s, config.processingDelayMs },
            { u"batchAnalysisLimit"_s, config.batchAnalysisLimit },
            { u"aiProvider"_s, config.aiProvider },
            { u"byokGeminiModel"_s, config.byokGeminiModel },
            { u"byokClaudeModel"_s, config.byokClaudeModel },
            { u"byokGroqModel"_s, config.byokGroqModel },
            { u"renamePromptDefault"_s, config.renamePromptDefault },
            { u"pdfTextExtractionEnabled"_s, config.pdfTextExtractionEnabled },
        };
        QCOMPARE(fields.value(field), expected);
    }

    void undecodableAnswers_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::newRow("no image list") << QByteArray(R"({"processing_delay_ms":5})");
        QTest::newRow("not an object") << QByteArray(R"(["png"])");
        QTest::newRow("not JSON") << QByteArray("<html>");
        QTest::newRow("number as text") << QByteArray(R"({"image_extensions":[],"processing_delay_ms":"5"})");
        QTest::newRow("fraction for a count") << QByteArray(R"({"image_extensions":[],"batch_rename_chunk_size":2.5})");
        QTest::newRow("number in a list") << QByteArray(R"({"image_extensions":["png",3]})");
    }

    void undecodableAnswers()
    {
        QFETCH(QByteArray, json);
        QVERIFY(!ConfigResponse::fromJson(json));
    }

    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        m_defaults = std::make_unique<UserDefaults>(m_dir->filePath(u"Nomly.conf"_s));
        m_now = Start;
    }

    void cleanup()
    {
        m_defaults.reset();
        m_dir.reset();
    }

    // A good answer applies, is cached, and is not asked for again within
    // ten minutes; a new run starts from the cache.
    void fetchAppliesAndCaches()
    {
        LoopbackResponder backend(200, R"({"image_extensions":["xyz"],"max_concurrent_processing":2})");
        {
            RemoteConfigService service = makeService(backend.baseUrl());
            QSignalSpy changed(&service, &RemoteConfigService::configChanged);
            fetch(service);
            QVERIFY(service.isLoaded());
            QCOMPARE(changed.size(), 1);
            QCOMPARE(service.config().maxConcurrentProcessing, 2);
            QCOMPARE(service.lastFetchDate(), Start);
            QCOMPARE(backend.received.size(), 1);
            QCOMPARE(backend.received.first().method, "GET"_ba);
            QCOMPARE(backend.received.first().path, "/functions/v1/config"_ba);
            QVERIFY(backend.received.first().head.contains(
                QByteArray(QByteArray("authorization: bearer ") + Token.toLower().toUtf8())));

            m_now = Start.addSecs(RemoteConfigService::CacheExpirationSeconds - 1);
            fetch(service);
            QCOMPARE(backend.received.size(), 1);
        }
        RemoteConfigService restarted = makeService(backend.baseUrl());
        QVERIFY(!restarted.isLoaded());
        QCOMPARE(restarted.config().maxConcurrentProcessing, 2);
        QVERIFY(restarted.config().imageExtensions.contains(u"xyz"_s));
        m_now = Start.addSecs(RemoteConfigService::CacheExpirationSeconds);
        backend.reply = R"({"image_extensions":[]})";
        fetch(restarted);
        QCOMPARE(backend.received.size(), 2);
        QCOMPARE(restarted.config(), RemoteConfig());
    }

    void failedFetchKeepsValues_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<QString>("log");
        QTest::newRow("server error") << 500 << QByteArray("{}") << u"Config fetch failed with status: 500"_s;
        QTest::newRow("not found") << 404 << QByteArray() << u"Config fetch failed with status: 404"_s;
        QTest::newRow("bad body") << 200 << QByteArray("{}") << u"Config fetch error: .*"_s;
        QTest::newRow("nobody listening") << 0 << QByteArray() << u"Config fetch error: .*"_s;
    }

    void failedFetchKeepsValues()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, reply);
        QFETCH(QString, log);
        LoopbackResponder backend(status, reply);
        QString url = backend.baseUrl();
        if (status == 0) {
            // A port that was free a moment ago and has no listener now.
            QTcpServer probe;
            QVERIFY(probe.listen(QHostAddress::LocalHost));
            url = u"http://127.0.0.1:%1"_s.arg(probe.serverPort());
        }
        RemoteConfigService service = makeService(url);
        for (int attempt = 0; attempt < 2; ++attempt) {
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u'^' + log + u'$'));
            fetch(service);
        }
        // Each fetch tried again: a failure sets no date.
        QCOMPARE(backend.received.size(), status == 0 ? 0 : 2);
        QVERIFY(!service.isLoaded());
        QCOMPARE(service.config(), RemoteConfig());
        QVERIFY(!m_defaults->contains(RemoteConfigService::CacheKey));
    }

    void cacheFromOlderVersionsIsDroppedOnce()
    {
        m_defaults->setValue(RemoteConfigService::CacheKey, QByteArray(R"({"image_extensions":["old"]})"));
        m_defaults->setValue(RemoteConfigService::CacheDateKey, Start);
        {
            RemoteConfigService service = makeService(u"http://127.0.0.1:9"_s);
            QCOMPARE(service.config(), RemoteConfig());
            QVERIFY(!service.lastFetchDate().isValid());
        }
        m_defaults->setValue(RemoteConfigService::CacheKey, QByteArray(R"({"image_extensions":["new"]})"));
        RemoteConfigService service = makeService(u"http://127.0.0.1:9"_s);
        QVERIFY(service.config().imageExtensions.contains(u"new"_s));
    }

private:
    RemoteConfigService makeService(const QString &url)
    {
        m_backends.push_back(std::make_unique<HostedBackend>(url, Token));
        return RemoteConfigService(m_network, *m_backends.back(), *m_defaults, [this] { return m_now; });
    }

    static void fetch(RemoteConfigService &service)
    {
        auto fetching = service.fetch();
        QCoro::waitFor(std::move(fetching));
    }

    QNetworkAccessManager m_network;
    std::vector<std::unique_ptr<HostedBackend>> m_backends;
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<UserDefaults> m_defaults;
    QDateTime m_now;
};

QTEST_GUILESS_MAIN(RemoteConfigServiceTest)
#include "remoteconfigservicetest.moc"
