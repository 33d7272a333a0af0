#include "settings/settingsjson.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QList>
#include <utility>

#include "naming/nametext.h"
#include "naming/namingpatternblockjson.h"
#include "settings/jsonfieldreader_p.h"
#include "settings/keyboardshortcutjson.h"
#include "settings/modelnormalization.h"
#include "settings/namingderivation.h"

namespace Nomly {

namespace {

namespace Key {
const QString WatchedFolders = QStringLiteral("watchedFolders");
const QString NamingPattern = QStringLiteral("namingPattern");
const QString NamingPatternBlocks = QStringLiteral("namingPatternBlocks");
const QString NamingCaseStyle = QStringLiteral("namingCaseStyle");
const QString NamingWordSeparator = QStringLiteral("namingWordSeparator");
const QString NamingBlockSeparator = QStringLiteral("namingBlockSeparator");
const QString AutoStart = QStringLiteral("autoStart");
const QString IsCustomPatternEnabled = QStringLiteral("isCustomPatternEnabled");
const QString AddFinderTags = QStringLiteral("addFinderTags");
const QString AddSpotlightMetadata = QStringLiteral("addSpotlightMetadata");
const QString MonitorSubfolders = QStringLiteral("monitorSubfolders");
const QString MonitoringPaused = QStringLiteral("monitoringPaused");
const QString ShowDockIcon = QStringLiteral("showDockIcon");
const QString AppSoundsEnabled = QStringLiteral("appSoundsEnabled");
const QString Appearance = QStringLiteral("appearance");
const QString InterfaceLanguage = QStringLiteral("interfaceLanguage");
const QString OutputLanguage = QStringLiteral("outputLanguage");
const QString DateFormat = QStringLiteral("dateFormat");
const QString MonitorFilePrefix = QStringLiteral("monitorFilePrefix");
const QString MonitorFileExtensions = QStringLiteral("monitorFileExtensions");
const QString HotkeyEnabled = QStringLiteral("hotkeyEnabled");
const QString HotkeyShortcut = QStringLiteral("hotkeyShortcut");
const QString AiProvider = QStringLiteral("aiProvider");
const QString HasGeminiApiKey = QStringLiteral("hasGeminiApiKey");
const QString HasGroqApiKey = QStringLiteral("hasGroqApiKey");
const QString HasOpenaiApiKey = QStringLiteral("hasOpenaiApiKey");
const QString HasClaudeApiKey = QStringLiteral("hasClaudeApiKey");
const QString ByokEnabled = QStringLiteral("byokEnabled");
const QString ByokGeminiModel = QStringLiteral("byokGeminiModel");
const QString ByokGroqModel = QStringLiteral("byokGroqModel");
const QString ByokOpenaiModel = QStringLiteral("byokOpenaiModel");
const QString ByokClaudeModel = QStringLiteral("byokClaudeModel");
const QString AiProcessingMode = QStringLiteral("aiProcessingMode");
const QString LocalAIBackend = QStringLiteral("localAIBackend");
const QString LocalAIEndpoint = QStringLiteral("localAIEndpoint");
const QString LocalAIModel = QStringLiteral("localAIModel");
const QString RenamePromptOverride = QStringLiteral("renamePromptOverride");
const QString TagPromptOverride = QStringLiteral("tagPromptOverride");
const QString IWorkOnlinePreviewsEnabled = QStringLiteral("iWorkOnlinePreviewsEnabled");

// Written by earlier versions; read to fill the fields that replaced them.
const QString NamingSeparator = QStringLiteral("namingSeparator");
const QString AddMetadataTags = QStringLiteral("addMetadataTags");
const QString GeminiApiKey = QStringLiteral("geminiApiKey");
const QString GroqApiKey = QStringLiteral("groqApiKey");
const QString OpenaiApiKey = QStringLiteral("openaiApiKey");
const QString ClaudeApiKey = QStringLiteral("claudeApiKey");
} // namespace Key

using EncodedField = std::pair<QString, QJsonValue>;

// The one place that fixes which keys are written and in what order.
QList<EncodedField> encodedFields(const Settings &s)
{
    QList<EncodedField> fields;
    const auto add = [&fields](const QString &key, QJsonValue value) { fields.append({ key, std::move(value) }); };
    const auto addString = [&add](const QString &key, const std::optional<QString> &value) {
        if (value)
            add(key, *value);
    };

    add(Key::WatchedFolders, QJsonArray::fromStringList(s.watchedFolders));
    add(Key::NamingPattern, s.namingPattern);
    if (s.namingPatternBlocks)
        add(Key::NamingPatternBlocks, toJson(*s.namingPatternBlocks));
    add(Key::NamingCaseStyle, rawValue(s.namingCaseStyle));
    add(Key::NamingWordSeparator, rawValue(s.namingWordSeparator));
    add(Key::NamingBlockSeparator, rawValue(s.namingBlockSeparator));
    add(Key::AutoStart, s.autoStart);
    add(Key::IsCustomPatternEnabled, s.isCustomPatternEnabled);
    add(Key::AddFinderTags, s.addFinderTags);
    add(Key::AddSpotlightMetadata, s.addSpotlightMetadata);
    add(Key::MonitorSubfolders, s.monitorSubfolders);
    add(Key::MonitoringPaused, s.monitoringPaused);
    add(Key::ShowDockIcon, s.showDockIcon);
    add(Key::AppSoundsEnabled, s.appSoundsEnabled);
    add(Key::Appearance, rawValue(s.appearance));
    add(Key::InterfaceLanguage, rawValue(s.interfaceLanguage));
    add(Key::OutputLanguage, s.outputLanguage);
    add(Key::DateFormat, s.dateFormat);
    add(Key::MonitorFilePrefix, s.monitorFilePrefix);
    if (s.monitorFileExtensions)
        add(Key::MonitorFileExtensions, QJsonArray::fromStringList(*s.monitorFileExtensions));
    add(Key::HotkeyEnabled, s.hotkeyEnabled);
    if (s.hotkeyShortcut)
        add(Key::HotkeyShortcut, toJson(*s.hotkeyShortcut));
    add(Key::AiProvider, rawValue(s.aiProvider));
    add(Key::HasGeminiApiKey, s.hasGeminiApiKey);
    add(Key::HasGroqApiKey, s.hasGroqApiKey);
    add(Key::HasOpenaiApiKey, s.hasOpenaiApiKey);
    add(Key::HasClaudeApiKey, s.hasClaudeApiKey);
    add(Key::ByokEnabled, s.byokEnabled);
    addString(Key::ByokGeminiModel, s.byokGeminiModel);
    addString(Key::ByokGroqModel, s.byokGroqModel);
    addString(Key::ByokOpenaiModel, s.byokOpenaiModel);
    addString(Key::ByokClaudeModel, s.byokClaudeModel);
    add(Key::AiProcessingMode, rawValue(s.aiProcessingMode));
    add(Key::LocalAIBackend, rawValue(s.localAIBackend));
    add(Key::LocalAIEndpoint, s.localAIEndpoint);
    add(Key::LocalAIModel, s.localAIModel);
    addString(Key::RenamePromptOverride, s.renamePromptOverride);
    addString(Key::TagPromptOverride, s.tagPromptOverride);
    add(Key::IWorkOnlinePreviewsEnabled, s.iWorkOnlinePreviewsEnabled);
    return fields;
}

// QJsonDocument only writes whole arrays and objects, so a lone value is
// written inside a one-element array and unwrapped.
QByteArray compactJson(const QJsonValue &value)
{
    const QByteArray wrapped = QJsonDocument(QJsonArray { value }).toJson(QJsonDocument::Compact);
    return wrapped.sliced(1, wrapped.size() - 2);
}

// The stored flag; a record from before the secret store has none, and the
// key it held itself says whether the user had one.
bool hasApiKey(JsonFieldReader &in, const QString &flagKey, const QString &legacyKey)
{
    if (const std::optional<bool> flag = in.boolean(flagKey))
        return *flag;
    const std::optional<QString> secret = in.string(legacyKey);
    return secret && !secret->isEmpty();
}

// The processing mode is read apart from the rest: a value this version does
// not know must not cost the user every other setting.
AIProcessingMode processingMode(const QJsonObject &json, AIProcessingMode fallback)
{
    const QJsonValue value = json.value(Key::AiProcessingMode);
    if (!value.isString())
        return fallback;
    return aiProcessingModeFromRaw(value.toString()).value_or(fallback);
}

} // namespace

QJsonObject toJson(const Settings &settings)
{
    QJsonObject json;
    for (const auto &[key, value] : encodedFields(settings))
        json.insert(key, value);
    return json;
}

QByteArray settingsToJsonBytes(const Settings &settings)
{
    QByteArray text = "{";
    const QList<EncodedField> fields = encodedFields(settings);
    for (qsizetype i = 0; i < fields.size(); ++i) {
        if (i > 0)
            text += ',';
        text += compactJson(fields.at(i).first) + ':' + compactJson(fields.at(i).second);
    }
    text += '}';
    return text;
}

std::optional<Settings> settingsFromJson(const QJsonObject &json, QString *error)
{
    JsonFieldReader in(json, QStringLiteral("Settings"));
    Settings s;

    const auto legacyMetadataTags = in.boolean(Key::AddMetadataTags);

    assignIfRead(s.watchedFolders, in.stringList(Key::WatchedFolders));
    const std::optional<QString> storedPattern = in.string(Key::NamingPattern);
    s.namingPattern = storedPattern.value_or(s.namingPattern);
    assignIfRead(s.namingPatternBlocks, in.blocks(Key::NamingPatternBlocks));
    // Records from before case styles and separators spelled them through the
    // title token of their pattern. A record without a pattern has no such
    // history, and the default pattern must not be read as one.
    const QString legacyPattern = storedPattern.value_or(QString());
    s.namingCaseStyle = firstPresent(
        { in.choice(Key::NamingCaseStyle, NamingCaseStyleRawValues), caseStyleFromLegacyTokens(legacyPattern) },
        s.namingCaseStyle);
    const auto storedWordSeparator = in.choice(Key::NamingWordSeparator, NamingPatternSeparatorRawValues);
    const auto storedBlockSeparator = in.choice(Key::NamingBlockSeparator, NamingPatternSeparatorRawValues);
    // The one separator of older records is only consulted where a newer one is missing.
    const auto legacySeparator = storedWordSeparator && storedBlockSeparator
        ? std::nullopt
        : in.choice(Key::NamingSeparator, NamingPatternSeparatorRawValues);
    s.namingWordSeparator = firstPresent({ storedWordSeparator,
                                           legacySeparator,
                                           wordSeparatorFromLegacyTokens(legacyPattern),
                                           wordSeparatorImpliedBy(s.namingCaseStyle) },
                                         s.namingWordSeparator);
    s.namingBlockSeparator = firstPresent(
        { storedBlockSeparator, blockSeparatorOfPattern(s.namingPattern), legacySeparator }, s.namingBlockSeparator);
    assignIfRead(s.autoStart, in.boolean(Key::AutoStart));
    assignIfRead(s.isCustomPatternEnabled, in.boolean(Key::IsCustomPatternEnabled));
    s.addFinderTags = firstPresent({ in.boolean(Key::AddFinderTags), legacyMetadataTags }, s.addFinderTags);
    s.addSpotlightMetadata
        = firstPresent({ in.boolean(Key::AddSpotlightMetadata), legacyMetadataTags }, s.addSpotlightMetadata);
    assignIfRead(s.monitorSubfolders, in.boolean(Key::MonitorSubfolders));
    assignIfRead(s.monitoringPaused, in.boolean(Key::MonitoringPaused));
    assignIfRead(s.showDockIcon, in.boolean(Key::ShowDockIcon));
    assignIfRead(s.appSoundsEnabled, in.boolean(Key::AppSoundsEnabled));
    assignIfRead(s.appearance, in.choice(Key::Appearance, AppearanceModeRawValues));
    assignIfRead(s.interfaceLanguage, in.choice(Key::InterfaceLanguage, InterfaceLanguageRawValues));
    assignIfRead(s.outputLanguage, in.string(Key::OutputLanguage));
    assignIfRead(s.dateFormat, in.string(Key::DateFormat));
    assignIfRead(s.monitorFilePrefix, in.string(Key::MonitorFilePrefix));
    assignIfRead(s.monitorFileExtensions, in.stringList(Key::MonitorFileExtensions));
    assignIfRead(s.hotkeyEnabled, in.boolean(Key::HotkeyEnabled));
    assignIfRead(s.hotkeyShortcut, in.shortcut(Key::HotkeyShortcut));
    assignIfRead(s.aiProvider, in.choice(Key::AiProvider, AIProviderRawValues));
    s.hasGeminiApiKey = hasApiKey(in, Key::HasGeminiApiKey, Key::GeminiApiKey);
    s.hasGroqApiKey = hasApiKey(in, Key::HasGroqApiKey, Key::GroqApiKey);
    s.hasOpenaiApiKey = hasApiKey(in, Key::HasOpenaiApiKey, Key::OpenaiApiKey);
    s.hasClaudeApiKey = hasApiKey(in, Key::HasClaudeApiKey, Key::ClaudeApiKey);
    assignIfRead(s.byokEnabled, in.boolean(Key::ByokEnabled));
    s.byokGeminiModel = normalizedModelId(in.string(Key::ByokGeminiModel), AIProvider::Gemini);
    s.byokGroqModel = normalizedModelId(in.string(Key::ByokGroqModel), AIProvider::Groq);
    s.byokOpenaiModel = normalizedModelId(in.string(Key::ByokOpenaiModel), AIProvider::OpenAI);
    s.byokClaudeModel = normalizedModelId(in.string(Key::ByokClaudeModel), AIProvider::Claude);
    s.aiProcessingMode = processingMode(json, s.aiProcessingMode);
    assignIfRead(s.localAIBackend, in.choice(Key::LocalAIBackend, LocalAIBackendRawValues));
    assignIfRead(s.localAIEndpoint, in.string(Key::LocalAIEndpoint));
    assignIfRead(s.localAIModel, in.string(Key::LocalAIModel));
    assignIfRead(s.renamePromptOverride, in.string(Key::RenamePromptOverride));
    assignIfRead(s.tagPromptOverride, in.string(Key::TagPromptOverride));
    assignIfRead(s.iWorkOnlinePreviewsEnabled, in.boolean(Key::IWorkOnlinePreviewsEnabled));

    if (in.failed()) {
        if (error)
            *error = in.error();
        return std::nullopt;
    }
    return s;
}

QStringList settingsFieldNames()
{
    // A record with every optional field present writes every key.
    Settings full;
    full.namingPatternBlocks = QList<NamingPatternBlock>();
    full.monitorFileExtensions = QStringList();
    full.hotkeyShortcut = KeyboardShortcut {};
    full.byokGeminiModel = QString();
    full.byokGroqModel = QString();
    full.byokOpenaiModel = QString();
    full.byokClaudeModel = QString();
    full.renamePromptOverride = QString();
    full.tagPromptOverride = QString();
    QStringList names;
    for (const auto &[key, value] : encodedFields(full))
        names.append(key);
    return names;
}

} // namespace Nomly
