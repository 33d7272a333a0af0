// The iWork export against a backend on loopback: what one call uploads and
// sends, how a 429 is sent again, what counts as a PDF; and the bounded
// export that extraction runs with it, on real documents and real PDFs.

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QNetworkAccessManager>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include "ai/deviceservice.h"
#include "ai/filesecretstore.h"
#include "ai/iworkpdfexportservice.h"
#include "awaited.h"
#include "content/iworkextraction.h"
#include "content/textrecognizer.h"
#include "filesystemfixtures.h"
#include "loopbackresponder.h"
#include "platform/userdefaults.h"
#include "platform/ziparchive.h"
#include "samplepdfs.h"
#include "samplepictures.h"
#include "samplezips.h"

using namespace Qt::StringLiterals;
using namespace Nomly;
using namespace Nomly::Test;
using namespace std::chrono_literals;

namespace {

using Step = LoopbackResponder::Step;
using Kind = IWorkPDFExportError::Kind;

const QString Token = u"gateway.token-for-tests.signature"_s;
const QByteArray FakePdf = "%PDF-1.7\nnot parsed by the client\n%%EOF\n";

QCoro::Task<bool> noWait()
{
    co_return true;
}

// One test's world: a device identity in files, the backend on loopback,
// and a client whose waits are only written down.
struct Rig
{
    explicit Rig(QList<Step> script)
        : defaults(dir.filePath(u"defaults.conf"_s))
        , secrets(dir.filePath(u"secrets.json"_s))
        , device(defaults, secrets, nullptr, dir.filePath(u"no-machine-id"_s))
        , hosted(std::move(script))
        , service(network,
                  HostedBackend(hosted.baseUrl(), Token),
                  device,
                  [this](std::chrono::nanoseconds wait, std::stop_token) {
                      waits.append(std::chrono::duration_cast<std::chrono::milliseconds>(wait).count());
                      return noWait();
                  })
    {}

    QTemporaryDir dir;
    UserDefaults defaults;
    FileSecretStore secrets;
    DeviceService device;
    QNetworkAccessManager network;
    LoopbackResponder hosted;
    QList<qint64> waits;
    IWorkPDFExportService service;
};

QList<Step> answers(const QList<int> &statuses, const QByteArray &okBody)
{
    QList<Step> script;
    for (const int status : statuses)
        script.append({ Step::Action::Answer, status, status == 200 ? okBody : "{\"error\":\"slow down\"}"_ba });
    return script;
}

// A Pages document as a ZIP file; its preview a white page, legible words,
// or none.
bool writePages(const QString &path, const QString &preview)
{
    QList<std::pair<QString, QByteArray>> entries { { u"Index/Document.iwa"_s, QByteArray(64, '\x01') } };
    if (preview == u"blank") {
        QImage page(600, 800, QImage::Format_RGB32);
        page.fill(Qt::white);
        entries.append({ u"preview.jpg"_s, encodedImage(page, "JPG") });
    } else if (preview == u"legible") {
        entries.append({ u"preview.jpg"_s, encodedImage(textImage({ u"Invoice 2026"_s, u"Harbour"_s }, 110), "JPG") });
    }
    return writeZip(path, entries);
}

QStringList leftovers()
{
    return QDir(QDir::tempPath()).entryList({ u"NomlyIWork*"_s });
}

QStringList logged;

void keepMessage(QtMsgType, const QMessageLogContext &, const QString &message)
{
    logged.append(message);
}

} // namespace

