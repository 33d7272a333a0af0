// The shared analysis step against a hosted backend on loopback: the next
// chunk is prepared while one is out, and what is sent is always the chunk
// asked for, with the options asked for, however the batch changed meanwhile.

#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

#include <qcoro/qcorotask.h>

#include "ai/aiimageartifactcache.h"
#include "ai/aiservice.h"
#include "ai/deviceservice.h"
#include "filesystemfixtures.h"
#include "loopbackresponder.h"
#include "profileservices.h"
#include "samplepdfs.h"
#include "samplepictures.h"
#include "samplezips.h"
#include "workflows/chunkanalyzer.h"

using namespace Qt::StringLiterals;
using namespace Nomly;
using namespace Nomly::Test;

namespace {

const QByteArray TwoTitles = R"({"results":[{"title":"First"},{"title":"Second"}]})"_ba;

struct Rig
{
    // The backend answers with `script`, one step per call; by default every
    // call with two titles.
    explicit Rig(QList<LoopbackResponder::Step> script
                 = { { LoopbackResponder::Step::Action::Answer, 200, TwoTitles } })
        : profile(dir.path(), ProfileServices::Keys::InFile)
        , device(profile.defaults, *profile.secrets, nullptr, dir.filePath(u"no-machine-id"_s))
        , hosted(std::move(script))
        , service(network,
                  HostedBackend(hosted.baseUrl(), u"gateway.token-for-tests.signature"_s),
                  device,
                  *profile.custody,
                  artifacts,
                  [] { return QString(); })
    {}

    QTemporaryDir dir;
    ProfileServices profile;
    DeviceService device;
    AIImageArtifactCache artifacts { std::nullopt };
    QNetworkAccessManager network;
    LoopbackResponder hosted;
    AIService service;
};

// The file names and output language of the last call the backend received.
QStringList lastSent(const LoopbackResponder &hosted)
{
    QStringList sent;
    if (hosted.received.isEmpty())
        return sent;
    for (const QJsonValue &request : QJsonDocument::fromJson(hosted.received.last().body).array()) {
        const QJsonObject object = request.toObject();
        sent.append(object.value("filename"_L1).toString() + u'@' + object.value("language"_L1).toString());
    }
    return sent;
}

} // namespace

class ChunkAnalyzerTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<Rig> m_rig;

