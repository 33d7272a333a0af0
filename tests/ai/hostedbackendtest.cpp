// Where the hosted backend is, how its requests look, and the key sync against
// a loopback HTTP responder: the bodies it sends, what each reply leads to,
// and that no secret ever lands in a log line.

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

#include "ai/backenderrormessage.h"
#include "ai/deviceservice.h"
#include "ai/filesecretstore.h"
#include "ai/hostedbackend.h"
#include "ai/keycustody.h"
#include "ai/keysync.h"
#include "ai/keysyncjson.h"
#include "awaited.h"
#include "platform/userdefaults.h"
#include "settings/settings.h"

using namespace Nomly;
using namespace Nomly::Test;
using namespace Qt::StringLiterals;

namespace {

QStringList s_logLines;

void captureMessage(QtMsgType, const QMessageLogContext &, const QString &message)
{
    s_logLines.append(message);
}

const QString GatewayToken = u"gateway.token-for-tests.signature"_s;
const QString ApiKey = u"sk-test-4f1b9c7d2e"_s;

struct ReceivedRequest
{
    QByteArray method;
    QByteArray path;
    QHash<QByteArray, QByteArray> headers;
    QByteArray body;
};

// A minimal HTTP/1.1 server on loopback: records each request and answers it
// with one fixed status and body, then closes the connection.
class LoopbackResponder final : public QObject
{
public:
    LoopbackResponder(int status, QByteArray body)
        : m_status(status)
        , m_body(std::move(body))
    {
        connect(&m_server, &QTcpServer::newConnection, this, &LoopbackResponder::accept);
        m_server.listen(QHostAddress::LocalHost);
    }

    QString baseUrl() const { return u"http://127.0.0.1:%1"_s.arg(m_server.serverPort()); }

    const QList<ReceivedRequest> &received() const { return m_received; }

private:
    void accept()
    {
        while (QTcpSocket *socket = m_server.nextPendingConnection()) {
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] { readFrom(socket); });
        }
    }

    void readFrom(QTcpSocket *socket)
    {
        QByteArray &buffer = m_buffers[socket];
        buffer += socket->readAll();
        const qsizetype headerEnd = buffer.indexOf("\r\n\r\n");
        if (headerEnd < 0) {
            return;
        }
        ReceivedRequest request;
        const QList<QByteArray> lines = buffer.left(headerEnd).split('\n');
        const QList<QByteArray> requestLine = lines.value(0).trimmed().split(' ');
        request.method = requestLine.value(0);
        request.path = requestLine.value(1);
        for (qsizetype i = 1; i < lines.size(); ++i) {
            const qsizetype colon = lines[i].indexOf(':');
            request.headers.insert(lines[i].left(colon).trimmed().toLower(), lines[i].mid(colon + 1).trimmed());
        }
        const qsizetype length = request.headers.value("content-length").toLongLong();
        if (buffer.size() - headerEnd - 4 < length) {
            return;
        }
        request.body = buffer.mid(headerEnd + 4, length);
        m_received.append(request);
        m_buffers.remove(socket);
        socket->write("HTTP/1.1 " + QByteArray::number(m_status) + " Status\r\nContent-Type: application/json\r\n"
                      + "Content-Length: " + QByteArray::number(m_body.size()) + "\r\nConnection: close\r\n\r\n"
                      + m_body);
        socket->disconnectFromHost();
    }

    QTcpServer m_server;
    int m_status;
    QByteArray m_body;
    QHash<QTcpSocket *, QByteArray> m_buffers;
    QList<ReceivedRequest> m_received;
};

QJsonObject jsonOf(const QByteArray &bytes)
{
    return QJsonDocument::fromJson(bytes).object();
}

} // namespace

class HostedBackendTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void baseUrl_data();
    void baseUrl();
    void request_data();
    void request();
    void errorMessage_data();
    void errorMessage();

    void syncBody_data();
    void syncBody();
    void syncOutcome_data();
    void syncOutcome();
    void noConnection();
    void noDeviceSecretSendsNothing();
    void offlineModeSync_data();
    void offlineModeSync();
    void replyIntoSettings_data();
    void replyIntoSettings();

private:
    // Builds the services over files in the temporary folder; a blocked store
    // cannot keep anything.
    void makeServices(const QString &baseUrl, bool storeWritable = true);

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<UserDefaults> m_defaults;
    std::unique_ptr<FileSecretStore> m_deviceStore;
    std::unique_ptr<FileSecretStore> m_keyStore;
    std::unique_ptr<DeviceService> m_device;
    std::unique_ptr<KeyCustody> m_custody;
    std::unique_ptr<HostedBackend> m_backend;
    QNetworkAccessManager m_network;
    std::unique_ptr<KeySync> m_sync;
};

