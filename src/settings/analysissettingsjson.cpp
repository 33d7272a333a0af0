#include "settings/analysissettingsjson.h"

#include "naming/namingpatternblockjson.h"
#include "settings/jsonfieldreader_p.h"

namespace Nomly {

namespace {

namespace Key {
const QString NamingPattern = QStringLiteral("namingPattern");
const QString NamingPatternBlocks = QStringLiteral("namingPatternBlocks");
const QString NamingCaseStyle = QStringLiteral("namingCaseStyle");
const QString NamingWordSeparator = QStringLiteral("namingWordSeparator");
const QString NamingBlockSeparator = QStringLiteral("namingBlockSeparator");
const QString DateFormat = QStringLiteral("dateFormat");
const QString OutputLanguage = QStringLiteral("outputLanguage");
const QString AddFinderTags = QStringLiteral("addFinderTags");
const QString AddSpotlightMetadata = QStringLiteral("addSpotlightMetadata");
const QString RenamePromptOverride = QStringLiteral("renamePromptOverride");
const QString TagPromptOverride = QStringLiteral("tagPromptOverride");
} // namespace Key

template<typename T> void insertIfPresent(QJsonObject &json, const QString &key, const std::optional<T> &value)
{
    if (value)
        json.insert(key, *value);
}

} // namespace

QJsonObject toJson(const AnalysisSettings &settings)
{
    QJsonObject json;
    insertIfPresent(json, Key::NamingPattern, settings.namingPattern);
    if (settings.namingPatternBlocks)
        json.insert(Key::NamingPatternBlocks, toJson(*settings.namingPatternBlocks));
    if (settings.namingCaseStyle)
        json.insert(Key::NamingCaseStyle, rawValue(*settings.namingCaseStyle));
    if (settings.namingWordSeparator)
        json.insert(Key::NamingWordSeparator, rawValue(*settings.namingWordSeparator));
    if (settings.namingBlockSeparator)
        json.insert(Key::NamingBlockSeparator, rawValue(*settings.namingBlockSeparator));
    insertIfPresent(json, Key::DateFormat, settings.dateFormat);
    insertIfPresent(json, Key::OutputLanguage, settings.outputLanguage);
    insertIfPresent(json, Key::AddFinderTags, settings.addFinderTags);
    insertIfPresent(json, Key::AddSpotlightMetadata, settings.addSpotlightMetadata);
    insertIfPresent(json, Key::RenamePromptOverride, settings.renamePromptOverride);
    insertIfPresent(json, Key::TagPromptOverride, settings.tagPromptOverride);
    return json;
}

std::optional<AnalysisSettings> analysisSettingsFromJson(const QJsonObject &json, QString *error)
{
    JsonFieldReader in(json, QStringLiteral("Override settings"));
    AnalysisSettings settings;
    settings.namingPattern = in.string(Key::NamingPattern);
    settings.namingPatternBlocks = in.blocks(Key::NamingPatternBlocks);
    settings.namingCaseStyle = in.choice(Key::NamingCaseStyle, NamingCaseStyleRawValues);
    settings.namingWordSeparator = in.choice(Key::NamingWordSeparator, NamingPatternSeparatorRawValues);
    settings.namingBlockSeparator = in.choice(Key::NamingBlockSeparator, NamingPatternSeparatorRawValues);
    settings.dateFormat = in.string(Key::DateFormat);
    settings.outputLanguage = in.string(Key::OutputLanguage);
    settings.addFinderTags = in.boolean(Key::AddFinderTags);
    settings.addSpotlightMetadata = in.boolean(Key::AddSpotlightMetadata);
    settings.renamePromptOverride = in.string(Key::RenamePromptOverride);
    settings.tagPromptOverride = in.string(Key::TagPromptOverride);
    if (in.failed()) {
        if (error)
            *error = in.error();
        return std::nullopt;
    }
    return settings;
}

} // namespace Nomly
