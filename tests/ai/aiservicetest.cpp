// The analysis orchestrator with real files, a real profile and both routes
// on loopback: what each kind of input becomes on the wire, when a batch
// ends early, and where the answers land.

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMutex>
#include <QNetworkAccessManager>
#include <QTemporaryDir>
#include <QTest>
#include <algorithm>
#include <functional>
#include <memory>

#include "ai/aiimageartifactcache.h"
#include "ai/aiservice.h"
#include "ai/deviceservice.h"
#include "awaited.h"
#include "content/textrecognizer.h"
#include "loopbackresponder.h"
#include "ollamapeer.h"
#include "profileservices.h"
#include "samplepdfs.h"
#include "samplepictures.h"
#include "samplerecordings.h"
#include "samplezips.h"

using namespace Nomly;
using namespace Nomly::Test;
using namespace Qt::StringLiterals;

namespace {

const QString GatewayToken = u"gateway.token-for-tests.signature"_s;
const QString LocalModel = u"llama3.2-vision:latest"_s;
const QByteArray OneTitle = R"({"results":[{"title":"Hosted Title"}]})"_ba;
constexpr qint64 FourMiB = 4 * 1024 * 1024;
constexpr qint64 EighteenMiB = 18 * 1024 * 1024;
const QStringList TextLines { u"INVOICE NUMBER 4471"_s, u"PAYABLE WITHIN THIRTY DAYS"_s };

QMutex s_logLock;
QStringList s_logLines;
QtMessageHandler s_previousHandler = nullptr;

void collectLog(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    {
        const QMutexLocker locker(&s_logLock);
        s_logLines.append(message);
    }
    s_previousHandler(type, context, message);
}

bool logged(const QString &part)
{
    const QMutexLocker locker(&s_logLock);
    return std::any_of(
        s_logLines.cbegin(), s_logLines.cend(), [&](const QString &line) { return line.contains(part); });
}

// The keys of a sent request named in `keys` (blank-separated), as compact
// JSON that leaves out what the request left out: one comparison states what
// is sent and what is not.
QByteArray picked(const QJsonObject &sent, const QString &keys)
{
    QJsonObject out;
    for (const QString &key : keys.split(u' ', Qt::SkipEmptyParts)) {
        if (sent.contains(key))
            out.insert(key, sent.value(key));
    }
    return QJsonDocument(out).toJson(QJsonDocument::Compact);
}

QByteArray canonical(const QByteArray &json)
{
    return QJsonDocument::fromJson(json).toJson(QJsonDocument::Compact);
}

bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QByteArray decoded(const QJsonValue &base64)
{
    return QByteArray::fromBase64(base64.toString().toLatin1());
}

// The long edge of a JPEG sent in base64; 0 for anything else.
int jpegEdge(const QJsonValue &base64)
{
    const QByteArray bytes = decoded(base64);
    const QImage image = bytes.startsWith("\xff\xd8\xff") ? QImage::fromData(bytes, "JPEG") : QImage();
    return std::max(image.width(), image.height());
}

AIAnalyzeInput textInput(const QString &path, const QString &text)
{
    writeFile(path, text.toUtf8());
    const QFileInfo file(path);
    return FileTextAnalysisPayload { path, text, file.fileName(), file.suffix(), u"text/plain"_s };
}

// Batch options as `change` leaves the defaults.
AnalyzeBatchOptions batchOptions(const std::function<void(AnalyzeBatchOptions &)> &change)
{
    AnalyzeBatchOptions options;
    change(options);
    return options;
}

FileDocumentAnalysisPayload pdfPayload(const QString &path, int pageCount, const QList<int> &indices)
{
    FileDocumentAnalysisPayload payload;
    payload.originalPath = path;
    payload.filename = QFileInfo(path).fileName();
    payload.originalExtension = u"pdf"_s;
    payload.mimeType = u"application/pdf"_s;
    payload.previewPageIndices = indices;
    payload.pageCount = pageCount;
    return payload;
}

// One test's world: a profile in a temporary folder, both routes on
// loopback and the service between them.
struct Rig
{
    Rig()
        : profile(dir.path(), ProfileServices::Keys::InFile)
        , device(profile.defaults, *profile.secrets, nullptr, dir.filePath(u"no-machine-id"_s))
        , hosted(200, OneTitle)
        , service(network, HostedBackend(hosted.baseUrl(), GatewayToken), device, *profile.custody, artifacts, [this] {
            return remoteProvider;
        })
    {
        ollama.answerAlways(OllamaPeer::reply(u"{\"title\":\"Local Title\"}"_s));
    }