void HostedBackendTest::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    qunsetenv("NOMLY_BACKEND_URL");
    s_logLines.clear();
    qInstallMessageHandler(captureMessage);
}

// Neither the key, the device secret nor the gateway token may appear in any
// log line of any test.
void HostedBackendTest::cleanup()
{
    qInstallMessageHandler(nullptr);
    QStringList secrets { ApiKey, GatewayToken };
    if (m_deviceStore) {
        const auto stored = awaited(m_deviceStore->read(DeviceService::ServiceName, DeviceService::DeviceSecretKey));
        if (stored && stored.value()) {
            secrets.append(QString::fromUtf8(*stored.value()));
        }
    }
    for (const QString &line : std::as_const(s_logLines)) {
        for (const QString &secret : std::as_const(secrets)) {
            QVERIFY2(!line.contains(secret), qPrintable(u"secret in log: "_s + line));
        }
    }
    m_sync.reset();
    m_custody.reset();
    m_device.reset();
    m_deviceStore.reset();
    m_keyStore.reset();
    m_defaults.reset();
}

void HostedBackendTest::makeServices(const QString &baseUrl, bool storeWritable)
{
    m_defaults = std::make_unique<UserDefaults>(m_dir->filePath(u"Nomly.conf"_s));
    m_deviceStore = std::make_unique<FileSecretStore>(m_dir->filePath(u"device.json"_s));
    QFile blocker(m_dir->filePath(u"blocker"_s));
    QVERIFY(blocker.open(QIODevice::WriteOnly));
    m_keyStore = std::make_unique<FileSecretStore>(storeWritable ? m_dir->filePath(u"keys.json"_s)
                                                                 : m_dir->filePath(u"blocker/keys.json"_s));
    m_device = std::make_unique<DeviceService>(*m_defaults, *m_deviceStore, nullptr, m_dir->filePath(u"none"_s));
    m_custody = std::make_unique<KeyCustody>(*m_keyStore);
    m_backend = std::make_unique<HostedBackend>(baseUrl, GatewayToken);
    m_sync = std::make_unique<KeySync>(m_network, *m_backend, *m_device, *m_custody);
}

void HostedBackendTest::baseUrl_data()
{
    QTest::addColumn<QString>("environment");
    QTest::addColumn<QString>("setting");
    QTest::addColumn<QString>("expected");

    QTest::newRow("environment-wins-over-setting")
        << u"http://127.0.0.1:9000"_s << u"https://backend.example"_s << u"http://127.0.0.1:9000"_s;
    QTest::newRow("setting-when-environment-is-unset")
        << QString() << u"https://backend.example"_s << u"https://backend.example"_s;
    QTest::newRow("blank-environment-falls-to-setting")
        << u"   "_s << u"https://backend.example"_s << u"https://backend.example"_s;
    QTest::newRow("neither-gives-no-url") << QString() << QString() << QString();
    QTest::newRow("non-web-scheme-is-refused") << u"file:///tmp/backend"_s << QString() << QString();
    QTest::newRow("bad-environment-does-not-fall-to-setting")
        << u"ftp://backend.example"_s << u"https://backend.example"_s << QString();
}

void HostedBackendTest::baseUrl()
{
    QFETCH(QString, environment);
    QFETCH(QString, setting);
    QFETCH(QString, expected);

    if (!environment.isNull()) {
        qputenv("NOMLY_BACKEND_URL", environment.toUtf8());
    }
    const Result<QUrl> url = HostedBackend(setting, GatewayToken).baseUrl();
    QCOMPARE(url.ok() ? url.value().toString() : QString(), expected);
}

void HostedBackendTest::request_data()
{
    QTest::addColumn<QString>("base");
    QTest::addColumn<BackendFunction>("function");
    QTest::addColumn<QString>("url");
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<int>("timeoutMs");
    QTest::addColumn<QByteArray>("contentType");

    QTest::newRow("config-is-a-short-get")
        << u"https://b.example"_s << BackendFunction::Config << u"https://b.example/functions/v1/config"_s
        << QByteArray("GET") << 10000 << QByteArray();
    QTest::newRow("key-sync-posts-json") << u"https://b.example/"_s << BackendFunction::SaveApiKey
                                         << u"https://b.example/functions/v1/save-api-key"_s << QByteArray("POST")
                                         << 30000 << QByteArray("application/json");
    QTest::newRow("analysis-waits-longest") << u"http://127.0.0.1:8080/prefix/"_s << BackendFunction::Analyze
                                            << u"http://127.0.0.1:8080/prefix/functions/v1/analyze"_s
                                            << QByteArray("POST") << 120000 << QByteArray("application/json");
    QTest::newRow("export-sends-raw-bytes")
        << u"https://b.example"_s << BackendFunction::IWorkExport << u"https://b.example/functions/v1/iwork-export"_s
        << QByteArray("POST") << 30000 << QByteArray();
}

