#pragma once

#include "platform/result.h"
#include "settings/settings.h"

namespace Nomly {

class Database;
class UserDefaults;

// Keeps the one settings record: as JSON in the database, with the values
// needed before the database opens (dock icon, appearance, interface
// language) mirrored into the user defaults.
class SettingsStore final
{
public:
    static const QString ShowDockIconKey;
    static const QString AppearanceKey;
    static const QString InterfaceLanguageKey;
    static const QString HasCompletedOnboardingKey;

    SettingsStore(Database &database, UserDefaults &userDefaults);
    SettingsStore(const SettingsStore &) = delete;
    SettingsStore &operator=(const SettingsStore &) = delete;

    // The stored record, or the defaults when there is none or it does not
    // decode (which is logged); never fails.
    Settings load();
    // The row first; the mirrors only once the row is written.
    Result<> save(const Settings &settings);

    bool hasCompletedOnboarding() const;
    void setHasCompletedOnboarding(bool completed);

    Database &database() { return m_database; }

    UserDefaults &userDefaults() { return m_userDefaults; }

private:
    Database &m_database;
    UserDefaults &m_userDefaults;
};

} // namespace Nomly
