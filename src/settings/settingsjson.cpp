#include "settings/settingsjson.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QList>
#include <optional>
#include <type_traits>
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
const QString HasOpenaiCompatibleApiKey = QStringLiteral("hasOpenaiCompatibleApiKey");
const QString ByokEnabled = QStringLiteral("byokEnabled");
const QString ByokGeminiModel = QStringLiteral("byokGeminiModel");
const QString ByokGroqModel = QStringLiteral("byokGroqModel");
const QString ByokOpenaiModel = QStringLiteral("byokOpenaiModel");
const QString ByokClaudeModel = QStringLiteral("byokClaudeModel");
const QString ByokOpenaiCompatibleModel = QStringLiteral("byokOpenaiCompatibleModel");
const QString OpenaiCompatibleBaseUrl = QStringLiteral("openaiCompatibleBaseUrl");
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

// The raw-value table of each stored choice.
template<typename E> constexpr const auto &rawValuesOf()
{
    if constexpr (std::is_same_v<E, NamingCaseStyle>)
        return NamingCaseStyleRawValues;
    else if constexpr (std::is_same_v<E, NamingPatternSeparator>)
        return NamingPatternSeparatorRawValues;
    else if constexpr (std::is_same_v<E, AppearanceMode>)
        return AppearanceModeRawValues;
    else if constexpr (std::is_same_v<E, InterfaceLanguage>)
        return InterfaceLanguageRawValues;
    else if constexpr (std::is_same_v<E, AIProvider>)
        return AIProviderRawValues;
    else if constexpr (std::is_same_v<E, AIProcessingMode>)
        return AIProcessingModeRawValues;
    else if constexpr (std::is_same_v<E, LocalAIBackend>)
        return LocalAIBackendRawValues;
}

template<typename T> struct IsOptional : std::false_type
{};

template<typename T> struct IsOptional<std::optional<T>> : std::true_type
{};

template<typename T> QJsonValue encoded(const T &value)
{
    if constexpr (std::is_same_v<T, bool> || std::is_same_v<T, QString>)
        return value;
    else if constexpr (std::is_same_v<T, QStringList>)
        return QJsonArray::fromStringList(value);
    else if constexpr (std::is_same_v<T, QList<NamingPatternBlock>> || std::is_same_v<T, KeyboardShortcut>)
        return toJson(value);
    else
        return rawValue(value);
}

template<typename T> std::optional<T> decoded(JsonFieldReader &in, const QString &key)
{
    if constexpr (std::is_same_v<T, bool>)
        return in.boolean(key);
    else if constexpr (std::is_same_v<T, QString>)
        return in.string(key);
    else if constexpr (std::is_same_v<T, QStringList>)
        return in.stringList(key);
    else if constexpr (std::is_same_v<T, QList<NamingPatternBlock>>)
        return in.blocks(key);
    else if constexpr (std::is_same_v<T, KeyboardShortcut>)
        return in.shortcut(key);
    else
        return in.choice(key, rawValuesOf<T>());
}

// How a field is read back: plainly by its key, or by code of its own below,
// where older records hold it under other keys or need it checked.
enum class Reading
{
    Plain,
    Explicit,
};

// One stored field: its key, the member that holds it, how it is read. An
// absent optional member writes no key.
struct Field
{
    const QString &key;
    void (*write)(const Settings &, const QString &, QList<EncodedField> &);
    void (*read)(JsonFieldReader &, const QString &, Settings &);
    Reading reading;
};

template<auto Member> constexpr Field field(const QString &key, Reading reading = Reading::Plain)
{
    using Value = std::remove_cvref_t<decltype(std::declval<Settings>().*Member)>;
    return Field {
        key,
        [](const Settings &settings, const QString &name, QList<EncodedField> &out) {
            const Value &value = settings.*Member;
            if constexpr (IsOptional<Value>::value) {
                if (value)
                    out.append({ name, encoded(*value) });
            } else {
                out.append({ name, encoded(value) });
            }
        },
        [](JsonFieldReader &in, const QString &name, Settings &settings) {
            Value &value = settings.*Member;
            if constexpr (IsOptional<Value>::value) {
                if (auto read = decoded<typename Value::value_type>(in, name))
                    value = std::move(read);
            } else {
                if (auto read = decoded<Value>(in, name))
                    value = std::move(*read);
            }
        },
        reading,
    };
}