void HostedBackendTest::request()
{
    QFETCH(QString, base);
    QFETCH(BackendFunction, function);
    QFETCH(QString, url);
    QFETCH(QByteArray, method);
    QFETCH(int, timeoutMs);
    QFETCH(QByteArray, contentType);

    const Result<QNetworkRequest> request = HostedBackend(base, GatewayToken).request(function);
    QVERIFY(request.ok());
    QCOMPARE(request.value().url().toString(), url);
    QCOMPARE(HostedBackend::method(function), method);
    QCOMPARE(request.value().transferTimeout(), timeoutMs);
    QCOMPARE(request.value().rawHeader("Authorization"), "Bearer " + GatewayToken.toUtf8());
    QCOMPARE(request.value().header(QNetworkRequest::ContentTypeHeader).toByteArray(), contentType);
}

void HostedBackendTest::errorMessage_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("expected");

    QTest::newRow("message-over-machine-code")
        << 400 << QByteArray(R"({"message":"x","error":"invalid_key"})") << u"x"_s;
    QTest::newRow("sentence-error-wins") << 400 << QByteArray(R"({"message":"x","error":"Something broke"})")
                                         << u"Something broke"_s;
    QTest::newRow("nested-error-message")
        << 401 << QByteArray(R"({"error":{"message":"Bad token"}})") << u"Bad token"_s;
    QTest::newRow("unexpected-error-reads-as-not-responding")
        << 500 << QByteArray(R"({"message":"An unexpected error occurred"})")
        << u"Backend is not responding. If you're on Local mode, make sure the Supabase edge runtime is running. "
           "Otherwise check your network connection."_s;
    QTest::newRow("plain-body-is-the-message") << 503 << QByteArray("upstream down") << u"upstream down"_s;
    QTest::newRow("empty-body-names-status") << 502 << QByteArray("  ") << u"Backend returned HTTP 502 with no body."_s;
}

void HostedBackendTest::errorMessage()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    QFETCH(QString, expected);

    QCOMPARE(backendErrorMessage(status, body), expected);
}

void HostedBackendTest::syncBody_data()
{
    QTest::addColumn<QString>("operation");
    QTest::addColumn<QJsonObject>("expected");

    QTest::newRow("save-key-sends-key-and-model") << u"save"_s
                                                  << QJsonObject { { u"provider"_s, u"openai"_s },
                                                                   { u"api_key"_s, ApiKey },
                                                                   { u"byok_model"_s, u"gpt-x"_s },
                                                                   { u"enabled"_s, true } };
    QTest::newRow("toggle-sends-only-enabled") << u"toggle"_s
                                               << QJsonObject { { u"provider"_s, u"openai"_s },
                                                                { u"api_key"_s, u""_s },
                                                                { u"enabled"_s, false },
                                                                { u"toggle_only"_s, true } };
    QTest::newRow("model-change-sends-only-model") << u"model"_s
                                                   << QJsonObject { { u"provider"_s, u"openai"_s },
                                                                    { u"api_key"_s, u""_s },
                                                                    { u"byok_model"_s, u"gpt-y"_s },
                                                                    { u"enabled"_s, true },
                                                                    { u"model_only"_s, true } };
    QTest::newRow("clear-turns-off-without-key")
        << u"clear"_s
        << QJsonObject { { u"provider"_s, u"openai"_s }, { u"api_key"_s, u""_s }, { u"enabled"_s, false } };
}

