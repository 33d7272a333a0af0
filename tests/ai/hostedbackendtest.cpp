// Where the hosted backend is, how its requests look, and the key sync against
// a loopback HTTP responder: the bodies it sends, what each reply leads to,
// and that no secret ever lands in a log line.

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

#include "ai/deviceservice.h"
#include "ai/filesecretstore.h"
#include "ai/hostedbackend.h"
#include "ai/keycustody.h"
#include "ai/keysync.h"
#include "ai/keysyncjson.h"
#include "awaited.h"
#include "loopbackresponder.h"
#include "platform/userdefaults.h"
#include "settings/settings.h"

using namespace Nomly;
using namespace Nomly::Test;
using namespace Qt::StringLiterals;

namespace {

QStringList s_logLines;
const QString GatewayToken = u"gateway.token-for-tests.signature"_s;
const QString ApiKey = u"sk-test-4f1b9c7d2e"_s;

// The key sync over files in dir; the store named in blocked sits below a
// regular file and cannot keep anything.
struct Services
{
    Services(const QTemporaryDir &dir, const QString &url, const QString &blocked = QString())
        : defaults(dir.filePath(u"Nomly.conf"_s))
        , deviceStore(dir.filePath((blocked == u"device" ? u"blocker/"_s : QString()) + u"device.json"_s))
        , keyStore(dir.filePath((blocked == u"keys" ? u"blocker/"_s : QString()) + u"keys.json"_s))
        , device(defaults, deviceStore, nullptr, dir.filePath(u"none"_s))
        , custody(keyStore)
        , backend(url, GatewayToken)
        , sync(network, backend, device, custody)
    {}

    UserDefaults defaults;
    FileSecretStore deviceStore, keyStore;
    DeviceService device;
    KeyCustody custody;
    HostedBackend backend;
    QNetworkAccessManager network;
    KeySync sync;
};

} // namespace

class HostedBackendTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void syncBody_data();
    void syncBody();
    void syncOutcome_data();
    void syncOutcome();
    void plainHttpOnlyOnThisMachine_data();
    void plainHttpOnlyOnThisMachine();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
};

void HostedBackendTest::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QFile blocker(m_dir->filePath(u"blocker"_s));
    QVERIFY(blocker.open(QIODevice::WriteOnly));
    qunsetenv("NOMLY_BACKEND_URL");
    s_logLines.clear();
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &line) { s_logLines.append(line); });
}

// Neither the key, the device secret nor the gateway token may appear in any
// log line of any test.
void HostedBackendTest::cleanup()
{
    qInstallMessageHandler(nullptr);
    QStringList secrets { ApiKey, GatewayToken };
    FileSecretStore deviceStore(m_dir->filePath(u"device.json"_s));
    const auto stored = awaited(deviceStore.read(DeviceService::ServiceName, DeviceService::DeviceSecretKey));
    if (stored && stored.value()) {
        secrets.append(QString::fromUtf8(*stored.value()));
    }
    for (const QString &line : std::as_const(s_logLines)) {
        for (const QString &secret : std::as_const(secrets)) {
            QVERIFY2(!line.contains(secret), qPrintable(u"secret in log: "_s + line));
        }
    }
}

// Every body also carries the device id and secret.
void HostedBackendTest::syncBody_data()
{
    QTest::addColumn<QString>("operation");
    QTest::addColumn<QByteArray>("expected");

    QTest::newRow("save-key-sends-key-and-model")
        << u"save"_s << R"({"provider":"openai","api_key":"sk-test-4f1b9c7d2e",
                                                  "byok_model":"gpt-x","enabled":true})"_ba;
    QTest::newRow("toggle-sends-only-enabled")
        << u"toggle"_s << R"({"provider":"openai","api_key":"","enabled":false,"toggle_only":true})"_ba;
    QTest::newRow("model-change-sends-only-model")
        << u"model"_s
        << R"({"provider":"openai","api_key":"","byok_model":"gpt-y","enabled":true,"model_only":true})"_ba;
    QTest::newRow("clear-turns-off-without-key")
        << u"clear"_s << R"({"provider":"openai","api_key":"","enabled":false})"_ba;
    QTest::newRow("offline-mode-sends-only-mode") << u"offline"_s << R"({"enabled":true,"ollama_only":true})"_ba;
}

void HostedBackendTest::syncBody()
{
    QFETCH(QString, operation);
    QFETCH(QByteArray, expected);

    LoopbackResponder responder(200, R"({"success":true})");
    Services services(*m_dir, responder.baseUrl());
    KeySync &sync = services.sync;
    const bool ok = operation == u"offline"
        ? awaited(sync.syncOfflineMode(true)).ok()
        : awaited(operation == u"save"         ? sync.saveKey(AIProvider::OpenAI, ApiKey, u"gpt-x"_s)
                      : operation == u"toggle" ? sync.setKeyEnabled(AIProvider::OpenAI, false)
                      : operation == u"model"  ? sync.changeModel(AIProvider::OpenAI, u"gpt-y"_s)
                                               : sync.clearKey(AIProvider::OpenAI))
              .ok();
    QVERIFY(ok);
    QCOMPARE(responder.received.size(), 1);
    QCOMPARE(responder.received.first().path, "/functions/v1/save-api-key"_ba);
    QJsonObject body = QJsonDocument::fromJson(responder.received.first().body).object();
    QCOMPARE(body.take(u"device_id"_s).toString(), awaited(services.device.deviceId()));
    QCOMPARE(body.take(u"device_secret"_s).toString(), awaited(services.device.deviceSecret()).value());
    QCOMPARE(body, QJsonDocument::fromJson(expected).object());
}

