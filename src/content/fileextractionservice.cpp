#include "content/fileextractionservice.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QMimeDatabase>
#include <functional>
#include <memory>

#include <QtConcurrent/QtConcurrentRun>
#include <qcoro/qcorofuture.h>

#include "content/contenttext.h"
#include "content/delimitedsummary.h"
#include "content/embeddedaudiometadata.h"
#include "content/epubtext.h"
#include "content/extensiontables.h"
#include "content/extractionfailures.h"
#include "content/extractionlimits.h"
#include "content/htmltext.h"
#include "content/iworkextraction.h"
#include "content/legacyofficereader.h"
#include "content/mailtext.h"
#include "content/mediafacts.h"
#include "content/officedocumentreader.h"
#include "content/pdftext.h"
#include "content/popplerdocument.h"
#include "content/rtftext.h"
#include "content/sidecartext.h"
#include "content/subtitlecues.h"
#include "content/textfilereader.h"
#include "naming/builtinextensions.h"
#include "platform/fileidentity.h"

namespace Nomly {

namespace Limits = ExtractionLimits;
using namespace ExtractionFailures;

namespace {

// Every type the MIME database gives the extension: ".ts" is both an MPEG
// transport stream and a translation source, and either may be meant.
QList<QMimeType> typesOf(const QString &extension)
{
    static const QMimeDatabase database;
    return database.mimeTypesForFileName(QStringLiteral("file.") + extension);
}

bool conformsTo(const QList<QMimeType> &types, const std::function<bool(const QMimeType &)> &test)
{
    return std::any_of(types.cbegin(), types.cend(), [&test](const QMimeType &type) {
        if (test(type))
            return true;
        static const QMimeDatabase database;
        const QStringList parents = type.allAncestors();
        return std::any_of(parents.cbegin(), parents.cend(), [&test](const QString &parent) {
            return test(database.mimeTypeForName(parent));
        });
    });
}

bool conformsToTopLevel(const QList<QMimeType> &types, QStringView topLevel)
{
    return conformsTo(types, [topLevel](const QMimeType &type) { return type.name().startsWith(topLevel); });
}

// The database does not know the extension at all.
bool isUnknownType(const QList<QMimeType> &types)
{
    return types.isEmpty();
}

bool isPdf(const QString &extension)
{
    return extension == u"pdf"
        || conformsTo(typesOf(extension), [](const QMimeType &type) { return type.name() == u"application/pdf"; });
}

QString mediaMime(const QString &extension, const QString &fallback)
{
    const QString fixed = mediaMimeType(extension);
    if (!fixed.isEmpty())
        return fixed;
    const QList<QMimeType> types = typesOf(extension);
    return types.isEmpty() ? fallback : types.first().name();
}

FileExtractionResult assembled(const QString &path, const QString &extension, const std::optional<QString> &text)
{
    if (!text)
        return FileExtractionResult::failed(FailedToRead);
    const QString normalized = cutText(normalizedText(*text), Limits::MaxTextCharacters);
    if (!isReadableText(normalized))
        return FileExtractionResult::failed(NoReadableText);
    FileTextAnalysisPayload payload;
    payload.originalPath = path;
    payload.text = normalized;
    payload.filename = QFileInfo(path).fileName();
    payload.originalExtension = extension;
    payload.mimeType = documentMimeType(extension);
    return FileExtractionResult::input(payload);
}

// A text file turned into what it says by the reader of its kind.
std::optional<QString> textFileAs(const QString &path, QString (*reader)(const QString &))
{
    const std::optional<QString> raw = readTextFile(path);
    return raw ? std::optional(reader(*raw)) : std::nullopt;
}

std::optional<QString> prettyJson(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    const QByteArray bytes = file.read(Limits::MaxTextFileBytes);
    // QJsonDocument keeps object keys sorted, as the indented form wants.
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    if (file.atEnd() && !document.isNull())
        return QString::fromUtf8(document.toJson(QJsonDocument::Indented));
    return decodeText(bytes, file.atEnd());
}

FileExtractionResult pdfDocument(const QString &path, const QString &extension, const ExtractionOptions &options)
{
    const std::unique_ptr<Poppler::Document> document = openPdf(path);
    if (!document)
        return FileExtractionResult::failed(FailedToReadPdf);
    if (document->isLocked())
        return FileExtractionResult::failed(PdfLocked);
    const int pageCount = document->numPages();
    if (pageCount <= 0)
        return FileExtractionResult::failed(FailedToReadPdf);

    const std::optional<QString> text
        = options.pdfTextExtractionEnabled ? selectedPageText(*document) : std::optional<QString>();
    FileDocumentAnalysisPayload payload;
    payload.originalPath = path;
    payload.text = text;
    payload.filename = QFileInfo(path).fileName();
    payload.originalExtension = extension;
    payload.mimeType = documentMimeType(extension);
    payload.pageCount = pageCount;
    payload.previewPageIndices
        = evenlySpacedIndices(pageCount, text ? Limits::PdfPreviewPagesWithText : Limits::PdfPreviewPagesWithoutText);
    return FileExtractionResult::input(payload);
}

bool listed(const QStringList &list, const QString &extension)
{
    return std::any_of(list.cbegin(), list.cend(), [&extension](const QString &entry) {
        return normalizedExtension(entry) == extension;
    });
}

// A Pages, Numbers or Keynote document is a file or a folder (a package).
bool isIWorkDocument(const QString &path)
{
    return isIn(ExtensionSet::IWork, dispatchExtension(path)) && (QFileInfo(path).isDir() || leadsToRegularFile(path));
}

} // namespace

QCoro::Task<FileExtractionResult> FileExtractionService::extract(QString path,
                                                                 ExtractionOptions options,
                                                                 IWorkPDFExporter *exporter)
{
    if (QFileInfo::exists(path) && isIWorkDocument(path)) {
        auto extracting = extractIWork(path, options, exporter);
        co_return co_await extracting;
    }
    auto extracting = QtConcurrent::run([path, options] { return extract(path, options); });
    co_return co_await extracting;
}

FileExtractionResult FileExtractionService::extract(const QString &path, const ExtractionOptions &options)
{
    const QFileInfo file(path);
    if (!file.exists())
        return FileExtractionResult::failed(FileNotFound);
    if (isIWorkDocument(path))
        return extractIWorkLocally(path);
    // A FIFO or a device named like a document would block the read forever.
    if (!leadsToRegularFile(path))
        return FileExtractionResult::failed(NotRegularFile);
    // A file without an extension is read as the kind its content shows.
    const QString extension = contentExtension(path);

    if (isPdf(extension))
        return pdfDocument(path, extension, options);
    // A saved mail is read as its subject and body when they have text.
    if (extension == u"eml")
        return assembled(path, extension, readTextFileThrough(path, mailText));
    if (isIn(ExtensionSet::PlainText, extension))
        return assembled(path, extension, readTextFile(path));
    if (isIn(ExtensionSet::Mailbox, extension))
        return assembled(path, extension, readTextFileThrough(path, mailboxText));
    if (isIn(ExtensionSet::Subtitle, extension))
        return assembled(path, extension, textFileAs(path, cleanedSubtitleCues));
    if (isIn(ExtensionSet::StyledSubtitle, extension))
        return assembled(path, extension, textFileAs(path, styledSubtitleText));
    if (isIn(ExtensionSet::Markup, extension))
        return assembled(path, extension, textFileAs(path, htmlText));
    if (isIn(ExtensionSet::Ebook, extension))
        return assembled(path, extension, epubText(path));
    if (isIn(ExtensionSet::Structured, extension))
        return assembled(path, extension, prettyJson(path));
    if (isIn(ExtensionSet::Delimited, extension)) {
        const auto raw = readTextFile(path);
        const QChar separator = extension == u"tsv" ? u'\t' : u',';
        return assembled(path, extension, raw ? delimitedSummary(*raw, separator, extension) : std::nullopt);
    }
    if (isIn(ExtensionSet::RichText, extension))
        return assembled(path, extension, rtfFileText(path));
    if (isIn(ExtensionSet::OpenDocument, extension))
        return assembled(path, extension, OfficeDocumentReader::openDocumentText(path));
    if (isIn(ExtensionSet::Word, extension))
        return assembled(path, extension, OfficeDocumentReader::wordText(path));
    if (isIn(ExtensionSet::Excel, extension))
        return assembled(path, extension, OfficeDocumentReader::excelText(path));
    if (isIn(ExtensionSet::PowerPoint, extension))
        return assembled(path, extension, OfficeDocumentReader::powerPointText(path));
    if (isIn(ExtensionSet::LegacyOffice, extension))
        return assembled(path, extension, LegacyOfficeReader::text(path, extension));

    const QList<QMimeType> types = typesOf(extension);
    // A container that holds a video or sound alone (WebM) is listed with
    // audio; the file is a video when it carries a video stream.
    const bool videoInAudioContainer
        = BuiltInExtensions::audioOrVideo().contains(extension) && carriesVideo(file.absoluteFilePath());
    if (videoInAudioContainer
        || (isIn(ExtensionSet::Video, extension) && (conformsToTopLevel(types, u"video/") || isUnknownType(types)))) {
        FileVideoAnalysisPayload payload;
        payload.originalPath = path;
        payload.text = sidecarText(path, {});
        payload.filename = file.fileName();
        payload.originalExtension = file.suffix().toLower();
        payload.mimeType = videoInAudioContainer ? QStringLiteral("video/") + extension
                                                 : mediaMime(extension, QStringLiteral("video/mp4"));
        return FileExtractionResult::input(payload);
    }
    // Audio in a container the database files under video (WebM) counts.
    if (isIn(ExtensionSet::Audio, extension)
        && (conformsToTopLevel(types, u"audio/") || conformsToTopLevel(types, u"video/") || isUnknownType(types))) {
        FileAudioAnalysisPayload payload;
        payload.originalPath = path;
        payload.text = sidecarText(path, { QStringLiteral("md"), QStringLiteral("txt") });
        payload.filename = file.fileName();
        payload.originalExtension = file.suffix().toLower();
        payload.mimeType = mediaMime(extension, QStringLiteral("audio/mpeg"));
        payload.sizeBytes = file.size();
        if (!payload.text)
            payload.embeddedMetadataText = embeddedAudioMetadataText(path);
        return FileExtractionResult::input(payload);
    }
    if (listed(options.designExtensions, extension)
        || (listed(options.imageExtensions, extension) && !isPdf(extension)
            && (conformsToTopLevel(types, u"image/") || isUnknownType(types)))) {
        FileImageAnalysisPayload payload;
        payload.originalPath = path;
        return FileExtractionResult::input(payload);
    }
    return FileExtractionResult::unsupported();
}

} // namespace Nomly
