#include "app/settingsstore.h"

#include "history/database.h"
#include "platform/logcategories.h"
#include "platform/userdefaults.h"

namespace Nomly {

const QString SettingsStore::ShowDockIconKey = QStringLiteral("showDockIconPreference");
const QString SettingsStore::AppearanceKey = QStringLiteral("appearancePreference");
const QString SettingsStore::InterfaceLanguageKey = QStringLiteral("interfaceLanguagePreference");
const QString SettingsStore::HasCompletedOnboardingKey = QStringLiteral("hasCompletedOnboarding");

SettingsStore::SettingsStore(Database &database, UserDefaults &userDefaults)
    : m_database(database)
    , m_userDefaults(userDefaults)
{}

Settings SettingsStore::load()
{
    const auto stored = m_database.loadSettings();
    if (!stored) {
        qCCritical(lcConfig).noquote() << "Failed to load settings, using the defaults:" << stored.error();
        return Settings();
    }
    return stored.value().value_or(Settings());
}

Result<> SettingsStore::save(const Settings &settings)
{
    if (auto written = m_database.saveSettings(settings); !written)
        return written;
    m_userDefaults.setValue(ShowDockIconKey, settings.showDockIcon);
    m_userDefaults.setValue(AppearanceKey, rawValue(settings.appearance));
    m_userDefaults.setValue(InterfaceLanguageKey, rawValue(settings.interfaceLanguage));
    return {};
}

bool SettingsStore::hasCompletedOnboarding() const
{
    return m_userDefaults.boolValue(HasCompletedOnboardingKey);
}

void SettingsStore::setHasCompletedOnboarding(bool completed)
{
    m_userDefaults.setValue(HasCompletedOnboardingKey, completed);
}

} // namespace Nomly
