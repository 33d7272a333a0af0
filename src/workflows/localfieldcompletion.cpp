#include "workflows/localfieldcompletion.h"

#include <QFileInfo>

#include "content/localfielddetector.h"

namespace Nomly {

namespace {

std::optional<QString> textOf(const AIAnalyzeInput &input)
{
    return std::visit(
        [](const auto &payload) -> std::optional<QString> {
            if constexpr (requires { payload.text; })
                return payload.text;
            else
                return std::nullopt;
        },
        input.payload());
}

} // namespace

ImageAnalysis withLocalFields(ImageAnalysis analysis, const AIAnalyzeInput &input, const QString &path)
{
    LocalFieldInput local;
    local.mainText = textOf(input).value_or(QString());
    local.fileName = QFileInfo(path).fileName();
    local.furtherStrings = analysis.tags;
    local.furtherStrings.prepend(analysis.description);
    local.furtherStrings.prepend(analysis.title.value_or(QString()));
    for (auto it = analysis.detectedFields.cbegin(); it != analysis.detectedFields.cend(); ++it)
        local.existingFields.insert(it.key(), it.value());
    const QHash<QString, QString> found = LocalFieldDetector::detect(local);
    for (auto it = found.cbegin(); it != found.cend(); ++it) {
        if (analysis.detectedFields.value(it.key()).trimmed().isEmpty())
            analysis.detectedFields.insert(it.key(), it.value());
    }
    return analysis;
}

} // namespace Nomly