void HostedBackendTest::syncBody()
{
    QFETCH(QString, operation);
    QFETCH(QJsonObject, expected);

    LoopbackResponder responder(200, R"({"success":true})");
    makeServices(responder.baseUrl());
    Result<BYOKSyncResponse> result = byokSyncFailure(BYOKSyncError::InvalidResponse);
    if (operation == u"save") {
        result = awaited(m_sync->saveKey(AIProvider::OpenAI, ApiKey, u"gpt-x"_s));
    } else if (operation == u"toggle") {
        result = awaited(m_sync->setKeyEnabled(AIProvider::OpenAI, false));
    } else if (operation == u"model") {
        result = awaited(m_sync->changeModel(AIProvider::OpenAI, u"gpt-y"_s));
    } else {
        result = awaited(m_sync->clearKey(AIProvider::OpenAI));
    }
    QVERIFY2(result.ok(), qPrintable(result.error()));
    QCOMPARE(responder.received().size(), 1);
    const ReceivedRequest &sent = responder.received().first();
    QCOMPARE(sent.method, QByteArray("POST"));
    QCOMPARE(sent.path, QByteArray("/functions/v1/save-api-key"));
    QCOMPARE(sent.headers.value("authorization"), "Bearer " + GatewayToken.toUtf8());
    QCOMPARE(sent.headers.value("content-type"), QByteArray("application/json"));

    QJsonObject body = jsonOf(sent.body);
    QCOMPARE(body.take(u"device_id"_s).toString(), awaited(m_device->deviceId()));
    QCOMPARE(body.take(u"device_secret"_s).toString(), awaited(m_device->deviceSecret()).value());
    QCOMPARE(body, expected);
}

void HostedBackendTest::syncOutcome_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<bool>("storeWritable");
    QTest::addColumn<int>("errorCode");
    QTest::addColumn<QString>("message");

    const int ok = 0;
    const int server = static_cast<int>(BYOKSyncError::Server);
    QTest::newRow("accepted-key-is-kept")
        << 200 << QByteArray(R"({"success":true,"byok_enabled":true})") << true << ok << QString();
    QTest::newRow("refused-key-is-not-kept")
        << 200
        << QByteArray(R"({"success":false,"error":"Invalid OpenAI API key. Please double-check and try again."})")
        << true << server << u"Invalid OpenAI API key. Please double-check and try again."_s;
    QTest::newRow("refusal-without-text-has-default") << 200 << QByteArray(R"({"success":false})") << true << server
                                                      << u"Could not verify your API key. Please try again later."_s;
    QTest::newRow("refusal-message-when-no-error")
        << 200 << QByteArray(R"({"success":false,"message":"Nope"})") << true << server << u"Nope"_s;
    QTest::newRow("http-error-reads-backend-message")
        << 400 << QByteArray(R"({"message":"x","error":"invalid_key"})") << true << server << u"x"_s;
    QTest::newRow("http-error-without-body")
        << 502 << QByteArray() << true << server << u"Backend returned HTTP 502 with no body."_s;
    QTest::newRow("unreadable-reply") << 200 << QByteArray("<html>") << true
                                      << static_cast<int>(BYOKSyncError::InvalidResponse) << QString();
    QTest::newRow("keyring-refuses-accepted-key") << 200 << QByteArray(R"({"success":true})") << false
                                                  << static_cast<int>(BYOKSyncError::KeychainSaveFailed) << QString();
}

void HostedBackendTest::syncOutcome()
{
    QFETCH(int, status);
    QFETCH(QByteArray, reply);
    QFETCH(bool, storeWritable);
    QFETCH(int, errorCode);
    QFETCH(QString, message);

    LoopbackResponder responder(status, reply);
    makeServices(responder.baseUrl(), storeWritable);
    const Result<BYOKSyncResponse> result = awaited(m_sync->saveKey(AIProvider::OpenAI, ApiKey, std::nullopt));

    QCOMPARE(result.ok() ? 0 : result.failure().code, errorCode);
    if (!message.isNull()) {
        QCOMPARE(result.error(), message);
    }
    QVERIFY(!result.error().contains(ApiKey));
    QCOMPARE(awaited(m_custody->load(AIProvider::OpenAI)),
             errorCode == 0 ? std::optional<QString>(ApiKey) : std::nullopt);
}

void HostedBackendTest::noConnection()
{
    QString closedUrl;
    {
        QTcpServer probe;
        QVERIFY(probe.listen(QHostAddress::LocalHost));
        closedUrl = u"http://127.0.0.1:%1"_s.arg(probe.serverPort());
    }
    makeServices(closedUrl);
    const Result<BYOKSyncResponse> result = awaited(m_sync->saveKey(AIProvider::Groq, ApiKey, std::nullopt));
    QCOMPARE(result.failure().code, static_cast<int>(BYOKSyncError::Server));
    QCOMPARE(result.error(), u"Could not connect to the backend. Check your connection and try again."_s);
    QVERIFY(!awaited(m_custody->has(AIProvider::Groq)));
}