    QTemporaryDir dir;
    ProfileServices profile;
    DeviceService device;
    AIImageArtifactCache artifacts { std::nullopt };
    QNetworkAccessManager network;
    LoopbackResponder hosted;
    OllamaPeer ollama;
    QString remoteProvider;
    AIService service;
};

} // namespace

Q_DECLARE_METATYPE(Nomly::AnalyzeBatchOptions)

class AIServiceTest : public QObject
{
    Q_OBJECT

private:
    QString path(const QString &name) const { return m_rig->dir.filePath(name); }

    // The requests of the one call the hosted backend received.
    QJsonArray sentRequests() const
    {
        if (m_rig->hosted.received.size() != 1)
            return {};
        return QJsonDocument::fromJson(m_rig->hosted.received.first().body).array();
    }

    QJsonObject sentRequest() const { return sentRequests().at(0).toObject(); }

    // The pictures of the first chat call the Ollama peer received.
    QJsonArray ollamaImages() const
    {
        const QJsonObject call = m_rig->ollama.chatRequests().value(0).json();
        return call.value("messages"_L1).toArray().at(0).toObject().value("images"_L1).toArray();
    }

    AnalyzeBatchOptions localOptions() const
    {
        AnalyzeBatchOptions options;
        options.aiProcessingMode = AIProcessingMode::Local;
        options.localAIEndpoint = m_rig->ollama.endpoint();
        options.localAIModel = LocalModel;
        return options;
    }

    Result<AIAnalyzeBatchResult, AIServiceError> analyze(QList<AIAnalyzeInput> inputs, AnalyzeBatchOptions options = {})
    {
        return awaited(m_rig->service.analyzeBatch(std::move(inputs), std::move(options)));
    }

    Result<PreparedAnalyzeRequests, AIServiceError> prepare(QList<AIAnalyzeInput> inputs, AnalyzeBatchOptions options)
    {
        return awaited(m_rig->service.prepareBatchRequests(std::move(inputs), std::move(options)));
    }

    void saveKey(AIProvider provider, const QString &key)
    {
        QVERIFY(awaited(m_rig->profile.custody->save(provider, key)));
    }

    std::unique_ptr<Rig> m_rig;

private slots:

    void initTestCase()
    {
        // The environment's backend would win over the loopback one.
        qunsetenv(HostedBackend::BaseUrlVariable.toLatin1().constData());
        s_previousHandler = qInstallMessageHandler(collectLog);
    }

    void init()
    {
        m_rig = std::make_unique<Rig>();
        QVERIFY(m_rig->dir.isValid());
        const QMutexLocker locker(&s_logLock);
        s_logLines.clear();
    }

    void cleanup() { m_rig.reset(); }

    void emptyBatchSendsNothing()
    {
        const auto result = analyze({});
        QVERIFY(result.ok());
        QCOMPARE(result.value(), AIAnalyzeBatchResult {});
        QVERIFY(m_rig->hosted.received.isEmpty());
        // Not even a device secret was made for it.
        QVERIFY(!QFile::exists(path(u"secrets.json"_s)));
    }

    // Without the device's secret no call can be authenticated.
    void deviceIdentityUnavailable()
    {
        QVERIFY(QDir().mkpath(path(u"secrets.json"_s)));
        const auto result = analyze({ textInput(path(u"notes.txt"_s), u"Minutes of the planning meeting"_s) });
        QVERIFY(!result.ok());
        QCOMPARE(result.failure().kind(), AIServiceError::Kind::ApiError);
        QVERIFY(m_rig->hosted.received.isEmpty());
    }

