#include "app/migrationservice.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <array>

#include "app/settingsstore.h"
#include "history/database.h"
#include "naming/namingpatternitems.h"
#include "platform/logcategories.h"
#include "platform/userdefaults.h"

namespace Nomly {

const QString MigrationService::TitleCasePatternFlag = QStringLiteral("didMigrateToTitleCasePattern");
const QString MigrationService::TitleNamePatternFlag = QStringLiteral("didMigrateToTitleNamePattern");
const QString MigrationService::ApiKeysFlag = QStringLiteral("didMigrateApiKeysToKeychain");
const QString MigrationService::EnglishOutputLanguageFlag = QStringLiteral("didMigrateEnglishOutputLanguageToAuto");
const QString MigrationService::BundledInheritedOutputLanguageFlag
    = QStringLiteral("didMigrateBundledInheritedOutputLanguageToAuto");

namespace {

// Where versions before the secret store kept provider keys, in the order
// they move.
struct LegacyKey
{
    const char16_t *jsonKey;
    AIProvider provider;
    const char *logLine;
};

constexpr std::array<LegacyKey, 4> LegacyKeys { {
    { u"geminiApiKey", AIProvider::Gemini, "Migrated Gemini API key to Keychain" },
    { u"groqApiKey", AIProvider::Groq, "Migrated Groq API key to Keychain" },
    { u"openaiApiKey", AIProvider::OpenAI, "Migrated OpenAI API key to Keychain" },
    { u"claudeApiKey", AIProvider::Claude, "Migrated Claude API key to Keychain" },
} };

const QString LegacyPattern = QStringLiteral("{title}_{date}");
const QString English = QStringLiteral("en");
const QString Auto = QStringLiteral("auto");

// The settings row as stored, for keys the record no longer has. None when
// there is no row or it is not a JSON object.
std::optional<QJsonObject> storedSettingsJson(Database &database)
{
    const auto data = database.loadSettingsData();
    if (!data || !data.value())
        return std::nullopt;
    const QJsonDocument document = QJsonDocument::fromJson(*data.value());
    if (!document.isObject())
        return std::nullopt;
    return document.object();
}

} // namespace

MigrationService::MigrationService(SettingsStore &store, SaveApiKey saveApiKey)
    : m_store(store)
    , m_saveApiKey(std::move(saveApiKey))
{}

void MigrationService::run(Settings &settings)
{
    // Read once, before any step saves: a save rewrites the row without the
    // keys that older versions wrote.
    const std::optional<QJsonObject> stored = storedSettingsJson(m_store.database());
    migrateLegacyPattern(settings);
    markRetiredSteps();
    migrateApiKeys(settings, stored);
    migrateEnglishOutputLanguage(settings);
    migrateBundledInheritedOutputLanguage();
    migratePatternStorageTokens(settings, stored);
}

void MigrationService::migrateLegacyPattern(Settings &settings)
{
    if (settings.isCustomPatternEnabled || settings.namingPattern != LegacyPattern)
        return;
    settings.namingPattern = QStringLiteral("{title}");
    if (const auto saved = m_store.save(settings); !saved)
        qCCritical(lcConfig).noquote() << "Failed to persist legacy naming pattern migration:" << saved.error();
}

// These stand for steps of versions long gone; setting them keeps the keys
// from ever meaning something else.
void MigrationService::markRetiredSteps()
{
    for (const QString &flag : { TitleCasePatternFlag, TitleNamePatternFlag }) {
        if (!flagSet(flag))
            setFlag(flag);
    }
}

void MigrationService::migrateApiKeys(const Settings &settings, const std::optional<QJsonObject> &json)
{
    if (flagSet(ApiKeysFlag) || !m_saveApiKey)
        return;
    if (json) {
        for (const LegacyKey &legacy : LegacyKeys) {
            const QString key = json->value(QString::fromUtf16(legacy.jsonKey)).toString();
            if (key.isEmpty())
                continue;
            if (const auto saved = m_saveApiKey(legacy.provider, key); saved)
                qCInfo(lcConfig) << legacy.logLine;
            else
                qCCritical(lcConfig).noquote() << "Failed to migrate an API key:" << saved.error();
        }
    }
    // Written again without them: the record never encodes keys.
    if (const auto saved = m_store.save(settings); !saved)
        qCCritical(lcConfig).noquote() << "Failed to persist API keys to Keychain migration:" << saved.error();
    setFlag(ApiKeysFlag);
}

void MigrationService::migrateEnglishOutputLanguage(Settings &settings)
{
    if (flagSet(EnglishOutputLanguageFlag))
        return;
    if (settings.outputLanguage == English) {
        settings.outputLanguage = Auto;
        if (const auto saved = m_store.save(settings); !saved)
            qCCritical(lcConfig).noquote()
                << "Failed to persist English output language to Auto migration:" << saved.error();
    }
    const auto walked = m_store.database().updatePresetSettings(
        [](const Database::PresetSettingsRow &, AnalysisSettings &preset) {
            if (preset.outputLanguage != English)
                return false;
            preset.outputLanguage = Auto;
            return true;
        },
        QStringLiteral("Failed to decode preset settings for language migration id "));
    if (!walked)
        qCCritical(lcConfig).noquote() << "Failed to persist preset English output language migration:"
                                       << walked.error();
    setFlag(EnglishOutputLanguageFlag);
}

// Demo templates once inherited the output language; they now say "auto"
// outright, so that a change of the global language leaves them alone.
void MigrationService::migrateBundledInheritedOutputLanguage()
{
    if (flagSet(BundledInheritedOutputLanguageFlag))
        return;
    const auto walked = m_store.database().updatePresetSettings(
        [](const Database::PresetSettingsRow &row, AnalysisSettings &preset) {
            if (!row.bundledId || preset.outputLanguage)
                return false;
            preset.outputLanguage = Auto;
            return true;
        },
        QStringLiteral("Failed to decode bundled preset settings for language default migration id "));
    if (!walked)
        qCCritical(lcConfig).noquote() << "Failed to persist bundled preset Auto output language migration:"
                                       << walked.error();
    setFlag(BundledInheritedOutputLanguageFlag);
}

// Records from before case styles spell the title token without regard to
// the style; the stored form spells it the way the style renders it.
void MigrationService::migratePatternStorageTokens(Settings &settings, const std::optional<QJsonObject> &json)
{
    if (!json || json->contains(QStringLiteral("namingCaseStyle")))
        return;
    const NamingPatternItems items = itemsFromText(settings.namingPattern);
    if (items.items.isEmpty())
        return;
    const QString stored = joinedText(blocksFromItems(items, settings.namingCaseStyle, settings.namingWordSeparator));
    if (stored == settings.namingPattern)
        return;
    settings.namingPattern = stored;
    if (const auto saved = m_store.save(settings); !saved)
        qCCritical(lcConfig).noquote() << "Failed to persist naming pattern storage tokens migration:" << saved.error();
}

bool MigrationService::flagSet(const QString &flag) const
{
    return m_store.userDefaults().boolValue(flag);
}

void MigrationService::setFlag(const QString &flag)
{
    m_store.userDefaults().setValue(flag, true);
}

} // namespace Nomly
