#include "content/iworkextraction.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QTimer>
#include <QUuid>

#include <QtConcurrent/QtConcurrentRun>
#include <qcoro/qcorofuture.h>

#include "content/contenttext.h"
#include "content/extensiontables.h"
#include "content/extractionfailures.h"
#include "content/extractionlimits.h"
#include "content/iworkpdfexporter.h"
#include "content/iworkpreview.h"
#include "content/popplerdocument.h"
#include "platform/logcategories.h"

namespace Nomly {

namespace {

namespace Limits = ExtractionLimits;

FileExtractionResult localPreview(const QString &path)
{
    FileImageAnalysisPayload payload;
    payload.originalPath = path;
    return FileExtractionResult::input(payload);
}

// Deletes the temporary PDF unless it is handed on with the input.
class TemporaryPdf final
{
public:
    explicit TemporaryPdf(QString path)
        : m_path(std::move(path))
    {}

    ~TemporaryPdf()
    {
        if (!m_kept)
            QFile::remove(m_path);
    }

    TemporaryPdf(const TemporaryPdf &) = delete;
    TemporaryPdf &operator=(const TemporaryPdf &) = delete;

    const QString &path() const { return m_path; }

    void keep() { m_kept = true; }

private:
    QString m_path;
    bool m_kept = false;
};

// What the exported PDF makes of the document; none when it is unreadable,
// which falls back to the preview as any failed export does.
std::optional<FileExtractionResult> exportedDocument(const QByteArray &bytes,
                                                     const QString &path,
                                                     bool pdfTextExtractionEnabled,
                                                     const QElapsedTimer &started)
{
    TemporaryPdf pdf(QDir(QDir::tempPath())
                         .filePath(QStringLiteral("NomlyIWorkPreview-")
                                   + QUuid::createUuid().toString(QUuid::WithoutBraces) + QStringLiteral(".pdf")));
    QSaveFile file(pdf.path());
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        qCWarning(lcProcessing).noquote() << QStringLiteral("iWork fallback failed after %1ms for %2: %3")
                                                 .arg(started.elapsed())
                                                 .arg(path, file.errorString());
        return std::nullopt;
    }
    std::unique_ptr<Poppler::Document> document = openPdfData(bytes);
    if (!document)
        document = openPdf(pdf.path());
    if (!document) {
        qCWarning(lcProcessing).noquote() << QStringLiteral("iWork fallback returned unreadable PDF: ") + path;
        return std::nullopt;
    }
    if (document->isLocked())
        return FileExtractionResult::failed(ExtractionFailures::PdfLocked);
    const int pageCount = document->numPages();
    if (pageCount <= 0)
        return FileExtractionResult::failed(ExtractionFailures::FailedToReadPdf);

    FileDocumentAnalysisPayload payload;
    payload.originalPath = path;
    payload.text = pdfTextExtractionEnabled ? selectedPageText(*document) : std::nullopt;
    payload.filename = QFileInfo(path).fileName();
    payload.originalExtension = dispatchExtension(path);
    payload.mimeType = documentMimeType(payload.originalExtension);
    payload.pageCount = pageCount;
    payload.previewPageIndices = evenlySpacedIndices(
        pageCount, payload.text ? Limits::PdfPreviewPagesWithText : Limits::PdfPreviewPagesWithoutText);
    payload.previewSourcePath = pdf.path();
    payload.temporaryPreviewSourcePath = pdf.path();
    pdf.keep();
    return FileExtractionResult::input(payload);
}

// The export raced against the time limit: whichever ends first settles
// it, and a limit that ends first cancels the export and waits for it to
// wind down, so that nothing of it outlives this call.
QCoro::Task<std::optional<FileExtractionResult>> boundedExport(QString path,
                                                               bool pdfTextExtractionEnabled,
                                                               IWorkPDFExporter &exporter,
                                                               std::chrono::milliseconds timeLimit)
{
    QElapsedTimer started;
    started.start();
    std::stop_source cancel;
    bool timedOut = false;
    QTimer limit;
    limit.setSingleShot(true);
    QObject::connect(&limit, &QTimer::timeout, [&timedOut, &cancel] {
        timedOut = true;
        cancel.request_stop();
    });
    limit.start(timeLimit);
    auto exporting = exporter.exportedPDF(path, cancel.get_token());
    const Result<QByteArray> exported = co_await exporting;
    limit.stop();

    if (timedOut) {
        qCWarning(lcProcessing).noquote()
            << QStringLiteral("iWork fallback timed out after %1ms: %2").arg(started.elapsed()).arg(path);
        co_return std::nullopt;
    }
    if (!exported) {
        qCWarning(lcProcessing).noquote() << QStringLiteral("iWork fallback failed after %1ms for %2: %3")
                                                 .arg(started.elapsed())
                                                 .arg(path, exported.error());
        co_return std::nullopt;
    }
    qCInfo(lcProcessing).noquote()
        << QStringLiteral("iWork fallback returned PDF in %1ms: %2").arg(started.elapsed()).arg(path);
    auto reading = QtConcurrent::run([bytes = exported.value(), path, pdfTextExtractionEnabled, started] {
        return exportedDocument(bytes, path, pdfTextExtractionEnabled, started);
    });
    co_return co_await reading;
}

} // namespace

QCoro::Task<FileExtractionResult> extractIWork(QString path,
                                               ExtractionOptions options,
                                               IWorkPDFExporter *exporter,
                                               std::chrono::milliseconds timeLimit)
{
    auto judging = QtConcurrent::run([path] { return isWeakIWorkPreview(path); });
    const bool weak = co_await judging;
    if (!weak) {
        qCInfo(lcProcessing).noquote() << QStringLiteral("Using local iWork preview: ") + path;
        co_return localPreview(path);
    }
    if (!options.iWorkOnlinePreviewsEnabled || !exporter) {
        qCInfo(lcProcessing).noquote() << QStringLiteral("iWork deep fallback disabled; using local preview: ") + path;
        co_return localPreview(path);
    }
    qCInfo(lcProcessing).noquote() << QStringLiteral("Local iWork preview is weak; trying bounded PDF fallback: ")
            + path;
    auto exporting = boundedExport(path, options.pdfTextExtractionEnabled, *exporter, timeLimit);
    std::optional<FileExtractionResult> result = co_await exporting;
    if (result)
        co_return std::move(*result);
    qCInfo(lcProcessing).noquote() << QStringLiteral("Using local iWork preview after bounded fallback: ") + path;
    co_return localPreview(path);
}

FileExtractionResult extractIWorkLocally(const QString &path)
{
    if (isWeakIWorkPreview(path))
        qCInfo(lcProcessing).noquote() << QStringLiteral("iWork deep fallback disabled; using local preview: ") + path;
    else
        qCInfo(lcProcessing).noquote() << QStringLiteral("Using local iWork preview: ") + path;
    return localPreview(path);
}

} // namespace Nomly