void HostedBackendTest::syncOutcome_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<QString>("blocked");
    QTest::addColumn<BYOKSyncError>("error");
    QTest::addColumn<QString>("message");

    const auto server = BYOKSyncError::Server;
    const auto row = [&](const char *name, int status, const QByteArray &reply, const QString &message) {
        QTest::newRow(name) << status << reply << QString() << server << message;
    };
    QTest::newRow("accepted-key-is-kept")
        << 200 << R"({"success":true})"_ba << QString() << BYOKSyncError {} << QString();
    row("refused-key-is-not-kept", 200, R"({"success":false,"error":"Invalid key."})", u"Invalid key."_s);
    row("refusal-without-text-has-default",
        200,
        R"({"success":false})",
        u"Could not verify your API key. Please try again later."_s);
    row("message-over-machine-code", 400, R"({"message":"x","error":"invalid_key"})", u"x"_s);
    row("sentence-error-wins", 400, R"({"message":"x","error":"Something broke"})", u"Something broke"_s);
    row("nested-error-message", 401, R"({"error":{"message":"Bad token"}})", u"Bad token"_s);
    row("unexpected-error-reads-as-not-responding",
        500,
        R"({"message":"An unexpected error occurred"})",
        u"Backend is not responding. If you're on Local mode, make sure the Supabase edge runtime is running. "
        "Otherwise check your network connection."_s);
    row("plain-body-is-the-message", 503, "upstream down", u"upstream down"_s);
    row("empty-body-names-status", 502, "  ", u"Backend returned HTTP 502 with no body."_s);
    row("no-connection", -1, QByteArray(), u"Could not connect to the backend. Check your connection and try again."_s);
    QTest::newRow("unreadable-reply") << 200 << "<html>"_ba << QString() << BYOKSyncError::InvalidResponse << QString();
    QTest::newRow("keyring-refuses-accepted-key")
        << 200 << R"({"success":true})"_ba << u"keys"_s << BYOKSyncError::KeychainSaveFailed << QString();
    QTest::newRow("no-device-secret-sends-nothing")
        << 200 << R"({"success":true})"_ba << u"device"_s << BYOKSyncError::DeviceAuthentication
        << u"Could not initialize device authentication. Please restart Nomly and try again."_s;
}

void HostedBackendTest::syncOutcome()
{
    QFETCH(int, status);
    QFETCH(QByteArray, reply);
    QFETCH(QString, blocked);
    QFETCH(BYOKSyncError, error);
    QFETCH(QString, message);

    LoopbackResponder responder(status, reply);
    QString url = responder.baseUrl();
    if (status < 0) {
        QTcpServer probe;
        QVERIFY(probe.listen(QHostAddress::LocalHost));
        url = u"http://127.0.0.1:%1"_s.arg(probe.serverPort());
    }
    Services services(*m_dir, url, blocked);
    const Result<BYOKSyncResponse> result = awaited(services.sync.saveKey(AIProvider::OpenAI, ApiKey, std::nullopt));

    QCOMPARE(result.ok() ? 0 : result.failure().code, static_cast<int>(error));
    if (!message.isNull()) {
        QCOMPARE(result.error(), message);
    }
    QVERIFY(!result.error().contains(ApiKey));
    QCOMPARE(awaited(services.custody.load(AIProvider::OpenAI)), result.ok() ? std::optional(ApiKey) : std::nullopt);
    QCoreApplication::processEvents();
    QCOMPARE(responder.received.size(), status > 0 && blocked != u"device" ? 1 : 0);
}

// Keys and files travel in the request bodies.
void HostedBackendTest::plainHttpOnlyOnThisMachine_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<bool>("accepted");

    QTest::newRow("https-anywhere") << u"https://nomly.example.org/base"_s << true;
    QTest::newRow("http-loopback-address") << u"http://127.0.0.1:8787"_s << true;
    QTest::newRow("http-localhost") << u"http://localhost:8787"_s << true;
    QTest::newRow("http-ipv6-loopback") << u"http://[::1]:8787"_s << true;
    QTest::newRow("http-local-network") << u"http://192.168.1.20:8787"_s << false;
    QTest::newRow("http-named-host") << u"http://nomly.example.org"_s << false;
}

void HostedBackendTest::plainHttpOnlyOnThisMachine()
{
    QFETCH(QString, url);
    QFETCH(bool, accepted);

    qunsetenv("NOMLY_BACKEND_URL");
    const Result<QUrl> base = HostedBackend(url, u"token"_s).baseUrl();
    QCOMPARE(base.ok(), accepted);
    if (!accepted)
        QVERIFY2(base.error().contains(u"plain HTTP"_s), qPrintable(base.error()));
}

QTEST_GUILESS_MAIN(HostedBackendTest)
#include "hostedbackendtest.moc"
