#pragma once

#include <QJsonObject>
#include <QString>
#include <functional>
#include <optional>

#include "platform/result.h"
#include "settings/aiprovider.h"
#include "settings/settings.h"

namespace Nomly {

class SettingsStore;

// Carries data stored by earlier versions forward, once each, at launch and
// before anything reads the settings. Every step leaves data alone when there
// is nothing to do, so a half-finished earlier run is harmless. A step whose
// save fails logs, keeps the value in memory and still sets its flag.
class MigrationService final
{
public:
    static const QString TitleCasePatternFlag;
    static const QString TitleNamePatternFlag;
    static const QString ApiKeysFlag;
    static const QString EnglishOutputLanguageFlag;
    static const QString BundledInheritedOutputLanguageFlag;

    // Puts a provider key into the secret store. Without one, keys stored in
    // the settings by old versions wait, and their flag stays unset.
    using SaveApiKey = std::function<Result<>(AIProvider provider, const QString &key)>;

    explicit MigrationService(SettingsStore &store, SaveApiKey saveApiKey = {});

    // Changes `settings` in place and saves them where a step changed them.
    void run(Settings &settings);

private:
    void migrateLegacyPattern(Settings &settings);
    void markRetiredSteps();
    void migrateApiKeys(const Settings &settings, const std::optional<QJsonObject> &stored);
    void migrateEnglishOutputLanguage(Settings &settings);
    void migrateBundledInheritedOutputLanguage();
    void migratePatternStorageTokens(Settings &settings, const std::optional<QJsonObject> &stored);
    bool flagSet(const QString &flag) const;
    void setFlag(const QString &flag);

    SettingsStore &m_store;
    SaveApiKey m_saveApiKey;
};

} // namespace Nomly