    void requestFields_data()
    {
        QTest::addColumn<AnalyzeBatchOptions>("options");
        QTest::addColumn<QByteArray>("expected"); // the fields that options shape

        QTest::newRow("plain") << batchOptions([](auto &o) { o.outputLanguage = u"de"_s; })
                               << R"({"language":"de"})"_ba;
        QTest::newRow("regenerate") << batchOptions([](auto &o) {
            o.regenerate = true;
            o.outputLanguage.clear();
            o.rejectedTitles = QStringList { u"Old Title"_s };
            o.requestedFieldKeys = QStringList { u"date"_s };
        }) << R"({"regenerate":true,"rejected_titles":["Old Title"],"requested_field_keys":["date"]})"_ba;
        // True is the default and never sent; without tags their prompt
        // has no use.
        const auto overridden = [](bool description, bool tags) {
            return batchOptions([=](auto &o) {
                o.outputLanguage.clear();
                o.outputOptions = { description, tags };
                o.renamePromptOverride = u"After the sender"_s;
                o.tagPromptOverride = u"Colours only"_s;
            });
        };
        QTest::newRow("both-wanted") << overridden(
            true, true) << R"({"rename_prompt_override":"After the sender","tag_prompt_override":"Colours only"})"_ba;
        QTest::newRow("no-tags") << overridden(true, false)
                                 << R"({"include_tags":false,"rename_prompt_override":"After the sender"})"_ba;
        QTest::newRow("no-description") << overridden(false, true)
                                        << R"({"include_description":false,"rename_prompt_override":
                                               "After the sender","tag_prompt_override":"Colours only"})"_ba;
    }

    void requestFields()
    {
        QFETCH(AnalyzeBatchOptions, options);
        QFETCH(QByteArray, expected);

        const QString text = u"Invoice 2291 from Harbor Supplies, due in May."_s;
        QVERIFY(analyze({ textInput(path(u"invoice.txt"_s), text) }, options).ok());
        const QJsonObject sent = sentRequest();
        QCOMPARE(picked(sent,
                        u"regenerate language rejected_titles requested_field_keys include_description include_tags "
                        "rename_prompt_override tag_prompt_override"_s),
                 canonical(expected));
        QCOMPARE(picked(sent, u"content_kind text filename original_extension mime_type byok_enabled api_key image"_s),
                 canonical(R"({"content_kind":"text","text":"Invoice 2291 from Harbor Supplies, due in May.",
                    "filename":"invoice.txt","original_extension":"txt","mime_type":"text/plain",
                    "byok_enabled":false})"_ba));
        QVERIFY(!sent.value("device_id"_L1).toString().isEmpty());
        QVERIFY(!sent.value("device_secret"_L1).toString().isEmpty());
        QVERIFY(!logged(sent.value("device_secret"_L1).toString()));
    }

    void byokKeyAndModel_data()
    {
        QTest::addColumn<AnalyzeBatchOptions>("options");
        QTest::addColumn<QString>("savedKey"); // null: none saved
        QTest::addColumn<QString>("failure"); // empty: the call goes out
        QTest::addColumn<QByteArray>("expected");

        const auto byok = [](std::optional<AIProvider> provider, std::optional<QString> model) {
            return batchOptions([=](auto &o) {
                o.byokEnabled = true;
                o.aiProvider = provider;
                o.byokModel = model;
            });
        };
        QTest::newRow("no-saved-key") << byok(AIProvider::OpenAI, u"gpt-4o"_s) << QString()
                                      << u"Missing saved OpenAI BYOK key. Please save your API key again."_s
                                      << QByteArray();
        QTest::newRow("blank-saved-key") << byok(AIProvider::Claude, std::nullopt) << u"  \n "_s
                                         << u"Missing saved Anthropic BYOK key. Please save your API key again."_s
                                         << QByteArray();
        QTest::newRow("padded-key-and-model")
            << byok(AIProvider::OpenAI, u"  gpt-4o-mini "_s) << u"  sk-user-41ab \n"_s << QString()
            << R"({"byok_enabled":true,"ai_provider":"openai","api_key":"sk-user-41ab","byok_model":"gpt-4o-mini"})"_ba;
        QTest::newRow("blank-model-left-out") << byok(AIProvider::Groq, u"   "_s) << u"gsk-7"_s << QString()
                                              << R"({"byok_enabled":true,"ai_provider":"groq","api_key":"gsk-7"})"_ba;
        QTest::newRow("no-provider-reads-no-key-keeps-model")
            << byok(std::nullopt, u" my-model "_s) << QString() << QString()
            << R"({"byok_enabled":true,"byok_model":"my-model"})"_ba;
        QTest::newRow("byok-off") << batchOptions([](auto &o) { o.aiProvider = AIProvider::Claude; }) << u"sk-ant"_s
                                  << QString() << R"({"byok_enabled":false,"ai_provider":"claude"})"_ba;
    }

    void byokKeyAndModel()
    {
        QFETCH(AnalyzeBatchOptions, options);
        QFETCH(QString, savedKey);
        QFETCH(QString, failure);
        QFETCH(QByteArray, expected);

        if (!savedKey.isNull())
            saveKey(*options.aiProvider, savedKey);
        const auto result = analyze({ textInput(path(u"notes.txt"_s), u"Minutes of the planning meeting"_s) }, options);
        if (!failure.isEmpty()) {
            QVERIFY(!result.ok());
            QCOMPARE(result.failure().kind(), AIServiceError::Kind::ApiError);
            QCOMPARE(result.failure().text(), failure);
            QVERIFY(m_rig->hosted.received.isEmpty());
            return;
        }
        QVERIFY2(result.ok(), qPrintable(result.error()));
        QCOMPARE(picked(sentRequest(), u"byok_enabled ai_provider api_key byok_model"_s), canonical(expected));
        if (!savedKey.trimmed().isEmpty())
            QVERIFY(!logged(savedKey.trimmed()));
    }

    // The local route reads no key and sends no model of the user's
    // provider; it sees one small page of a PDF and no audio, and its
    // answers land at their inputs' positions.
    void localRoute()
    {
        m_rig->ollama.answerWith([](const OllamaPeer::Request &request) {
            const QString name = request.prompt().section(u"Filename: "_s, 1).section(u'.', 0, 0);
            return OllamaPeer::reply(u"{\"title\":\"Title "_s + name + u"\"}"_s);
        });
        m_rig->remoteProvider = u"gemini"_s;
        AnalyzeBatchOptions options = localOptions();
        options.byokEnabled = true;
        options.aiProvider = AIProvider::OpenAI;
        options.byokModel = u"gpt-4o"_s;
        QVERIFY(writeTextPdf(path(u"report.pdf"_s), numberedPages(3)));
        QVERIFY(writeFile(path(u"memo.m4a"_s), QByteArray(2048, 'a')));
        const QList<AIAnalyzeInput> inputs {
            textInput(path(u"first.txt"_s), u"First file"_s),
            FileImageAnalysisPayload { path(u"missing.png"_s), std::nullopt },
            pdfPayload(path(u"report.pdf"_s), 3, { 1, 2 }),
            FileAudioAnalysisPayload {
                path(u"memo.m4a"_s), std::nullopt, u"memo.m4a"_s, u"m4a"_s, u"audio/mp4"_s, 2048, std::nullopt },
        };

        const auto prepared = prepare(inputs, options);
        QVERIFY2(prepared.ok(), qPrintable(prepared.error()));
        QCOMPARE(prepared.value().requestIndices, QList<int>({ 0, 2, 3 }));
        const QList<AnalyzeRequest> &requests = prepared.value().requests;
        QVERIFY(std::none_of(requests.begin(), requests.end(), [](const AnalyzeRequest &request) {
            return request.apiKey || request.byokModel || request.document || request.audio;
        }));
        QCOMPARE(requests.at(1).previewPageNumbers, QList<int> { 2 });
        QCOMPARE(requests.at(1).pageCount, 3);
        QVERIFY(requests.at(2).text.value_or(QString()).contains(u"Offline AI could not create a local speech"_s));

        const auto result = analyze(inputs, options);
        QVERIFY2(result.ok(), qPrintable(result.error()));
        QStringList titles;
        for (const std::optional<ImageAnalysis> &analysis : result.value().analyses)
            titles.append(analysis ? analysis->title.value_or(u"(failed)"_s) : QString());
        QCOMPARE(titles, QStringList({ u"Title first"_s, QString(), u"Title report"_s, u"Title memo"_s }));
        QVERIFY(m_rig->hosted.received.isEmpty());
        for (const OllamaPeer::Request &call : m_rig->ollama.chatRequests()) {
            QCOMPARE(call.json().value("model"_L1).toString(), LocalModel);
            const QJsonArray images = call.json().value("messages"_L1).toArray().at(0)["images"_L1].toArray();
            QCOMPARE(images.size(), call.prompt().contains(u"report.pdf"_s) ? 1 : 0);
            if (!images.isEmpty())
                QVERIFY(jpegEdge(images.at(0)) <= 384);
        }
    }

    void image_data()
    {
        QTest::addColumn<bool>("local");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("format");
        QTest::addColumn<QString>("mimeType");
        QTest::addColumn<int>("edge");

        QTest::newRow("hosted-png") << false << u"photo.png"_s << "PNG"_ba << u"image/png"_s << 1024;
        QTest::newRow("hosted-jpeg") << false << u"photo.JPG"_s << "JPG"_ba << u"image/jpeg"_s << 1024;
        QTest::newRow("local-png") << true << u"photo.png"_s << "PNG"_ba << QString() << 384;
        // No picture type, but the file's type all the same; its page is
        // A4 in points, never enlarged.
        QTest::newRow("illustration") << false << u"poster.ai"_s << "PDF"_ba << u"application/illustrator"_s << 842;
        QTest::newRow("unknown-extension") << false << u"picture.qqq"_s << "PNG"_ba << u"image/jpeg"_s << 1024;
    }

    void image()
    {
        QFETCH(bool, local);
        QFETCH(QString, name);
        QFETCH(QByteArray, format);
        QFETCH(QString, mimeType);
        QFETCH(int, edge);

        // One picture is enough to show that its recognised text goes along;
        // blank ones are quicker to recognise.
        const bool readText = QTest::currentDataTag() == "hosted-png"_ba && TextRecognizer::isAvailable();
        const QImage picture = textImage(readText ? TextLines : QStringList(), 60);
        if (format == "PDF")
            QVERIFY(writeTextPdf(path(name), { QString() }));
        else
            QVERIFY(writeFile(path(name), encodedImage(picture, format.constData())));
        const auto result = analyze({ FileImageAnalysisPayload { path(name), std::nullopt } },
                                    local ? localOptions() : AnalyzeBatchOptions {});
        QVERIFY2(result.ok(), qPrintable(result.error()));
        if (local) {
            QCOMPARE(jpegEdge(ollamaImages().at(0)), edge);
            return;
        }
        const QJsonObject sent = sentRequest();
        QCOMPARE(jpegEdge(sent.value("image"_L1)), edge);
        QCOMPARE(picked(sent, u"content_kind image_mime_type mime_type filename original_extension"_s),
                 canonical(u"{\"content_kind\":\"image\",\"image_mime_type\":\"image/jpeg\",\"mime_type\":\"%1\","
                           "\"filename\":\"%2\",\"original_extension\":\"%3\"}"_s
                               .arg(mimeType, name, QFileInfo(name).suffix().toLower())
                               .toUtf8()));
        if (readText)
            QVERIFY2(sent.value("text"_L1).toString().contains(u"4471"_s),
                     qPrintable(sent.value("text"_L1).toString()));
    }

    void document_data()
    {
        QTest::addColumn<QString>("remoteProvider");
        QTest::addColumn<AnalyzeBatchOptions>("options");
        QTest::addColumn<int>("pdfPages");
        QTest::addColumn<int>("pageCount");
        QTest::addColumn<qint64>("originalSize"); // 0: the PDF itself
        QTest::addColumn<bool>("native");
        QTest::addColumn<QList<int>>("pageNumbers");

        const AnalyzeBatchOptions hosted;
        const AnalyzeBatchOptions byok = batchOptions([](auto &o) { o.byokEnabled = true; });
        const AnalyzeBatchOptions own = batchOptions([](auto &o) { o.aiProvider = AIProvider::Gemini; });
        const QList<int> two { 1, 2 };
        QTest::newRow("rendered") << QString() << hosted << 3 << 3 << qint64(0) << false << QList<int> { 1, 2, 3 };
        QTest::newRow("native-first-five-pages")
            << u" Gemini "_s << hosted << 7 << 7 << qint64(0) << true << QList<int> { 1, 2, 3, 4, 5 };
        QTest::newRow("native-at-size-limit") << u"GEMINI"_s << hosted << 2 << 2 << FourMiB << true << two;
        QTest::newRow("over-size-limit") << u"gemini"_s << hosted << 2 << 2 << FourMiB + 1 << false << two;
        QTest::newRow("native-20-pages") << u"gemini"_s << hosted << 2 << 20 << qint64(0) << true << two;
        QTest::newRow("21-pages") << u"gemini"_s << hosted << 2 << 21 << qint64(0) << false << two;
        QTest::newRow("byok") << u"gemini"_s << byok << 2 << 2 << qint64(0) << false << two;
        QTest::newRow("own-provider") << u"gemini"_s << own << 2 << 2 << qint64(0) << false << two;
        QTest::newRow("other-remote") << u"openai"_s << hosted << 2 << 2 << qint64(0) << false << two;
    }

    void document()
    {
        QFETCH(QString, remoteProvider);
        QFETCH(AnalyzeBatchOptions, options);
        QFETCH(int, pdfPages);
        QFETCH(int, pageCount);
        QFETCH(qint64, originalSize);
        QFETCH(bool, native);
        QFETCH(QList<int>, pageNumbers);

        m_rig->remoteProvider = remoteProvider;
        if (options.aiProvider)
            saveKey(*options.aiProvider, u"user-key"_s);
        const QString pdf = path(u"report.pdf"_s);
        // Blank pages: their text is not the point, and recognising it is slow.
        QVERIFY(writeTextPdf(pdf, QStringList(pdfPages, QString())));
        QList<int> indices;
        for (int i = 0; i < pdfPages; ++i)
            indices.append(i);
        FileDocumentAnalysisPayload payload = pdfPayload(pdf, pageCount, indices);
        if (originalSize > 0) {
            // The original is only measured and read; its pages come from
            // the preview source.
            payload.originalPath = path(u"large.pdf"_s);
            payload.previewSourcePath = pdf;
            const QByteArray bytes = readFile(pdf);
            QVERIFY(writeFile(payload.originalPath, bytes + QByteArray(originalSize - bytes.size(), ' ')));
        }

        const auto result = analyze({ payload }, options);
        QVERIFY2(result.ok(), qPrintable(result.error()));
        const QJsonObject sent = sentRequest();
        QCOMPARE(sent.contains("document"_L1), native);
        if (native)
            QCOMPARE(decoded(sent.value("document"_L1)), readFile(payload.originalPath));
        QJsonObject expected { { u"content_kind"_s, u"document"_s }, { u"image_mime_type"_s, u"image/jpeg"_s } };
        QJsonArray numbers;
        for (int number : std::as_const(pageNumbers))
            numbers.append(number);
        expected.insert(u"preview_page_numbers"_s, numbers);
        if (!native)
            expected.insert(u"page_count"_s, pageCount);
        QCOMPARE(picked(sent, u"content_kind image_mime_type preview_page_numbers page_count"_s),
                 QJsonDocument(expected).toJson(QJsonDocument::Compact));
        const QJsonArray images = sent.value("images"_L1).toArray();
        QCOMPARE(images.size(), pageNumbers.size());
        QVERIFY(std::all_of(images.begin(), images.end(), [](const QJsonValue &page) { return jpegEdge(page) > 0; }));
    }

    // Text read from the pictures of a file joins the file's own text under
    // a heading that says where it came from.
    void recognizedTextMerged_data()
    {
        QTest::addColumn<bool>("document");
        QTest::addColumn<QString>("heading");

        QTest::newRow("embedded-images") << false << u"Visible text extracted locally from embedded document images"_s;
        QTest::newRow("rendered-pages") << true << u"Visible text extracted locally from rendered page previews"_s;
    }

    void recognizedTextMerged()
    {
        QFETCH(bool, document);
        QFETCH(QString, heading);
        if (!TextRecognizer::isAvailable())
            QSKIP("no OCR engine with English data");

        const QString base = u"Quarterly summary for the harbour board"_s;
        AIAnalyzeInput input;
        if (document) {
            QVERIFY(writeScannedPdf(path(u"scan.pdf"_s), { TextLines.join(u'\n') }));
            FileDocumentAnalysisPayload payload = pdfPayload(path(u"scan.pdf"_s), 1, { 0 });
            payload.text = base;
            input = payload;
        } else {
            QVERIFY(writeZip(path(u"summary.docx"_s),
                             { { u"word/document.xml"_s, "<w:document/>"_ba },
                               { u"word/media/image1.png"_s, encodedImage(textImage(TextLines)) } }));
            input = FileTextAnalysisPayload {
                path(u"summary.docx"_s), base, u"summary.docx"_s, u"docx"_s, u"text/plain"_s
            };
        }
        QVERIFY(analyze({ input }).ok());
        const QString text = sentRequest().value("text"_L1).toString();
        QVERIFY2(text.startsWith(base + u"\n\n"_s + heading + u":\n"_s), qPrintable(text));
        QVERIFY2(text.contains(u"4471"_s), qPrintable(text));
    }

    // No pages to render: the PDF's own text goes instead, or nothing does.
    void unrenderedPdf_data()
    {
        QTest::addColumn<QString>("text"); // null: none

        QTest::newRow("text") << u"Lease agreement for the harbour office 7"_s;
        QTest::newRow("no-text") << QString();
    }

    void unrenderedPdf()
    {
        QFETCH(QString, text);

        const QString pdf = path(u"lease.pdf"_s);
        QVERIFY(writeTextPdf(pdf, numberedPages(2)));
        FileDocumentAnalysisPayload payload = pdfPayload(pdf, 2, { 0, 1 });
        payload.previewSourcePath = path(u"not-a-pdf.txt"_s);
        QVERIFY(writeFile(*payload.previewSourcePath, "plain words, no pages"));
        if (!text.isNull())
            payload.text = text;

        const auto result = analyze({ payload });
        if (text.isNull()) {
            QVERIFY(!result.ok());
            QCOMPARE(result.failure().kind(), AIServiceError::Kind::ValidImageNotFound);
            QVERIFY(m_rig->hosted.received.isEmpty());
            return;
        }
        QVERIFY2(result.ok(), qPrintable(result.error()));
        QCOMPARE(picked(sentRequest(), u"content_kind text page_count images document"_s),
                 canonical(R"({"content_kind":"text","text":"Lease agreement for the harbour office 7",
                               "page_count":2})"_ba));
    }

    void responseMapping_data()
    {
        QTest::addColumn<bool>("middleFails");
        QTest::addColumn<QByteArray>("reply");
        // Per input: the title, "!" and the error of a failed analysis, or
        // null for none.
        QTest::addColumn<QStringList>("expected");

        QTest::newRow("shorter-list") << false << R"({"results":[{"title":"A"}]})"_ba
                                      << QStringList { u"A"_s, QString(), QString() };
        QTest::newRow("longer-list")
            << false
            << R"({"results":[{"title":"A"},{"title":"B"},{"title":"C"},{"title":"D"}],"effective_provider":"groq"})"_ba
            << QStringList { u"A"_s, u"B"_s, u"C"_s };
        QTest::newRow("empty-title-and-error")
            << false << R"({"results":[{"title":""},{"title":"B"},{"title":"C","error":"quota"}]})"_ba
            << QStringList { u"!No analysis result"_s, u"B"_s, u"!quota"_s };
        QTest::newRow("middle-input-fails")
            << true << R"({"results":[{"title":"A"},{"title":"C"}]})"_ba << QStringList { u"A"_s, QString(), u"C"_s };
    }

    void responseMapping()
    {
        QFETCH(bool, middleFails);
        QFETCH(QByteArray, reply);
        QFETCH(QStringList, expected);

        m_rig->hosted.reply = reply;
        const AIAnalyzeInput middle = middleFails
            ? AIAnalyzeInput(FileImageAnalysisPayload { path(u"missing.png"_s), std::nullopt })
            : textInput(path(u"b.txt"_s), u"Second file"_s);
        const auto result = analyze(
            { textInput(path(u"a.txt"_s), u"First file"_s), middle, textInput(path(u"c.txt"_s), u"Third"_s) });
        QVERIFY2(result.ok(), qPrintable(result.error()));
        QCOMPARE(sentRequests().size(), middleFails ? 2 : 3);

        QStringList got;
        for (const std::optional<ImageAnalysis> &analysis : result.value().analyses) {
            if (!analysis)
                got.append(QString());
            else if (analysis->isFailed())
                got.append(u"!"_s + analysis->error.value_or(u"(no error)"_s) + analysis->title.value_or(QString()));
            else
                got.append(*analysis->title + analysis->error.value_or(QString()));
        }
        QCOMPARE(got, expected);
        QCOMPARE(result.value().effectiveProvider.value_or(QString()),
                 QJsonDocument::fromJson(reply).object().value("effective_provider"_L1).toString());
    }

    // A video goes as its frames at the route's count and size, with the
    // text read off them and what its sound track says; one the media layer
    // refuses goes as its texts alone.
    void video_data()
    {
        QTest::addColumn<bool>("local");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("sidecar"); // null: none
        QTest::addColumn<int>("frames");
        QTest::addColumn<int>("edge");
        QTest::addColumn<QString>("textHas");

        QTest::newRow("hosted-mkv-titled") << false << u"harbour.mkv"_s << QString() << 5 << 1024
                                           << u"Audio track recognition context:\nEmbedded audio metadata"_s;
        QTest::newRow("local-avi-titled")
            << true << u"harbour.avi"_s << QString() << 1 << 384 << u"Title: Harbour Tour"_s;
        QTest::newRow("broken-goes-as-text") << false << u"holiday.mp4"_s << QString() << 0 << 0
                                             << u"Reliable song/artist recognition: not available."_s;
        QTest::newRow("broken-keeps-sidecar")
            << false << u"holiday.mp4"_s << u"  Welcome to the tour of the old harbour.  "_s << 0 << 0
            << u"Welcome to the tour of the old harbour.\n\nAudio track"_s;
    }

    void video()
    {
        QFETCH(bool, local);
        QFETCH(QString, name);
        QFETCH(QString, sidecar);
        QFETCH(int, frames);
        QFETCH(int, edge);
        QFETCH(QString, textHas);

        if (frames == 0) {
            QVERIFY(writeFile(path(name), "not really a movie"));
        } else {
            if (const QString missing = recordingToolsMissing(); !missing.isEmpty())
                QSKIP(qPrintable(missing));
            // A title card with words on it, so that the frames have text
            // to read.
            const QString card = path(u"card.png"_s);
            QVERIFY(textImage(TextLines, 60).save(card));
            const QString sound = u"sine=frequency=440:duration=4"_s;
            QCOMPARE(runFFmpeg(QStringList { u"-loop"_s, u"1"_s, u"-i"_s, card, u"-f"_s, u"lavfi"_s, u"-i"_s, sound }
                               + u"-t 4 -vf scale=1280:720 -pix_fmt yuv420p -metadata"_s.split(u' ')
                               + QStringList { u"title=Harbour Tour"_s, path(name) }),
                     QString());
        }
        const QFileInfo file(path(name));
        const FileVideoAnalysisPayload payload { file.filePath(),
                                                 sidecar.isNull() ? std::nullopt : std::optional(sidecar),
                                                 name,
                                                 file.suffix(),
                                                 u"video/x-test"_s };
        QVERIFY(analyze({ payload }, local ? localOptions() : AnalyzeBatchOptions {}).ok());

        QJsonArray images;
        QString text;
        if (local) {
            images = ollamaImages();
            text = m_rig->ollama.chatRequests().value(0).prompt();
        } else {
            const QJsonObject sent = sentRequest();
            QCOMPARE(sent.value("content_kind"_L1).toString(), u"video"_s);
            QVERIFY(!sent.contains("video"_L1) && !sent.contains("audio"_L1) && !sent.contains("document"_L1));
            images = sent.value("images"_L1).toArray();
            text = sent.value("text"_L1).toString();
            QCOMPARE(sent.value("preview_timestamps"_L1).toArray().size(), frames);
        }
        QCOMPARE(images.size(), frames);
        for (const QJsonValue &image : std::as_const(images))
            QCOMPARE(jpegEdge(image), edge);
        QVERIFY2(text.contains(textHas), qPrintable(text));
        QVERIFY(!text.contains(u"Visual frame preview could not be generated"_s));
        if (frames > 0 && TextRecognizer::isAvailable())
            QVERIFY2(text.contains(u"Visible text extracted locally from sampled video frames:\n"_s)
                         && text.contains(u"4471"_s),
                     qPrintable(text));
        // The sound sample made for the recogniser is gone.
        QCOMPARE(QDir::temp().entryList({ u"NomlyVideoAudioRecognition-*"_s }), QStringList());
    }

    void audio_data()
    {
        QTest::addColumn<AnalyzeBatchOptions>("options");
        QTest::addColumn<QString>("sidecar"); // null: none
        QTest::addColumn<QString>("tags"); // the file's own, as text; null: none
        QTest::addColumn<qint64>("sizeBytes"); // -1: unknown; the file has 2,048
        QTest::addColumn<bool>("uploaded");
        QTest::addColumn<bool>("exceeds");

        const AnalyzeBatchOptions hosted;
        const AnalyzeBatchOptions byok = batchOptions([](auto &o) { o.byokEnabled = true; });
        const AnalyzeBatchOptions own = batchOptions([](auto &o) {
            o.byokEnabled = true;
            o.aiProvider = AIProvider::Groq;
        });
        QTest::newRow("hosted-upload") << hosted << QString() << QString() << qint64(2048) << true << false;
        QTest::newRow("byok-with-provider-upload") << own << QString() << QString() << qint64(2048) << true << false;
        QTest::newRow("byok-without-provider") << byok << QString() << QString() << qint64(2048) << false << false;
        QTest::newRow("over-limit") << hosted << QString() << QString() << EighteenMiB + 1 << false << true;
        QTest::newRow("size-unknown") << hosted << QString() << QString() << qint64(-1) << false << false;
        QTest::newRow("size-differs-from-file") << hosted << QString() << QString() << qint64(4096) << false << false;
        QTest::newRow("sidecar") << hosted << u"Speaker one: the budget is approved."_s << QString() << qint64(2048)
                                 << false << false;
        // A song's own tags name it: nothing of the sound is sent.
        QTest::newRow("embedded-tags-nothing-uploaded")
            << hosted << QString() << u"Embedded audio metadata\nTitle: Morning Light"_s << qint64(2048) << false
            << false;
    }

    void audio()
    {
        QFETCH(AnalyzeBatchOptions, options);
        QFETCH(QString, sidecar);
        QFETCH(QString, tags);
        QFETCH(qint64, sizeBytes);
        QFETCH(bool, uploaded);
        QFETCH(bool, exceeds);

        QByteArray bytes(2048, '\0');
        for (qsizetype i = 0; i < bytes.size(); ++i)
            bytes[i] = char(i * 7);
        QVERIFY(writeFile(path(u"memo.m4a"_s), bytes));
        FileAudioAnalysisPayload payload { path(u"memo.m4a"_s), std::nullopt, u"memo.m4a"_s, u"m4a"_s,
                                           u"audio/mp4"_s,      std::nullopt, std::nullopt };
        if (!tags.isNull())
            payload.embeddedMetadataText = tags;
        if (!sidecar.isNull())
            payload.text = sidecar;
        if (sizeBytes >= 0)
            payload.sizeBytes = sizeBytes;
        if (options.aiProvider)
            saveKey(*options.aiProvider, u"gsk-key"_s);

        QVERIFY(analyze({ payload }, options).ok());
        const QJsonObject sent = sentRequest();
        QCOMPARE(sent.value("content_kind"_L1).toString(), u"audio"_s);
        QCOMPARE(decoded(sent.value("audio"_L1)), uploaded ? bytes : QByteArray());
        const QString text = sent.value("text"_L1).toString();
        if (uploaded)
            QVERIFY(!sent.contains("text"_L1));
        else if (!sidecar.isNull())
            QCOMPARE(text, sidecar);
        else if (!tags.isNull())
            QCOMPARE(text, tags);
        else
            QVERIFY2(text.startsWith(u"Audio file metadata\nFilename: memo.m4a"_s), qPrintable(text));
        QCOMPARE(text.contains(u"exceeds the local transcription upload limit"_s), exceeds);
    }
};

QTEST_MAIN(AIServiceTest)
#include "aiservicetest.moc"