class IWorkPDFExportServiceTest : public QObject
{
    Q_OBJECT

private slots:

    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        qunsetenv(HostedBackend::BaseUrlVariable.toLatin1().constData());
    }

    // The temporary files of the export land in a folder of the test's own.
    void init()
    {
        QVERIFY(m_tmp.emplace().isValid());
        qputenv("TMPDIR", QFile::encodeName(m_tmp->path()));
    }

    void cleanup()
    {
        QCOMPARE(leftovers(), QStringList());
        qunsetenv("TMPDIR");
    }

    void exportToPdf_data()
    {
        QTest::addColumn<QString>("document");
        QTest::addColumn<QList<int>>("statuses");
        QTest::addColumn<QByteArray>("okBody");
        QTest::addColumn<int>("failure"); // -1 for a PDF
        QTest::addColumn<int>("failedStatus");
        QTest::addColumn<int>("sends");
        QTest::addColumn<QList<qint64>>("waits");

        const QList<qint64> none;
        QTest::newRow("pdf-after-one-send") << u"file"_s << QList { 200 } << FakePdf << -1 << 0 << 1 << none;
        QTest::newRow("rate-limited-then-pdf")
            << u"file"_s << QList { 429, 200 } << FakePdf << -1 << 0 << 2 << QList<qint64> { 1100 };
        QTest::newRow("rate-limited-three-times")
            << u"file"_s << QList { 429, 429, 429, 200 } << FakePdf << int(Kind::RequestFailed) << 429 << 3
            << QList<qint64> { 1100, 2200 };
        QTest::newRow("200-without-pdf-refused")
            << u"file"_s << QList { 200 } << "<html>%PDF</html>"_ba << int(Kind::InvalidResponse) << 0 << 1 << none;
        QTest::newRow("refusal-fails-at-once")
            << u"file"_s << QList { 501, 200 } << FakePdf << int(Kind::RequestFailed) << 501 << 1 << none;
        QTest::newRow("one-byte-over-limit-never-sent")
            << u"sparse"_s << QList { 200 } << FakePdf << int(Kind::FileTooLarge) << 0 << 0 << none;
        QTest::newRow("package-folder-zipped") << u"folder"_s << QList { 200 } << FakePdf << -1 << 0 << 1 << none;
    }

    void exportToPdf()
    {
        QFETCH(QString, document);
        QFETCH(QList<int>, statuses);
        QFETCH(QByteArray, okBody);
        QFETCH(int, failure);
        QFETCH(int, failedStatus);
        QFETCH(int, sends);
        QFETCH(QList<qint64>, waits);

        Rig rig(answers(statuses, okBody));
        QString path = rig.dir.filePath(u"Q3 Report.pages"_s);
        const QByteArray content = "PK\x03\x04 the document's own bytes";
        if (document == u"file") {
            QVERIFY(writeFile(path, content));
        } else if (document == u"sparse") {
            QFile sparse(path);
            QVERIFY(sparse.open(QIODevice::WriteOnly));
            QVERIFY(sparse.resize(52'428'801));
        } else {
            path = rig.dir.filePath(u"Deck.key"_s);
            QVERIFY(QDir().mkpath(path + u"/Data"_s));
            QVERIFY(writeFile(path + u"/Index.zip"_s, content));
            QVERIFY(writeFile(path + u"/Data/image.png"_s, "pixels of a slide"));
        }

        const Result<QByteArray, IWorkPDFExportError> exported = awaited(rig.service.exportToPDF(path));

        QCOMPARE(rig.hosted.received.size(), sends);
        QCOMPARE(rig.waits, waits);
        if (failure >= 0) {
            QVERIFY(!exported);
            QCOMPARE(int(exported.failure().kind()), failure);
            QCOMPARE(exported.failure().statusCode(), failedStatus);
            return;
        }
        QVERIFY2(exported, qPrintable(exported.error()));
        QCOMPARE(exported.value(), okBody);
        const QByteArray sent = rig.hosted.received.last().body;
        if (document == u"file") {
            QCOMPARE(sent, content);
            return;
        }
        // The folder is the top entry, and the bytes go uncompressed.
        const QString zip = rig.dir.filePath(u"sent.zip"_s);
        QVERIFY(writeFile(zip, sent));
        QStringList entries = ZipArchive::open(zip)->entryNames();
        entries.sort();
        QCOMPARE(entries,
                 (QStringList {
                     u"Deck.key/"_s, u"Deck.key/Data/"_s, u"Deck.key/Data/image.png"_s, u"Deck.key/Index.zip"_s }));
        QVERIFY(sent.contains(content));
    }

    // The headers the backend reads, and none of the secrets in the log.
    void headersSentSecretsUnlogged()
    {
        Rig rig(answers({ 200 }, FakePdf));
        const QString path = rig.dir.filePath(u"Plan & Budget #2.numbers"_s);
        QVERIFY(writeFile(path, "numbers"));
        const QString id = awaited(rig.device.deviceId());
        const QString secret = awaited(rig.device.deviceSecret()).value();

        logged.clear();
        const QtMessageHandler previous = qInstallMessageHandler(keepMessage);
        const bool exported = awaited(rig.service.exportToPDF(path)).ok();
        qInstallMessageHandler(previous);

        QVERIFY(exported);
        QVERIFY(!logged.isEmpty());
        for (const QString &line : std::as_const(logged)) {
            QVERIFY2(!line.contains(secret) && !line.contains(Token), qPrintable(line));
        }
        const LoopbackResponder::Request &request = rig.hosted.received.first();
        QCOMPARE(request.method, "POST"_ba);
        QCOMPARE(request.path, "/functions/v1/iwork-export"_ba);
        const QList<QByteArray> headers {
            "content-type: application/octet-stream"_ba,        "authorization: bearer "_ba + Token.toLower().toUtf8(),
            "apikey: "_ba + Token.toLower().toUtf8(),           "x-device-id: "_ba + id.toLower().toUtf8(),
            "x-device-secret: "_ba + secret.toLower().toUtf8(), "x-file-extension: numbers"_ba,
            "x-filename: plan%20&%20budget%20%232.numbers"_ba,
        };
        for (const QByteArray &header : headers) {
            const QByteArray line = "\r\n"_ba + header + "\r\n"_ba;
            QVERIFY2(request.head.contains(line), header.constData());
        }
    }

    void boundedExport_data()
    {
        QTest::addColumn<QString>("preview");
        QTest::addColumn<bool>("online");
        QTest::addColumn<QString>("answer");
        QTest::addColumn<QString>("outcome");
        QTest::addColumn<int>("requests");

        QTest::newRow("legible-preview-stays-local") << u"legible"_s << true << u"pdf"_s << u"image"_s << 0;
        QTest::newRow("weak-preview-online-off") << u"blank"_s << false << u"pdf"_s << u"image"_s << 0;
        QTest::newRow("no-preview-refused-keeps-image") << u"none"_s << true << u"refusal"_s << u"image"_s << 1;
        QTest::newRow("past-the-limit-keeps-image") << u"blank"_s << true << u"stall"_s << u"image"_s << 1;
        QTest::newRow("unreadable-pdf-keeps-image") << u"blank"_s << true << u"broken"_s << u"image"_s << 1;
        QTest::newRow("locked-pdf-fails-file")
            << u"blank"_s << true << u"locked"_s << u"PDF is password protected"_s << 1;
        QTest::newRow("pdf-becomes-document") << u"blank"_s << true << u"pdf"_s << u"document"_s << 1;
    }

    void boundedExport()
    {
        QFETCH(QString, preview);
        QFETCH(bool, online);
        QFETCH(QString, answer);
        QFETCH(QString, outcome);
        QFETCH(int, requests);

        if (preview == u"legible" && !TextRecognizer::isAvailable())
            QSKIP("tesseract or its English data is missing");
        QTemporaryDir samples;
        const QString pdf = samples.filePath(u"export.pdf"_s);
        QVERIFY(writeTextPdf(pdf, numberedPages(2)));
        QByteArray body = readFile(pdf);
        if (answer == u"locked") {
            if (QStandardPaths::findExecutable(u"qpdf"_s).isEmpty())
                QSKIP("qpdf is not installed");
            const QString locked = samples.filePath(u"locked.pdf"_s);
            QCOMPARE(QProcess::execute(u"qpdf"_s, { u"--encrypt"_s, u"u"_s, u"o"_s, u"256"_s, u"--"_s, pdf, locked }),
                     0);
            body = readFile(locked);
        } else if (answer == u"broken") {
            body = "%PDF-1.7\nthe rest is missing";
        }
        const Step step = answer == u"stall" ? Step { Step::Action::Stall, 0, {} }
            : answer == u"refusal"           ? Step { Step::Action::Answer, 501, "{\"error\":\"no\"}" }
                                             : Step { Step::Action::Answer, 200, body };
        Rig rig({ step });
        const QString path = rig.dir.filePath(u"Minutes.pages"_s);
        QVERIFY(writePages(path, preview));
        ExtractionOptions options;
        options.iWorkOnlinePreviewsEnabled = online;

        QElapsedTimer clock;
        clock.start();
        const FileExtractionResult result = awaited(extractIWork(path, options, &rig.service, 1s));
        QCOMPARE_LT(clock.elapsed(), 8000);
        QCOMPARE(rig.hosted.received.size(), requests);

        const AIAnalyzeInput *input = result.analyzeInput();
        if (outcome == u"image") {
            QVERIFY(input);
            QCOMPARE(input->get<FileImageAnalysisPayload>()->originalPath, path);
            QVERIFY(!input->get<FileImageAnalysisPayload>()->contentHash);
        } else if (outcome == u"document") {
            QVERIFY(input);
            const auto *document = input->get<FileDocumentAnalysisPayload>();
            QVERIFY(document);
            QCOMPARE(document->originalPath, path);
            QCOMPARE(document->filename, u"Minutes.pages"_s);
            QCOMPARE(document->originalExtension, u"pages"_s);
            QCOMPARE(document->pageCount, 2);
            QCOMPARE(document->previewPageIndices, (QList<int> { 0, 1 }));
            QVERIFY(document->text && document->text->contains(u"page number 2"_s));
            QVERIFY(document->previewSourcePath);
            QCOMPARE(document->temporaryPreviewSourcePath, document->previewSourcePath);
            QCOMPARE(readFile(*document->previewSourcePath), body);
            QCOMPARE(leftovers(), QStringList { QFileInfo(*document->previewSourcePath).fileName() });
            QVERIFY(QFile::remove(*document->previewSourcePath));
        } else {
            QCOMPARE(result.failureReason(), outcome);
        }
    }

private:
    std::optional<QTemporaryDir> m_tmp;
};

QTEST_MAIN(IWorkPDFExportServiceTest)
#include "iworkpdfexportservicetest.moc"
