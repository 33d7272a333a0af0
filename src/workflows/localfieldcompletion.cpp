#include "workflows/localfieldcompletion.h"

#include <QFileInfo>

#include "content/localfielddetector.h"
#include "content/pdftext.h"
#include "naming/detectedfields.h"

namespace Nomly {

namespace {

// The file's own text, without what extraction put around it for the AI:
// the page headings of a document are no part of it, and are in English.
QString ownTextOf(const AIAnalyzeInput &input)
{
    if (const auto *document = input.get<FileDocumentAnalysisPayload>())
        return pdfTextWithoutHeadings(document->text.value_or(QString()));
    if (const auto *text = input.get<FileTextAnalysisPayload>())
        return text->text;
    if (const auto *video = input.get<FileVideoAnalysisPayload>())
        return video->text.value_or(QString());
    if (const auto *audio = input.get<FileAudioAnalysisPayload>())
        return audio->text.value_or(QString());
    return {};
}

} // namespace

ImageAnalysis withLocalFields(ImageAnalysis analysis, const AIAnalyzeInput &input, const QString &path)
{
    LocalFieldInput local;
    local.mainText = ownTextOf(input);
    local.fileName = QFileInfo(path).fileName();
    local.furtherStrings = analysis.tags;
    local.furtherStrings.prepend(analysis.description);
    local.furtherStrings.prepend(analysis.title.value_or(QString()));
    // The model writes keys as it likes ("Invoice Number"); under their field
    // names the rules see what it found and leave it be.
    QHash<QString, QString> given;
    for (auto it = analysis.detectedFields.cbegin(); it != analysis.detectedFields.cend(); ++it)
        given.insert(it.key(), it.value());
    local.existingFields = DetectedFields::normalized(given);
    const QHash<QString, QString> found = LocalFieldDetector::detect(local);
    for (auto it = found.cbegin(); it != found.cend(); ++it) {
        if (local.existingFields.value(it.key()).isEmpty())
            analysis.detectedFields.insert(it.key(), it.value());
    }
    return analysis;
}

} // namespace Nomly