private slots:

    void initTestCase() { qunsetenv(HostedBackend::BaseUrlVariable.toLatin1().constData()); }

    void init() { m_rig = std::make_unique<Rig>(); }

    void cleanup() { m_rig.reset(); }

    void secondChunk_data()
    {
        QTest::addColumn<QStringList>("second");
        QTest::addColumn<QString>("language");
        QTest::addColumn<QStringList>("expected");

        QTest::newRow("as-prefetched") << QStringList { u"c"_s, u"d"_s } << u"en"_s
                                       << QStringList { u"c.txt@en"_s, u"d.txt@en"_s };
        QTest::newRow("file-removed-meanwhile")
            << QStringList { u"c"_s, u"e"_s } << u"en"_s << QStringList { u"c.txt@en"_s, u"e.txt@en"_s };
        QTest::newRow("language-changed-meanwhile")
            << QStringList { u"c"_s, u"d"_s } << u"de"_s << QStringList { u"c.txt@de"_s, u"d.txt@de"_s };
    }

    void secondChunk()
    {
        QFETCH(QStringList, second);
        QFETCH(QString, language);
        QFETCH(QStringList, expected);

        const auto pathOf = [&](const QStringList &names) {
            QStringList paths;
            for (const QString &name : names)
                paths.append(m_rig->dir.filePath(name + u".txt"_s));
            return paths;
        };
        for (const QString &name : { u"a"_s, u"b"_s, u"c"_s, u"d"_s, u"e"_s })
            QVERIFY(writeFile(pathOf({ name }).first(),
                              "Minutes of the planning meeting held by the harbour office, part " + name.toUtf8()));

        ChunkAnalyzer analyzer(m_rig->service);
        ChunkAnalysisOptions options;
        options.prefetch = true;
        options.batch.outputLanguage = u"en"_s;
        const ChunkAnalysis first
            = QCoro::waitFor(analyzer.analyze(pathOf({ u"a"_s, u"b"_s }), options, pathOf({ u"c"_s, u"d"_s })));
        QVERIFY2(first.files.at(0).succeeded(), qPrintable(first.files.at(0).error));
        QVERIFY(analyzer.hasPrefetch());

        options.batch.outputLanguage = language;
        const ChunkAnalysis next = QCoro::waitFor(analyzer.analyze(pathOf(second), options));
        QCOMPARE(lastSent(m_rig->hosted), expected);
        QCOMPARE(next.files.size(), 2);
        for (int i = 0; i < 2; ++i) {
            QCOMPARE(next.files.at(i).path, pathOf(second).at(i));
            QVERIFY(next.files.at(i).contentHash);
        }
        QCOMPARE(next.files.at(0).analysis->title, u"First"_s);
        QVERIFY(!analyzer.hasPrefetch());
    }

    // An iWork document with an empty preview goes as the PDF the backend
    // exported, rendered from a temporary file; the file goes when the work
    // on the chunk ends, whichever way it ends.
    void temporaryPreviewDeleted_data()
    {
        QTest::addColumn<QString>("ending");

        QTest::newRow("answered") << u"answered"_s;
        QTest::newRow("analysis-refused") << u"refused"_s;
        QTest::newRow("prefetch-never-used") << u"prefetch-dropped"_s;
    }

    void temporaryPreviewDeleted()
    {
        QFETCH(QString, ending);

        QTemporaryDir tmp;
        qputenv("TMPDIR", QFile::encodeName(tmp.path()));
        const auto restore = qScopeGuard([] { qunsetenv("TMPDIR"); });
        const QString pdf = tmp.filePath(u"exported.pdf"_s);
        QVERIFY(writeTextPdf(pdf, numberedPages(2)));
        using Step = LoopbackResponder::Step;
        const Step exported { Step::Action::Answer, 200, readFile(pdf) };
        const Step titled { Step::Action::Answer, 200, R"({"results":[{"title":"Minutes"}]})"_ba };
        const Step refused { Step::Action::Answer, 400, R"({"error":"bad request"})"_ba };
        QVERIFY(QFile::remove(pdf));
        m_rig = std::make_unique<Rig>(ending == u"prefetch-dropped" ? QList { titled, exported }
                                          : ending == u"refused"    ? QList { exported, refused }
                                                                    : QList { exported, titled });
        QImage empty(600, 800, QImage::Format_RGB32);
        empty.fill(Qt::white);
        const QString pages = m_rig->dir.filePath(u"Minutes.pages"_s);
        QVERIFY(
            writeZip(pages, { { u"Index/Document.iwa"_s, "iwa" }, { u"preview.jpg"_s, encodedImage(empty, "JPG") } }));
        const QString text = m_rig->dir.filePath(u"notes.txt"_s);
        QVERIFY(writeFile(text, "Minutes of the planning meeting held by the harbour office"));
        const auto exportedFiles = [&tmp] { return QDir(tmp.path()).entryList({ u"NomlyIWorkPreview-*"_s }); };

        ChunkAnalyzer analyzer(m_rig->service);
        ChunkAnalysisOptions options;
        options.extraction.iWorkOnlinePreviewsEnabled = true;
        if (ending == u"prefetch-dropped") {
            options.prefetch = true;
            QCoro::waitFor(analyzer.analyze({ text }, options, { pages }));
            QVERIFY(QTest::qWaitFor([&] { return !exportedFiles().isEmpty(); }, 20000));
            QCoro::waitFor(analyzer.cancelPrefetch());
        } else {
            const ChunkAnalysis analysis = QCoro::waitFor(analyzer.analyze({ pages }, options));
            QCOMPARE(analysis.files.at(0).succeeded(), ending == u"answered");
            const QJsonObject sent
                = QJsonDocument::fromJson(m_rig->hosted.received.value(1).body).array().at(0).toObject();
            QCOMPARE(sent.value("content_kind"_L1).toString(), u"document"_s);
            QCOMPARE(sent.value("images"_L1).toArray().size(), 2);
        }
        QCOMPARE(m_rig->hosted.received.value(1).path,
                 ending == u"prefetch-dropped" ? "/functions/v1/iwork-export"_ba : "/functions/v1/analyze"_ba);
        QCOMPARE(exportedFiles(), QStringList());
    }
};

QTEST_MAIN(ChunkAnalyzerTest)
#include "chunkanalyzertest.moc"