// The one place that fixes which keys are written, in what order, and how
// each is read.
const Field Fields[] = {
    field<&Settings::watchedFolders>(Key::WatchedFolders),
    field<&Settings::namingPattern>(Key::NamingPattern, Reading::Explicit),
    field<&Settings::namingPatternBlocks>(Key::NamingPatternBlocks),
    field<&Settings::namingCaseStyle>(Key::NamingCaseStyle, Reading::Explicit),
    field<&Settings::namingWordSeparator>(Key::NamingWordSeparator, Reading::Explicit),
    field<&Settings::namingBlockSeparator>(Key::NamingBlockSeparator, Reading::Explicit),
    field<&Settings::autoStart>(Key::AutoStart),
    field<&Settings::isCustomPatternEnabled>(Key::IsCustomPatternEnabled),
    field<&Settings::addFinderTags>(Key::AddFinderTags, Reading::Explicit),
    field<&Settings::addSpotlightMetadata>(Key::AddSpotlightMetadata, Reading::Explicit),
    field<&Settings::monitorSubfolders>(Key::MonitorSubfolders),
    field<&Settings::monitoringPaused>(Key::MonitoringPaused),
    field<&Settings::showDockIcon>(Key::ShowDockIcon),
    field<&Settings::appSoundsEnabled>(Key::AppSoundsEnabled),
    field<&Settings::appearance>(Key::Appearance),
    field<&Settings::interfaceLanguage>(Key::InterfaceLanguage),
    field<&Settings::outputLanguage>(Key::OutputLanguage),
    field<&Settings::dateFormat>(Key::DateFormat),
    field<&Settings::monitorFilePrefix>(Key::MonitorFilePrefix),
    field<&Settings::monitorFileExtensions>(Key::MonitorFileExtensions),
    field<&Settings::hotkeyEnabled>(Key::HotkeyEnabled),
    field<&Settings::hotkeyShortcut>(Key::HotkeyShortcut),
    field<&Settings::aiProvider>(Key::AiProvider),
    field<&Settings::hasGeminiApiKey>(Key::HasGeminiApiKey, Reading::Explicit),
    field<&Settings::hasGroqApiKey>(Key::HasGroqApiKey, Reading::Explicit),
    field<&Settings::hasOpenaiApiKey>(Key::HasOpenaiApiKey, Reading::Explicit),
    field<&Settings::hasClaudeApiKey>(Key::HasClaudeApiKey, Reading::Explicit),
    field<&Settings::hasOpenaiCompatibleApiKey>(Key::HasOpenaiCompatibleApiKey),
    field<&Settings::byokEnabled>(Key::ByokEnabled),
    field<&Settings::byokGeminiModel>(Key::ByokGeminiModel, Reading::Explicit),
    field<&Settings::byokGroqModel>(Key::ByokGroqModel, Reading::Explicit),
    field<&Settings::byokOpenaiModel>(Key::ByokOpenaiModel, Reading::Explicit),
    field<&Settings::byokClaudeModel>(Key::ByokClaudeModel, Reading::Explicit),
    field<&Settings::byokOpenaiCompatibleModel>(Key::ByokOpenaiCompatibleModel, Reading::Explicit),
    field<&Settings::openaiCompatibleBaseUrl>(Key::OpenaiCompatibleBaseUrl),
    field<&Settings::aiProcessingMode>(Key::AiProcessingMode, Reading::Explicit),
    field<&Settings::localAIBackend>(Key::LocalAIBackend),
    field<&Settings::localAIEndpoint>(Key::LocalAIEndpoint),
    field<&Settings::localAIModel>(Key::LocalAIModel),
    field<&Settings::renamePromptOverride>(Key::RenamePromptOverride),
    field<&Settings::tagPromptOverride>(Key::TagPromptOverride),
    field<&Settings::iWorkOnlinePreviewsEnabled>(Key::IWorkOnlinePreviewsEnabled),
};

QList<EncodedField> encodedFields(const Settings &settings)
{
    QList<EncodedField> fields;
    for (const Field &entry : Fields)
        entry.write(settings, entry.key, fields);
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
    for (const Field &entry : Fields) {
        if (entry.reading == Reading::Plain)
            entry.read(in, entry.key, s);
    }

    // Fields whose reading older records shape.
    const auto legacyMetadataTags = in.boolean(Key::AddMetadataTags);
    const std::optional<QString> storedPattern = in.string(Key::NamingPattern);
    s.namingPattern = storedPattern.value_or(s.namingPattern);
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
    s.addFinderTags = firstPresent({ in.boolean(Key::AddFinderTags), legacyMetadataTags }, s.addFinderTags);
    s.addSpotlightMetadata
        = firstPresent({ in.boolean(Key::AddSpotlightMetadata), legacyMetadataTags }, s.addSpotlightMetadata);
    s.hasGeminiApiKey = hasApiKey(in, Key::HasGeminiApiKey, Key::GeminiApiKey);
    s.hasGroqApiKey = hasApiKey(in, Key::HasGroqApiKey, Key::GroqApiKey);
    s.hasOpenaiApiKey = hasApiKey(in, Key::HasOpenaiApiKey, Key::OpenaiApiKey);
    s.hasClaudeApiKey = hasApiKey(in, Key::HasClaudeApiKey, Key::ClaudeApiKey);
    s.byokGeminiModel = normalizedModelId(in.string(Key::ByokGeminiModel), AIProvider::Gemini);
    s.byokGroqModel = normalizedModelId(in.string(Key::ByokGroqModel), AIProvider::Groq);
    s.byokOpenaiModel = normalizedModelId(in.string(Key::ByokOpenaiModel), AIProvider::OpenAI);
    s.byokClaudeModel = normalizedModelId(in.string(Key::ByokClaudeModel), AIProvider::Claude);
    s.byokOpenaiCompatibleModel
        = normalizedModelId(in.string(Key::ByokOpenaiCompatibleModel), AIProvider::OpenAICompatible);
    s.aiProcessingMode = processingMode(json, s.aiProcessingMode);

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
    full.byokOpenaiCompatibleModel = QString();
    full.renamePromptOverride = QString();
    full.tagPromptOverride = QString();
    QStringList names;
    for (const auto &[key, value] : encodedFields(full))
        names.append(key);
    return names;
}

} // namespace Nomly
