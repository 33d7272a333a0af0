// nomly-backend on loopback, called by the application's own analysis client
// and key sync bodies, with each AI provider stood in for by a loopback peer
// that speaks that provider's format.

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QStandardPaths>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>
#include <algorithm>
#include <csignal>
#include <memory>
#include <vector>

#include <qcoro/qcorosignal.h>

#include "ai/aicloudanalyzeclient.h"
#include "ai/configresponse.h"
#include "ai/keysyncjson.h"
#include "backend/backendserver.h"
#include "content/fileextractionservice.h"
#include "providerpeer.h"
#include "samplezips.h"

using namespace Nomly;
using namespace Nomly::Test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString Token = u"header.payload-for-tests.signature"_s;
const QByteArray Jpeg = QByteArrayLiteral("\xFF\xD8\xFF\xE0 picture of a receipt");
const QString Answer = uR"({"title":"Coffee Receipt","description":"A receipt","tags":["receipt"]})"_s;
// Bytes that a careless form writer would break: a NUL, line ends, dashes.
const QByteArray Audio = QByteArrayLiteral("ID3\x04\0\0\r\n--boundary-lookalike\r\n\r\nframes");

struct HttpReply
{
    int status = 0;
    QByteArray body;
};

// A raw call, for what the analysis client does not send.
HttpReply call(const QString &url, const QByteArray &method, const QByteArray &body, const QString &token)
{
    QNetworkAccessManager network;
    QNetworkRequest request { QUrl(url) };
    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/json"));
    if (!token.isNull())
        request.setRawHeader("Authorization", "Bearer " + token.toUtf8());
    std::unique_ptr<QNetworkReply> reply(network.sendCustomRequest(request, method, body));
    QEventLoop loop;
    QObject::connect(reply.get(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
    if (!reply->isFinished())
        loop.exec();
    return { reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), reply->readAll() };
}

AnalyzeRequest pictureRequest()
{
    AnalyzeRequest request;
    request.deviceId = u"DEVICE-1"_s;
    request.deviceSecret = u"device-secret-1"_s;
    request.contentKind = u"image"_s;
    request.image = Jpeg;
    request.imageMimeType = u"image/jpeg"_s;
    request.mimeType = u"image/jpeg"_s;
    request.filename = u"IMG_0001.jpg"_s;
    return request;
}

AnalyzeRequest ownKeyRequest(const QString &provider, const QString &key)
{
    AnalyzeRequest request = pictureRequest();
    request.byokEnabled = true;
    request.aiProvider = provider;
    if (!key.isEmpty())
        request.apiKey = key;
    return request;
}

AnalyzeRequest audioRequest(const QString &provider)
{
    AnalyzeRequest request = ownKeyRequest(provider, u"user-key"_s);
    request.contentKind = u"audio"_s;
    request.image.reset();
    request.imageMimeType.reset();
    request.audio = Audio;
    request.mimeType = u"audio/mp4"_s;
    request.filename = u"Voice Memo 12.m4a"_s;
    return request;
}

ProviderPeer::Dialect dialectOf(const QString &provider)
{
    if (provider == u"gemini")
        return ProviderPeer::Dialect::GenerateContent;
    if (provider == u"claude")
        return ProviderPeer::Dialect::Messages;
    if (provider == u"ollama")
        return ProviderPeer::Dialect::OllamaChat;
    return ProviderPeer::Dialect::ChatCompletions;
}

QByteArray keyHeaderOf(const QString &provider)
{
    if (provider == u"gemini")
        return "x-goog-api-key";
    if (provider == u"claude")
        return "x-api-key";
    return "authorization";
}

// How the picture shows in each provider's request body.
QByteArray pictureMarker(const QString &provider)
{
    const QByteArray picture = Jpeg.toBase64();
    switch (dialectOf(provider)) {
    case ProviderPeer::Dialect::GenerateContent:
        return "\"data\":\"" + picture + "\",\"mime_type\":\"image/jpeg\"";
    case ProviderPeer::Dialect::Messages:
        return "\"data\":\"" + picture + "\",\"media_type\":\"image/jpeg\",\"type\":\"base64\"";
    case ProviderPeer::Dialect::OllamaChat:
        return "\"images\":[\"" + picture + "\"]";
    case ProviderPeer::Dialect::ChatCompletions:
        break;
    }
    return "\"url\":\"data:image/jpeg;base64," + picture;
}

BYOKSyncResponse synced(const HttpReply &reply)
{
    return byokSyncResponseFromJson(QJsonDocument::fromJson(reply.body).object());
}

// A backend whose providers all live on one peer.
struct Rig
{
    // `basePath` follows the peer's address in every base URL, as servers
    // that document theirs with the version ("/v1") are set up.
    explicit Rig(const QString &provider, BackendConfig config = {}, const QString &basePath = {})
        : peer(dialectOf(provider))
    {
        config.gatewayToken = Token;
        config.defaultProvider = provider;
        for (const QString &name : { u"openai"_s, u"gemini"_s, u"claude"_s, u"groq"_s, u"ollama"_s })
            config.baseUrls.insert(name, peer.baseUrl() + basePath);
        server = std::make_unique<BackendServer>(config);
        QVERIFY(server->listen(QHostAddress::LocalHost));
        url = u"http://127.0.0.1:%1"_s.arg(server->serverPort());
    }

    Result<BatchAnalyzeResponse, AIServiceError> analyze(const QList<AnalyzeRequest> &requests)
    {
        AICloudAnalyzeClient client(network, HostedBackend(url, Token));
        std::optional<Result<BatchAnalyzeResponse, AIServiceError>> out;
        auto run = [&]() -> QCoro::Task<> {
            QElapsedTimer start;
            start.start();
            auto batch = client.sendBatch(requests, start);
            out.emplace(co_await batch);
        };
        QCoro::waitFor(run());
        return std::move(*out);
    }

    // The one result of a one-file batch; its error, or its title.
    QString analyzeOne(const AnalyzeRequest &request)
    {
        const auto reply = analyze({ request });
        if (!reply)
            return u"call failed: "_s + reply.error();
        if (reply.value().results.size() != 1)
            return u"results: %1"_s.arg(reply.value().results.size());
        const AnalyzeResponse &result = reply.value().results.first();
        return result.error ? *result.error : result.title.value_or(u"(no title)"_s);
    }

    template<typename SyncRequest> HttpReply saveKey(const SyncRequest &request)
    {
        return call(url + u"/functions/v1/save-api-key"_s,
                    "POST",
                    QJsonDocument(toJson(request)).toJson(QJsonDocument::Compact),
                    Token);
    }

    ProviderPeer peer;
    std::unique_ptr<BackendServer> server;
    QString url;
    QNetworkAccessManager network;
};

// A Pages document in the XML form that LibreOffice's import reads: one
// paragraph of body text.
QByteArray pagesDocument(const QString &text)
{
    const QByteArray index = "<?xml version='1.0' encoding='UTF-8'?>\n"
                             "<sl:document xmlns:sl='http://developer.apple.com/namespaces/sl'"
                             " xmlns:sf='http://developer.apple.com/namespaces/sf'"
                             " xmlns:sfa='http://developer.apple.com/namespaces/sfa' sl:version='92008102400'>"
                             "<sf:text-storage sf:kind='body' sfa:ID='body-1'><sf:text-body><sf:section><sf:layout>"
                             "<sf:p>"_ba
        + text.toUtf8() + "</sf:p></sf:layout></sf:section></sf:text-body></sf:text-storage></sl:document>\n"_ba;
    QTemporaryDir dir;
    const QString path = dir.filePath(u"document.pages"_s);
    if (!writeZip(path, { { u"index.xml"_s, index } }))
        return {};
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// `copies` export calls at once; each one's status and body, in the order
// of the statuses.
QList<HttpReply> exportCalls(const QString &url, const QByteArray &document, const QByteArray &extension, int copies)
{
    QNetworkAccessManager network;
    QNetworkRequest request { QUrl(url + u"/functions/v1/iwork-export"_s) };
    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/octet-stream"));
    request.setRawHeader("Authorization", "Bearer " + Token.toUtf8());
    request.setRawHeader("x-file-extension", extension);
    request.setTransferTimeout(60'000);
    if (extension != "anonymous") {
        request.setRawHeader("x-device-id", "DEVICE-1");
        request.setRawHeader("x-device-secret", "device-secret-1");
    }
    std::vector<std::unique_ptr<QNetworkReply>> replies;
    for (int i = 0; i < copies; ++i)
        replies.emplace_back(network.post(request, document));
    // Unfinished replies show as status 0.
    const bool finished = QTest::qWaitFor(
        [&] { return std::all_of(replies.cbegin(), replies.cend(), [](const auto &r) { return r->isFinished(); }); },
        90'000);
    Q_UNUSED(finished);
    QList<HttpReply> out;
    for (const auto &reply : replies)
        out.append({ reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), reply->readAll() });
    std::sort(out.begin(), out.end(), [](const HttpReply &a, const HttpReply &b) { return a.status < b.status; });
    return out;
}

BYOKSyncRequest keySync(const QString &key, bool enabled)
{
    BYOKSyncRequest request;
    request.deviceId = u"DEVICE-1"_s;
    request.deviceSecret = u"device-secret-1"_s;
    request.provider = u"openai"_s;
    request.apiKey = key;
    request.enabled = enabled;
    return request;
}

} // namespace

class BackendServerTest : public QObject
{
    Q_OBJECT

private slots:

    void initTestCase()
    {
        // The client prefers these over the URL it is given.
        qunsetenv("NOMLY_BACKEND_URL");
        qunsetenv("NOMLY_BACKEND_TOKEN");
        // Every place the backend could write to lies in this folder.
        QVERIFY(m_home.isValid());
        qputenv("HOME", QFile::encodeName(m_home.path()));
        QVERIFY(QDir(m_home.path()).mkpath(u"tmp"_s));
        qputenv("TMPDIR", QFile::encodeName(m_home.filePath(u"tmp"_s)));
        for (const char *variable : { "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_STATE_HOME" })
            qputenv(variable, QFile::encodeName(m_home.filePath(QString::fromLatin1(variable))));
    }

    // Each provider in its own format, with the caller's key or, for a call
    // without one, the operator's.
    void providerAnswers_data()
    {
        QTest::addColumn<QString>("provider");
        QTest::addColumn<QString>("key"); // empty: no own key
        QTest::addColumn<QString>("path");
        QTest::addColumn<QByteArray>("keyValue");
        QTest::addColumn<QString>("effective");
        QTest::addColumn<QString>("basePath");

        QTest::newRow("openai") << u"openai"_s << u"user-key"_s << u"/v1/chat/completions"_s
                                << QByteArray("Bearer user-key") << u"openai:gpt-4o-mini"_s << QString();
        QTest::newRow("groq") << u"groq"_s << u"user-key"_s << u"/v1/chat/completions"_s
                              << QByteArray("Bearer user-key") << u"groq:qwen/qwen3.6-27b"_s << QString();
        QTest::newRow("gemini") << u"gemini"_s << u"user-key"_s
                                << u"/v1beta/models/gemini-2.5-flash-lite:generateContent"_s << QByteArray("user-key")
                                << u"gemini:gemini-2.5-flash-lite"_s << QString();
        QTest::newRow("claude") << u"claude"_s << u"user-key"_s << u"/v1/messages"_s << QByteArray("user-key")
                                << u"claude:claude-haiku-4-5-20251001"_s << QString();
        QTest::newRow("gemini-operator-key")
            << u"gemini"_s << QString() << u"/v1beta/models/gemini-2.5-flash-lite:generateContent"_s
            << QByteArray("operator-key") << u"gemini:gemini-2.5-flash-lite"_s << QString();
        QTest::newRow("ollama") << u"ollama"_s << QString() << u"/api/chat"_s << QByteArray() << u"ollama:llava:7b"_s
                                << QString();
        // The same functions when the base URL names the version.
        QTest::newRow("openai-base-with-version")
            << u"openai"_s << u"user-key"_s << u"/v1/chat/completions"_s << QByteArray("Bearer user-key")
            << u"openai:gpt-4o-mini"_s << u"/v1/"_s;
        QTest::newRow("gemini-base-with-version")
            << u"gemini"_s << u"user-key"_s << u"/v1beta/models/gemini-2.5-flash-lite:generateContent"_s
            << QByteArray("user-key") << u"gemini:gemini-2.5-flash-lite"_s << u"/v1beta"_s;
    }

    void providerAnswers()
    {
        QFETCH(QString, provider);
        QFETCH(QString, key);
        QFETCH(QString, path);
        QFETCH(QByteArray, keyValue);
        QFETCH(QString, effective);
        QFETCH(QString, basePath);

        BackendConfig config;
        // Never sent along with the caller's own key.
        config.operatorKeys.insert(u"gemini"_s, u"operator-key"_s);
        config.ollamaModel = u"llava:7b"_s;
        Rig rig(provider, config, basePath);
        rig.peer.answer(Answer);
        const auto reply = rig.analyze({ key.isEmpty() ? pictureRequest() : ownKeyRequest(provider, key) });
        QVERIFY2(reply.ok(), qPrintable(reply.error()));
        QCOMPARE(reply.value().results.size(), 1);
        QCOMPARE(reply.value().results.first().title, u"Coffee Receipt"_s);
        QCOMPARE(reply.value().results.first().tags, QStringList { u"receipt"_s });
        QCOMPARE(reply.value().effectiveProvider, effective);
        QCOMPARE(rig.peer.received.size(), 1);
        const ProviderPeer::Request &sent = rig.peer.received.first();
        QCOMPARE(sent.path, path);
        QCOMPARE(sent.header(keyHeaderOf(provider)), keyValue);
        QVERIFY2(sent.body.contains(pictureMarker(provider)), sent.body.left(400).constData());
        if (provider != u"gemini") // which names the model in the path
            QCOMPARE(sent.json().value(u"model"_s).toString(), effective.section(u':', 1));
        if (provider == u"claude")
            QCOMPARE(sent.header("anthropic-version"), QByteArray("2023-06-01"));
    }

    // A server the caller names is reached at that address with the OpenAI
    // protocol; each key goes only with its own address: the operator's to
    // the operator's server, the caller's to the caller's.
    void ownServer_data()
    {
        QTest::addColumn<bool>("ownKey");
        QTest::addColumn<bool>("callsClientServers");
        QTest::addColumn<bool>("operatorAddress");
        QTest::addColumn<QString>("model");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("refusal");
        QTest::addColumn<QByteArray>("authorization"); // at the server reached

        QTest::newRow("no key") << true << true << false << u"qwen2.5-vl"_s << QString() << QString() << QByteArray();
        QTest::newRow("with key") << true << true << false << u"qwen2.5-vl"_s << u"local-key"_s << QString()
                                  << QByteArray("Bearer local-key");
        QTest::newRow("no model") << true << true << false << QString() << QString()
                                  << u"Choose a model of the OpenAI-compatible server."_s << QByteArray();
        QTest::newRow("shared backend") << true << false << false << u"qwen2.5-vl"_s << QString()
                                        << u"This backend does not call servers that clients name."_s << QByteArray();
        // The backend's own provider is such a server but has no address.
        QTest::newRow("operator-key-not-to-caller")
            << false << true << false << u"qwen2.5-vl"_s << QString() << QString() << QByteArray();
        QTest::newRow("operator-address-wins") << true << true << true << u"qwen2.5-vl"_s << u"user-key"_s << QString()
                                               << QByteArray("Bearer operator-key");
    }

    void ownServer()
    {
        QFETCH(bool, ownKey);
        QFETCH(bool, callsClientServers);
        QFETCH(bool, operatorAddress);
        QFETCH(QString, model);
        QFETCH(QString, key);
        QFETCH(QString, refusal);
        QFETCH(QByteArray, authorization);

        BackendConfig config;
        config.callsClientServers = callsClientServers;
        config.operatorKeys.insert(u"openai"_s, u"operator-key"_s);
        config.operatorKeys.insert(u"openaiCompatible"_s, u"operator-key"_s);
        ProviderPeer operatorServer(ProviderPeer::Dialect::ChatCompletions);
        operatorServer.answer(Answer);
        if (operatorAddress)
            config.baseUrls.insert(u"openaiCompatible"_s, operatorServer.baseUrl() + u"/v1"_s);
        Rig rig(u"openaiCompatible"_s, config);
        rig.peer.answer(Answer);
        AnalyzeRequest request = ownKey ? ownKeyRequest(u"openaiCompatible"_s, key) : pictureRequest();
        if (!model.isEmpty())
            request.byokModel = model;
        request.providerBaseUrl = rig.peer.baseUrl() + u"/v1"_s;
        const auto reply = rig.analyze({ request });
        QVERIFY2(reply.ok(), qPrintable(reply.error()));
        QCOMPARE(rig.peer.received.isEmpty(), !refusal.isEmpty() || operatorAddress);
        if (!refusal.isEmpty()) {
            QCOMPARE(reply.value().results.first().error, refusal);
            return;
        }
        QCOMPARE(reply.value().results.first().title, u"Coffee Receipt"_s);
        QCOMPARE(reply.value().effectiveProvider, u"openaiCompatible:"_s + model);
        const ProviderPeer::Request &sent = (operatorAddress ? operatorServer : rig.peer).received.first();
        QCOMPARE(sent.path, u"/v1/chat/completions"_s);
        QCOMPARE(sent.json().value(u"model"_s).toString(), model);
        QCOMPARE(sent.header("authorization"), authorization);
    }

    // What a file's result says when its provider fails, or when a rule
    // fails it before any provider is asked.
    void fileFailures_data()
    {
        QTest::addColumn<QString>("provider");
        QTest::addColumn<int>("status"); // 0 drops the connection, -1 answers too late
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("file"); // "picture", "keyless" or "audio"
        QTest::addColumn<QString>("message");

        // Statuses the provider failure test leaves out; the ones it pins
        // reach the client the same way.
        QTest::newRow("403") << u"gemini"_s << 403
                             << QByteArray(R"({"error":{"code":403,"message":"Permission denied",)"
                                           R"("status":"PERMISSION_DENIED"}})")
                             << u"picture"_s << u"Your Google AI API key doesn't have the required permissions."_s;
        QTest::newRow("404") << u"claude"_s << 404
                             << QByteArray(R"({"type":"error","error":{"type":"not_found_error","message":"model"}})")
                             << u"picture"_s
                             << u"Anthropic model is not available for this API key. Check the selected BYOK model "
                                "or provider access."_s;
        QTest::newRow("413") << u"groq"_s << 413
                             << QByteArray(R"({"error":{"message":"x","type":"invalid_request_error"}})")
                             << u"picture"_s
                             << u"Groq rejected this file because the request is too large. Try a smaller file."_s;
        QTest::newRow("dropped") << u"groq"_s << 0 << QByteArray() << u"picture"_s
                                 << u"Groq analysis failed. Please try again."_s;
        QTest::newRow("too-slow") << u"gemini"_s << -1 << QByteArray() << u"picture"_s
                                  << u"Google AI request timed out. Please retry."_s;
        QTest::newRow("unreadable-answer")
            << u"openai"_s << 200 << QByteArray() << u"picture"_s << u"AI analysis failed"_s;
        QTest::newRow("no-key-google") << u"gemini"_s << 200 << QByteArray() << u"keyless"_s
                                       << u"Missing saved Google AI BYOK key. Please save your API key again."_s;
        // Any provider off the transcribing ones takes this branch.
        QTest::newRow("audio-to-gemini") << u"gemini"_s << 200 << QByteArray() << u"audio"_s
                                         << u"Audio transcription requires Groq or OpenAI."_s;
    }

    void fileFailures()
    {
        QFETCH(QString, provider);
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(QString, file);
        QFETCH(QString, message);

        BackendConfig config;
        config.providerTimeout = std::chrono::milliseconds(300);
        Rig rig(provider, config);
        if (file != u"picture") {
            rig.peer.answer(Answer);
        } else if (status == 0) {
            rig.peer.dropConnection();
        } else if (status == -1) {
            rig.peer.answer(Answer);
            rig.peer.setDelay(std::chrono::milliseconds(1500));
        } else if (status == 200) {
            rig.peer.answer(u"I cannot name this file."_s);
        } else {
            rig.peer.fail(status, body);
        }
        const AnalyzeRequest request = file == u"audio" ? audioRequest(provider)
            : file == u"keyless"                        ? ownKeyRequest(provider, QString())
                                                        : ownKeyRequest(provider, u"user-key"_s);
        QCOMPARE(rig.analyzeOne(request), message);
        QCOMPARE(rig.peer.received.isEmpty(), file != u"picture");
    }

    // The audio goes to the provider's speech-to-text function as a form
    // upload; the chat call then names the file from the transcript, without
    // the audio.
    void audioTranscribedThenNamed_data()
    {
        QTest::addColumn<QString>("provider");
        QTest::addColumn<QString>("transcript");
        QTest::addColumn<QByteArray>("model");
        QTest::addColumn<QString>("block"); // in the prompt; empty for no transcript block

        const QString said = u"Minutes of the budget meeting with Dana"_s;
        QTest::newRow("openai") << u"openai"_s << u"  "_s + said + u"\n"_s << QByteArray("whisper-1")
                                << u"Audio speech transcript\nTranscript source: OpenAI speech-to-text\nTranscript:\n"_s
                + said
                + u"\nUse this transcript as the primary spoken-content signal for the audio "
                  "file."_s;
        QTest::newRow("groq") << u"groq"_s << said << QByteArray("whisper-large-v3-turbo")
                              << u"Transcript source: Groq speech-to-text\nTranscript:\n"_s + said;
        QTest::newRow("empty-transcript-names-from-metadata")
            << u"openai"_s << u" \n"_s << QByteArray("whisper-1") << QString();
    }

    void audioTranscribedThenNamed()
    {
        QFETCH(QString, provider);
        QFETCH(QString, transcript);
        QFETCH(QByteArray, model);
        QFETCH(QString, block);

        Rig rig(provider);
        rig.peer.answer(Answer);
        rig.peer.transcribe(transcript);
        QCOMPARE(rig.analyzeOne(audioRequest(provider)), u"Coffee Receipt"_s);
        QCOMPARE(rig.peer.received.size(), 2);
        const ProviderPeer::Request &upload = rig.peer.received.first();
        QCOMPARE(upload.path, u"/v1/audio/transcriptions"_s);
        QCOMPARE(upload.header("authorization"), QByteArray("Bearer user-key"));
        const ProviderPeer::FormPart file = upload.formPart("file");
        QCOMPARE(file.filename, QByteArray("Voice Memo 12.m4a"));
        QCOMPARE(file.contentType, QByteArray("audio/mp4"));
        QCOMPARE(file.data, Audio);
        QCOMPARE(upload.formPart("model").data, model);
        QCOMPARE(upload.formPart("response_format").data, QByteArray("json"));

        const ProviderPeer::Request &chat = rig.peer.received.last();
        QCOMPARE(chat.path, u"/v1/chat/completions"_s);
        QVERIFY(!chat.body.contains(Audio.toBase64()));
        const QString prompt = chat.json()[u"messages"_s][0][u"content"_s][0][u"text"_s].toString();
        QVERIFY2(prompt.contains(u"Filename: Voice Memo 12.m4a"), qPrintable(prompt));
        QVERIFY2(block.isEmpty() ? !prompt.contains(u"Transcript") : prompt.contains(block), qPrintable(prompt));
    }

    // Each file gets its own result in order, a failed one (here a failed
    // transcription, in the provider's words) leaves the others standing, and
    // a big batch reaches the provider a few files at a time.
    void batch()
    {
        Rig rig(u"groq"_s);
        rig.peer.answer(Answer);
        rig.peer.failTranscription(
            413, R"({"error":{"message":"Request Entity Too Large","type":"invalid_request_error"}})");
        rig.peer.setDelay(std::chrono::milliseconds(100));
        QList<AnalyzeRequest> requests(9, ownKeyRequest(u"groq"_s, u"user-key"_s));
        requests[3] = audioRequest(u"groq"_s);
        const auto reply = rig.analyze(requests);
        QVERIFY2(reply.ok(), qPrintable(reply.error()));
        QCOMPARE(reply.value().results.size(), 9);
        for (int i = 0; i < 9; ++i)
            QCOMPARE(reply.value().results.at(i).error.has_value(), i == 3);
        QCOMPARE(reply.value().results.at(3).error,
                 u"Groq rejected this file because the request is too large. Try a smaller file."_s);
        // Eight chat calls and the upload: the failed file never reaches the chat.
        QCOMPARE(rig.peer.received.size(), 9);
        QCOMPARE(rig.peer.mostAtOnce(), 4);
    }

    // The export converts with LibreOffice where it is installed and says why
    // it gives no PDF otherwise.
    void documentExport_data()
    {
        QTest::addColumn<QString>("converter");
        QTest::addColumn<QByteArray>("extension");
        QTest::addColumn<QByteArray>("document");
        QTest::addColumn<int>("copies");
        QTest::addColumn<QList<int>>("statuses");
        QTest::addColumn<QString>("found"); // in the PDF's text, or the error

        const QByteArray pages = pagesDocument(u"Invoice INV-2026-0420 for the harbour office"_s);
        QTest::newRow("pages-converted") << u"soffice"_s << "pages"_ba << pages << 1 << QList { 200 }
                                         << u"INV-2026-0420"_s;
        QTest::newRow("third-at-once-busy")
            << u"soffice"_s << "pages"_ba << pages << 3 << QList { 200, 200, 429 } << u"INV-2026-0420"_s;
        QTest::newRow("unreadable-document")
            << u"soffice"_s << "pages"_ba
            << "not a document at all"_ba << 1 << QList { 422 } << u"could not be converted"_s;
        QTest::newRow("overstaying-conversion-killed")
            << u"slow"_s << "key"_ba << pages << 1 << QList { 504 } << u"too long"_s;
        QTest::newRow("no-converter") << u"/nonexistent/soffice"_s << "pages"_ba << pages << 1 << QList { 501 }
                                      << u"LibreOffice"_s;
        QTest::newRow("no-device-identity")
            << u"soffice"_s << "anonymous"_ba << pages << 1 << QList { 401 } << u"device"_s;
        QTest::newRow("not-an-iwork-format")
            << u"soffice"_s << "docx"_ba << pages << 1 << QList { 415 } << u"Keynote"_s;
    }

    void documentExport()
    {
        QFETCH(QString, converter);
        QFETCH(QByteArray, extension);
        QFETCH(QByteArray, document);
        QFETCH(int, copies);
        QFETCH(QList<int>, statuses);
        QFETCH(QString, found);

        if (statuses.contains(200) && QStandardPaths::findExecutable(converter).isEmpty())
            QSKIP("LibreOffice (soffice) is not installed");
        BackendConfig config;
        config.documentConverter = converter;
        // A converter that never finishes, and leaves a child behind as the
        // office's own launcher does.
        const QString childPid = m_home.filePath(u"child.pid"_s);
        if (converter == u"slow") {
            config.documentConverter = m_home.filePath(u"slow-soffice"_s);
            config.conversionTimeout = 1s;
            QFile script(config.documentConverter);
            QVERIFY(script.open(QIODevice::WriteOnly));
            script.write("#!/bin/sh\nsleep 60 &\necho $! > '" + QFile::encodeName(childPid) + "'\nwait\n");
            script.close();
            QVERIFY(script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        }
        Rig rig(u"openai"_s, config);
        const QList<HttpReply> replies = exportCalls(rig.url, document, extension, copies);
        if (converter == u"slow") {
            QFile pid(childPid);
            QVERIFY(pid.open(QIODevice::ReadOnly));
            const pid_t child = pid_t(pid.readAll().trimmed().toLongLong());
            QVERIFY(child > 0);
            QVERIFY(QTest::qWaitFor([child] { return ::kill(child, 0) != 0; }, 5000));
        }

        QList<int> got;
        for (const HttpReply &reply : replies)
            got.append(reply.status);
        QCOMPARE(got, statuses);
        const HttpReply &first = replies.first();
        if (first.status != 200) {
            QVERIFY2(QJsonDocument::fromJson(first.body)[u"error"_s].toString().contains(found), first.body);
            return;
        }
        QTemporaryDir dir;
        const QString pdf = dir.filePath(u"export.pdf"_s);
        QFile file(pdf);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(first.body) == first.body.size());
        file.close();
        const FileExtractionResult read = FileExtractionService::extract(pdf, ExtractionOptions());
        QVERIFY(read.analyzeInput());
        QVERIFY(read.analyzeInput()->get<FileDocumentAnalysisPayload>()->text->contains(found));
        // Nothing of the run stays behind.
        QCOMPARE(QDir(QDir::tempPath()).entryList({ u"nomly-convert-*"_s }), QStringList());
    }

    // Calls past the token and size checks reach their function, or none.
    void plainCalls()
    {
        BackendConfig limited;
        limited.maxRequestBytes = 4096;
        Rig rig(u"claude"_s, limited);
        HttpReply reply = call(rig.url + u"/functions/v1/config"_s, "GET", {}, Token);
        QCOMPARE(reply.status, 200);
        const std::optional<ConfigResponse> config = ConfigResponse::fromJson(reply.body);
        QVERIFY(config);
        const RemoteConfig applied = config->applied();
        QCOMPARE(applied.aiProvider, u"claude"_s);
        QCOMPARE(applied.imageExtensions, RemoteConfig().imageExtensions);
        QCOMPARE(applied.byokGroqModel, u"qwen/qwen3.6-27b"_s);

        // An empty batch padded with blanks to the limit.
        reply = call(rig.url + u"/functions/v1/analyze"_s, "POST", "[]" + QByteArray(4094, ' '), Token);
        QCOMPARE(reply.status, 200);
        QVERIFY(QJsonDocument::fromJson(reply.body).isObject());
        reply = call(rig.url + u"/functions/v1/other"_s, "GET", {}, Token);
        QCOMPARE(reply.status, 404);
        QVERIFY(!QJsonDocument::fromJson(reply.body)[u"error"_s].toString().isEmpty());

        // A backend without a token refuses even the empty one.
        BackendServer open(BackendConfig {});
        QVERIFY(open.listen(QHostAddress::LocalHost));
        QCOMPARE(call(u"http://127.0.0.1:%1/functions/v1/config"_s.arg(open.serverPort()), "GET", {}, u""_s).status,
                 401);
    }

    // A key the key sync saved serves later requests that carry none, until
    // it is cleared.
    void savedKeyServesAnalysis()
    {
        Rig rig(u"openai"_s);
        rig.peer.answer(Answer);

        BYOKSyncRequest save = keySync(u"saved-key"_s, true);
        save.byokModel = u"gpt-4.1-mini"_s;
        HttpReply reply = rig.saveKey(save);
        QCOMPARE(reply.status, 200);
        const BYOKSyncResponse saved = synced(reply);
        QCOMPARE(saved.success, true);
        QCOMPARE(saved.aiProvider, u"openai"_s);
        QCOMPARE(saved.byokModel, u"gpt-4.1-mini"_s);
        QCOMPARE(saved.byokEnabled, true);
        // Held in memory only: no file the backend could write holds it.
        QDirIterator written(m_home.path(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (written.hasNext()) {
            QFile file(written.next());
            QVERIFY(file.open(QIODevice::ReadOnly));
            QVERIFY2(!file.readAll().contains("saved-key"), qPrintable(file.fileName()));
        }

        QCOMPARE(rig.analyzeOne(ownKeyRequest(u"openai"_s, QString())), u"Coffee Receipt"_s);
        QCOMPARE(rig.peer.received.last().header("authorization"), QByteArray("Bearer saved-key"));
        QCOMPARE(rig.peer.received.last().json()[u"model"_s].toString(), u"gpt-4.1-mini"_s);

        // Another secret for the same device neither reads nor changes it.
        BYOKSyncRequest impostor = keySync(u"other-key"_s, true);
        impostor.deviceSecret = u"guessed"_s;
        QCOMPARE(rig.saveKey(impostor).status, 403);
        AnalyzeRequest stranger = ownKeyRequest(u"openai"_s, QString());
        stranger.deviceSecret = u"guessed"_s;
        QCOMPARE(rig.analyzeOne(stranger), u"Missing saved OpenAI BYOK key. Please save your API key again."_s);

        reply = rig.saveKey(keySync(QString(), false));
        QCOMPARE(reply.status, 200);
        QCOMPARE(synced(reply).byokEnabled, false);
        QCOMPARE(rig.analyzeOne(ownKeyRequest(u"openai"_s, QString())),
                 u"Missing saved OpenAI BYOK key. Please save your API key again."_s);

        // The same function turns a device's local mode on.
        OllamaSyncRequest mode;
        mode.deviceId = u"DEVICE-2"_s;
        mode.deviceSecret = u"secret-2"_s;
        mode.enabled = true;
        reply = rig.saveKey(mode);
        QCOMPARE(reply.status, 200);
        const OllamaSyncResponse local = ollamaSyncResponseFromJson(QJsonDocument::fromJson(reply.body).object());
        QVERIFY(local.success && local.ollamaEnabled);
    }

    // A new key is tried with its provider first; one it refuses is kept
    // nowhere, and one it takes, or cannot judge, is kept.
    void keyTriedWithTheProvider_data()
    {
        QTest::addColumn<QString>("provider");
        QTest::addColumn<int>("status"); // 0: the provider drops the call
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("refusal"); // empty: the key is kept

        QTest::newRow("openai-refuses") << u"openai"_s << 401 << QByteArray(R"({"error":{"code":"invalid_api_key"}})")
                                        << u"Invalid OpenAI API key. Please double-check and try again."_s;
        QTest::newRow("gemini-refuses-with-400")
            << u"gemini"_s << 400
            << QByteArray(R"({"error":{"code":400,"message":"API key not valid.","status":"INVALID_ARGUMENT",)"
                          R"("details":[{"reason":"API_KEY_INVALID"}]}})")
            << u"Invalid Google AI API key. Please double-check and try again."_s;
        QTest::newRow("gemini-other-400-proves-nothing")
            << u"gemini"_s << 400 << QByteArray(R"({"error":{"status":"FAILED_PRECONDITION"}})") << QString();
        QTest::newRow("provider-takes-it") << u"claude"_s << 200 << QByteArray() << QString();
        QTest::newRow("provider-unreachable") << u"groq"_s << 0 << QByteArray() << QString();
    }

    void keyTriedWithTheProvider()
    {
        QFETCH(QString, provider);
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(QString, refusal);

        Rig rig(provider);
        if (status == 0)
            rig.peer.dropConnection();
        else if (status == 200)
            rig.peer.answer(Answer);
        else
            rig.peer.fail(status, body);
        BYOKSyncRequest save = keySync(u"typed-key"_s, true);
        save.provider = provider;
        const HttpReply reply = rig.saveKey(save);
        QCOMPARE(reply.status, 200);
        const BYOKSyncResponse answered = synced(reply);
        QCOMPARE(answered.success, refusal.isEmpty());
        QCOMPARE(answered.error.value_or(QString()), refusal);
        QVERIFY(rig.peer.received.first().header(keyHeaderOf(provider)).contains("typed-key"));
        // A later call without a key finds the stored one, or none.
        rig.peer.answer(Answer);
        const QString title = rig.analyzeOne(ownKeyRequest(provider, QString()));
        QCOMPARE(title == u"Coffee Receipt"_s, refusal.isEmpty());
    }

    // Two keys saved one after the other while the first is still being
    // tried: the later one is kept, never the older one that finished last.
    void laterKeyWins()
    {
        Rig rig(u"openai"_s);
        rig.peer.answer(Answer);
        const auto send = [&](const QString &key, QByteArray *reply) {
            QNetworkRequest request { QUrl(rig.url + u"/functions/v1/save-api-key"_s) };
            request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/json"));
            request.setRawHeader("Authorization", "Bearer " + Token.toUtf8());
            QNetworkReply *sent
                = rig.network.post(request, QJsonDocument(toJson(keySync(key, true))).toJson(QJsonDocument::Compact));
            connect(sent, &QNetworkReply::finished, this, [sent, reply] {
                *reply = sent->readAll();
                sent->deleteLater();
            });
        };
        QByteArray first;
        QByteArray second;
        rig.peer.setDelay(std::chrono::milliseconds(800));
        send(u"older-key"_s, &first);
        QTRY_COMPARE(rig.peer.received.size(), 1);
        rig.peer.setDelay(std::chrono::milliseconds(0));
        send(u"newer-key"_s, &second);
        QTRY_VERIFY(!second.isEmpty() && !first.isEmpty());

        QCOMPARE(synced({ 200, second }).success, true);
        QCOMPARE(synced({ 200, first }).success, false);
        rig.peer.received.clear();
        QCOMPARE(rig.analyzeOne(ownKeyRequest(u"openai"_s, QString())), u"Coffee Receipt"_s);
        QCOMPARE(rig.peer.received.last().header("authorization"), QByteArray("Bearer newer-key"));
    }

    // A call is decided on its head: one without the token, or declaring a
    // body over the limit, is answered at once, before a byte of the body is
    // sent (the test sends none, so a server that waited for it would time
    // out).
    void refusedOnTheHead_data()
    {
        QTest::addColumn<QByteArray>("head");
        QTest::addColumn<QByteArray>("statusLine");

        const QByteArray start = "POST /functions/v1/analyze HTTP/1.1\r\nHost: 127.0.0.1\r\n";
        const QByteArray token = "Authorization: Bearer " + Token.toUtf8() + "\r\n";
        QTest::newRow("no-token-huge-body") << start + "Content-Length: 1073741824\r\n\r\n"
                                            << QByteArray("HTTP/1.1 401");
        QTest::newRow("wrong-token") << start + "Authorization: Bearer guessed\r\nContent-Length: 10\r\n\r\n"
                                     << QByteArray("HTTP/1.1 401");
        QTest::newRow("token-prefix") << start + "Authorization: Bearer " + Token.left(10).toUtf8()
                + "\r\nContent-Length: 10\r\n\r\n"
                                      << QByteArray("HTTP/1.1 401");
        QTest::newRow("declared-body-over-limit") << start + token + "Content-Length: 67108865\r\n\r\n"
                                                  << QByteArray("HTTP/1.1 413");
        QTest::newRow("document-over-export-limit") << "POST /functions/v1/iwork-export HTTP/1.1\r\nHost: 127.0.0.1\r\n"
                + token
                + "Content-Length: 52428801\r\n\r\n" << QByteArray("HTTP/1.1 413");
        QTest::newRow("chunked-body") << start + token + "Transfer-Encoding: chunked\r\n\r\n"
                                      << QByteArray("HTTP/1.1 411");
    }

    void refusedOnTheHead()
    {
        QFETCH(QByteArray, head);
        QFETCH(QByteArray, statusLine);

        Rig rig(u"openai"_s);
        // The server lives on this thread: waits keep its event loop going.
        QTcpSocket socket;
        QByteArray reply;
        connect(&socket, &QTcpSocket::readyRead, this, [&] { reply += socket.readAll(); });
        socket.connectToHost(QHostAddress::LocalHost, rig.server->serverPort());
        QVERIFY(QTest::qWaitFor([&] { return socket.state() == QAbstractSocket::ConnectedState; }, 5000));
        socket.write(head);
        // The refusal closes the connection once its error is written.
        QVERIFY2(QTest::qWaitFor([&] { return socket.state() == QAbstractSocket::UnconnectedState; }, 5000),
                 reply.constData());
        QVERIFY2(reply.startsWith(statusLine), reply.constData());
        const QByteArray body = reply.mid(reply.indexOf("\r\n\r\n") + 4);
        QVERIFY2(!QJsonDocument::fromJson(body)[u"error"_s].toString().isEmpty(), reply.constData());
        QVERIFY(rig.peer.received.isEmpty());
    }

private:
    QTemporaryDir m_home;
};

QTEST_GUILESS_MAIN(BackendServerTest)
#include "backendservertest.moc"
