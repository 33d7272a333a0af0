#include "cli/inspectcommand.h"

#include <QCommandLineParser>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>

#include "ai/remoteconfigservice.h"
#include "cli/clioutput.h"
#include "cli/commandparsing.h"
#include "content/fileextractionservice.h"
#include "content/patternmetadatareader.h"
#include "content/pdfpagerenderer.h"
#include "content/picturereader.h"
#include "content/textrecognizer.h"
#include "history/filehashservice.h"
#include "platform/userdefaults.h"

namespace Nomly {

namespace {

// Pages rendered for recognition: large enough for small print.
constexpr int OcrPageLongEdge = 2000;
constexpr int PlainTextLines = 6;

const char *kindName(AIAnalyzeInputKind kind)
{
    switch (kind) {
    case AIAnalyzeInputKind::Image:
        return "image";
    case AIAnalyzeInputKind::Text:
        return "text";
    case AIAnalyzeInputKind::Document:
        return "document";
    case AIAnalyzeInputKind::Video:
        return "video";
    case AIAnalyzeInputKind::Audio:
        return "audio";
    }
    return "unknown";
}

// What the command reports of one file.
struct Inspection
{
    QString path;
    FileExtractionResult extraction = FileExtractionResult::unsupported();
    // Read from the picture when the file has no text of its own.
    std::optional<QString> recognizedText;
    std::optional<QString> contentHash;
    QList<std::pair<QString, QString>> facts;
};

Inspection inspect(const QString &path, const ExtractionOptions &options, const PatternMetadataOptions &factOptions)
{
    Inspection out;
    out.path = path;
    out.extraction = FileExtractionService::extract(path, options);
    if (const AIAnalyzeInput *input = out.extraction.analyzeInput()) {
        if (input->kind() == AIAnalyzeInputKind::Image) {
            // Decoded at the size pages are read at, not at full size.
            const Result<QImage> picture = PictureReader::read(path, QSize(OcrPageLongEdge, OcrPageLongEdge));
            if (picture)
                out.recognizedText = TextRecognizer::recognize(picture.value());
        } else if (const auto *document = input->get<FileDocumentAnalysisPayload>(); document && !document->text) {
            out.recognizedText
                = TextRecognizer::recognize(renderedPdfPages(path, document->previewPageIndices, OcrPageLongEdge));
        }
    }
    if (QFileInfo::exists(path)) {
        out.contentHash = FileHashService::hash(path);
        out.facts = PatternMetadataReader::namedValues(PatternMetadataReader::read(path, factOptions));
    }
    return out;
}

QJsonObject toJson(const Inspection &inspection)
{
    QJsonObject object { { QStringLiteral("path"), inspection.path } };
    const FileExtractionResult &result = inspection.extraction;
    switch (result.kind()) {
    case FileExtractionResult::Kind::Failed:
        object.insert(QStringLiteral("status"), QStringLiteral("failed"));
        object.insert(QStringLiteral("failure"), result.failureReason());
        break;
    case FileExtractionResult::Kind::Unsupported:
        object.insert(QStringLiteral("status"), QStringLiteral("unsupported"));
        break;
    case FileExtractionResult::Kind::Input: {
        const AIAnalyzeInput &input = *result.analyzeInput();
        object.insert(QStringLiteral("status"), QStringLiteral("input"));
        object.insert(QStringLiteral("kind"), QString::fromLatin1(kindName(input.kind())));
        std::visit(
            [&object](const auto &payload) {
                using Payload = std::decay_t<decltype(payload)>;
                if constexpr (!std::is_same_v<Payload, FileImageAnalysisPayload>) {
                    object.insert(QStringLiteral("mimeType"), payload.mimeType);
                    const std::optional<QString> text = payload.text;
                    if (text) {
                        object.insert(QStringLiteral("text"), *text);
                        object.insert(QStringLiteral("textLength"), text->size());
                    }
                }
                if constexpr (std::is_same_v<Payload, FileDocumentAnalysisPayload>) {
                    object.insert(QStringLiteral("pageCount"), payload.pageCount);
                    QJsonArray pages;
                    for (const int index : payload.previewPageIndices)
                        pages.append(index);
                    object.insert(QStringLiteral("previewPageIndices"), pages);
                }
            },
            input.payload());
        break;
    }
    }
    if (inspection.recognizedText)
        object.insert(QStringLiteral("recognizedText"), *inspection.recognizedText);
    if (inspection.contentHash)
        object.insert(QStringLiteral("contentHash"), *inspection.contentHash);
    if (!inspection.facts.isEmpty()) {
        QJsonObject facts;
        for (const auto &[name, value] : inspection.facts)
            facts.insert(name, value);
        object.insert(QStringLiteral("fields"), facts);
    }
    return object;
}

void printText(const QString &label, const QString &text)
{
    CliOutput::line(QStringLiteral("  %1: %2 characters").arg(label).arg(text.size()));
    const QStringList lines = text.split(u'\n');
    for (qsizetype i = 0; i < std::min<qsizetype>(lines.size(), PlainTextLines); ++i)
        CliOutput::line(QStringLiteral("    ") + lines.at(i));
    if (lines.size() > PlainTextLines)
        CliOutput::line(QStringLiteral("    ..."));
}

void printPlain(const QJsonObject &object)
{
    CliOutput::line(object.value(QStringLiteral("path")).toString());
    const QString status = object.value(QStringLiteral("status")).toString();
    if (status == u"failed") {
        CliOutput::line(QStringLiteral("  failed: ") + object.value(QStringLiteral("failure")).toString());
    } else if (status == u"unsupported") {
        CliOutput::line(QStringLiteral("  unsupported"));
    } else {
        QString kind = object.value(QStringLiteral("kind")).toString();
        if (object.contains(QStringLiteral("mimeType")))
            kind += QStringLiteral(" (%1)").arg(object.value(QStringLiteral("mimeType")).toString());
        if (object.contains(QStringLiteral("pageCount"))) {
            QStringList pages;
            for (const QJsonValue &page : object.value(QStringLiteral("previewPageIndices")).toArray())
                pages.append(QString::number(page.toInt() + 1));
            const int pageCount = object.value(QStringLiteral("pageCount")).toInt();
            kind += (pageCount == 1 ? QStringLiteral(", 1 page, preview page %1")
                                    : QStringLiteral(", %1 pages, preview pages %2").arg(pageCount))
                        .arg(pages.join(QStringLiteral(", ")));
        }
        CliOutput::line(QStringLiteral("  kind: ") + kind);
        if (object.contains(QStringLiteral("text")))
            printText(QStringLiteral("text"), object.value(QStringLiteral("text")).toString());
        else
            CliOutput::line(QStringLiteral("  text: none"));
    }
    if (object.contains(QStringLiteral("recognizedText")))
        printText(QStringLiteral("recognized text"), object.value(QStringLiteral("recognizedText")).toString());
    const QJsonObject facts = object.value(QStringLiteral("fields")).toObject();
    if (!facts.isEmpty()) {
        CliOutput::line(QStringLiteral("  fields:"));
        for (auto it = facts.constBegin(); it != facts.constEnd(); ++it)
            CliOutput::line(QStringLiteral("    %1 = %2").arg(it.key(), it.value().toString()));
    }
    if (object.contains(QStringLiteral("contentHash")))
        CliOutput::line(QStringLiteral("  content hash: ") + object.value(QStringLiteral("contentHash")).toString());
}

} // namespace

ExitStatus runInspectCommand(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Show what Nomly reads from files on this machine, without sending anything anywhere: each file's kind, "
        "the text extracted from it (long PDFs as excerpts of the pages chosen; Office and OpenDocument files, legacy "
        "doc, xls and ppt included; at most 12,000 characters), the "
        "text recognised in an image or a PDF without a text layer, the naming fields the file itself fills "
        "(name = value), and the content hash that tells a file already handled from a new one.\n"
        "A file that cannot be read is reported with the reason, and the exit status is 1."));
    const QCommandLineOption helpOption = parser.addHelpOption();
    const QCommandLineOption jsonOption(QStringLiteral("json"), QStringLiteral("Print a JSON array, text in full."));
    parser.addOption(jsonOption);
    parser.addPositionalArgument(
        QStringLiteral("FILE"), QStringLiteral("Files to inspect."), QStringLiteral("FILE..."));
    if (const auto answered = parseOrAnswer(parser, arguments, helpOption))
        return *answered;
    const QStringList files = parser.positionalArguments();
    if (files.isEmpty()) {
        CliOutput::error(QStringLiteral("no files given"));
        return ExitStatus::UsageError;
    }

    // The extension lists as the application would use them: built in, or as
    // the backend last sent them. Nothing is fetched here.
    const RemoteConfig remote = RemoteConfigService::cachedConfig(UserDefaults());
    ExtractionOptions options;
    options.pdfTextExtractionEnabled = remote.pdfTextExtractionEnabled;
    options.imageExtensions = remote.imageExtensions;
    options.designExtensions = remote.designExtensions;

    // The naming fields as a rename would fill them from the file itself.
    PatternMetadataOptions factOptions;
    factOptions.imageExtensions = options.imageExtensions;
    bool anyFailed = false;
    QJsonArray all;
    for (const QString &file : files) {
        const QJsonObject object = toJson(inspect(file, options, factOptions));
        anyFailed = anyFailed || object.value(QStringLiteral("status")).toString() == u"failed";
        if (parser.isSet(jsonOption))
            all.append(object);
        else
            printPlain(object);
    }
    if (parser.isSet(jsonOption))
        CliOutput::json(QJsonDocument(all));
    return anyFailed ? ExitStatus::ItemFailed : ExitStatus::Success;
}

} // namespace Nomly
