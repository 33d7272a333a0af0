#include "settings/modelnormalization.h"

namespace Nomly {

namespace {

const QString GroqModel = QStringLiteral("qwen/qwen3.6-27b");

} // namespace

std::optional<QString> normalizedModelId(const std::optional<QString> &model, AIProvider provider)
{
    if (!model)
        return std::nullopt;
    const QString trimmed = model->trimmed();
    if (trimmed.isEmpty())
        return std::nullopt;
    if (provider == AIProvider::Groq) {
        if (trimmed.compare(GroqModel, Qt::CaseInsensitive) == 0)
            return GroqModel;
        return std::nullopt;
    }
    return trimmed;
}

} // namespace Nomly
