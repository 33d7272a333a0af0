// The JSON form of an activity record, as scripts read it from the command
// line.

#include <QJsonDocument>
#include <QTest>

#include "history/processedfilejson.h"

using namespace Nomly;
using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(Nomly::ProcessedFile)

namespace {

QJsonObject object(const QByteArray &json)
{
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(json, &parseError);
    if (parseError.error != QJsonParseError::NoError)
        qFatal("test data is not JSON: %s", json.constData());
    return document.object();
}

ProcessedFile unsaved()
{
    ProcessedFile file;
    file.originalPath = u"/d/scan.pdf"_s;
    file.newPath = u"/d/Invoice.pdf"_s;
    file.originalName = u"scan.pdf"_s;
    file.newName = u"Invoice.pdf"_s;
    file.title = u"Invoice"_s;
    file.aiProvider = u"gemini"_s;
    file.processedAt = u"2024-06-01T12:00:00Z"_s;
    return file;
}

} // namespace

class ProcessedFileJsonTest : public QObject
{
    Q_OBJECT

private slots:

    void toJson_data()
    {
        QTest::addColumn<ProcessedFile>("record");
        QTest::addColumn<QByteArray>("expected");

        QTest::newRow("unsaved-without-optionals")
            << unsaved()
            << QByteArray(R"({"originalPath":"/d/scan.pdf","newPath":"/d/Invoice.pdf","originalName":"scan.pdf",
                "newName":"Invoice.pdf","title":"Invoice","description":"","tags":"","aiProvider":"gemini",
                "processedAt":"2024-06-01T12:00:00Z","contentHash":null,"isUndone":false,
                "metadataSnapshot":null,"source":"watcher"})");

        ProcessedFile stored = unsaved();
        stored.id = 42;
        stored.description = u"From Acme"_s;
        stored.tags = u"invoice, acme"_s;
        stored.contentHash = u"9f86d081"_s;
        stored.isUndone = true;
        stored.metadataSnapshot = ProcessedFileMetadataSnapshot { { u"Red"_s }, std::nullopt, u"Old title"_s };
        stored.source = ProcessedFileSource::FinderService;
        QTest::newRow("stored-with-everything")
            << stored << QByteArray(R"({"id":42,"originalPath":"/d/scan.pdf","newPath":"/d/Invoice.pdf",
                "originalName":"scan.pdf","newName":"Invoice.pdf","title":"Invoice","description":"From Acme",
                "tags":"invoice, acme","aiProvider":"gemini","processedAt":"2024-06-01T12:00:00Z",
                "contentHash":"9f86d081","isUndone":true,
                "metadataSnapshot":{"finderTags":["Red"],"nomlyTitle":"Old title"},"source":"finderService"})");

        stored.metadataSnapshot = ProcessedFileMetadataSnapshot {};
        stored.source = ProcessedFileSource::Batch;
        QTest::newRow("snapshot-keeps-empty-tag-list")
            << stored << QByteArray(R"({"id":42,"originalPath":"/d/scan.pdf","newPath":"/d/Invoice.pdf",
                "originalName":"scan.pdf","newName":"Invoice.pdf","title":"Invoice","description":"From Acme",
                "tags":"invoice, acme","aiProvider":"gemini","processedAt":"2024-06-01T12:00:00Z",
                "contentHash":"9f86d081","isUndone":true,"metadataSnapshot":{"finderTags":[]},"source":"batch"})");
    }

    void toJson()
    {
        QFETCH(ProcessedFile, record);
        QFETCH(QByteArray, expected);
        QCOMPARE(Nomly::toJson(record), object(expected));
    }
};

QTEST_GUILESS_MAIN(ProcessedFileJsonTest)
#include "processedfilejsontest.moc"