// With no store for the device secret, the backend hears nothing at all.
void HostedBackendTest::noDeviceSecretSendsNothing()
{
    LoopbackResponder responder(200, R"({"success":true})");
    makeServices(responder.baseUrl());
    m_deviceStore = std::make_unique<FileSecretStore>(m_dir->filePath(u"blocker/device.json"_s));
    m_device = std::make_unique<DeviceService>(*m_defaults, *m_deviceStore, nullptr, m_dir->filePath(u"none"_s));
    m_sync = std::make_unique<KeySync>(m_network, *m_backend, *m_device, *m_custody);

    const Result<BYOKSyncResponse> result = awaited(m_sync->saveKey(AIProvider::Gemini, ApiKey, std::nullopt));
    QCOMPARE(result.failure().code, static_cast<int>(BYOKSyncError::DeviceAuthentication));
    QCOMPARE(result.error(), u"Could not initialize device authentication. Please restart Nomly and try again."_s);
    QCoreApplication::processEvents();
    QCOMPARE(responder.received().size(), 0);
    QVERIFY(!awaited(m_custody->has(AIProvider::Gemini)));
}

void HostedBackendTest::offlineModeSync_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<std::optional<bool>>("confirmed");

    QTest::newRow("backend-confirms-mode")
        << 200 << QByteArray(R"({"success":true,"ollama_enabled":true})") << std::optional<bool>(true);
    QTest::newRow("server-error-is-a-logged-failure")
        << 500 << QByteArray(R"({"error":"down"})") << std::optional<bool>();
}

void HostedBackendTest::offlineModeSync()
{
    QFETCH(int, status);
    QFETCH(QByteArray, reply);
    QFETCH(std::optional<bool>, confirmed);

    LoopbackResponder responder(status, reply);
    makeServices(responder.baseUrl());
    const Result<OllamaSyncResponse> result = awaited(m_sync->syncOfflineMode(true));

    QCOMPARE(result.ok() ? result.value().ollamaEnabled : std::optional<bool>(), confirmed);
    QCOMPARE(responder.received().size(), 1);
    QJsonObject body = jsonOf(responder.received().first().body);
    QVERIFY(!body.take(u"device_secret"_s).toString().isEmpty());
    QVERIFY(!body.take(u"device_id"_s).toString().isEmpty());
    QCOMPARE(body, (QJsonObject { { u"enabled"_s, true }, { u"ollama_only"_s, true } }));
    QCOMPARE(s_logLines.filter(u"Offline mode sync failed"_s).size(), result.ok() ? 0 : 1);
}

void HostedBackendTest::replyIntoSettings_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<AIProvider>("provider");
    QTest::addColumn<bool>("enabled");
    QTest::addColumn<std::optional<QString>>("claudeModel");

    QTest::newRow("reply-without-model-keeps-model") << QByteArray(R"({"ai_provider":"claude","byok_enabled":true})")
                                                     << AIProvider::Claude << true << std::optional<QString>(u"old"_s);
    QTest::newRow("null-model-clears-model") << QByteArray(R"({"ai_provider":"claude","byok_model":null})")
                                             << AIProvider::Claude << false << std::optional<QString>();
    QTest::newRow("model-set-for-named-provider") << QByteArray(R"({"ai_provider":"claude","byok_model":"sonnet"})")
                                                  << AIProvider::Claude << false << std::optional<QString>(u"sonnet"_s);
    QTest::newRow("unknown-provider-keeps-settings-provider")
        << QByteArray(R"({"ai_provider":"mystery","byok_enabled":true})") << AIProvider::Gemini << true
        << std::optional<QString>(u"old"_s);
}

void HostedBackendTest::replyIntoSettings()
{
    QFETCH(QByteArray, reply);
    QFETCH(AIProvider, provider);
    QFETCH(bool, enabled);
    QFETCH(std::optional<QString>, claudeModel);

    Settings settings;
    settings.byokClaudeModel = u"old"_s;
    settings.byokGeminiModel = u"gemini-old"_s;
    applyKeySyncReply(byokSyncResponseFromJson(jsonOf(reply)), AIProvider::Claude, settings);
    QCOMPARE(settings.aiProvider, provider);
    QCOMPARE(settings.byokEnabled, enabled);
    QCOMPARE(settings.byokClaudeModel, claudeModel);
    QCOMPARE(settings.byokGeminiModel, std::optional<QString>(u"gemini-old"_s));
}

QTEST_GUILESS_MAIN(HostedBackendTest)
#include "hostedbackendtest.moc"
