#pragma once

#include <memory>

#include "app/settingsstore.h"
#include "history/activityviewmodel.h"
#include "history/database.h"
#include "history/undoignoreservice.h"
#include "platform/userdefaults.h"

namespace Nomly {

// The user's profile as one command sees it: the database in the data folder,
// the user defaults, the settings after this version's migrations, and the
// services over them that the application uses too.
class CliProfile final
{
public:
    // Prints why the profile cannot be opened and returns null.
    static std::unique_ptr<CliProfile> open();

    Database &database() { return *m_database; }

    UserDefaults &userDefaults() { return m_userDefaults; }

    const Settings &settings() const { return m_settings; }

    Result<> saveSettings(const Settings &settings);

    // The stored templates, oldest first, demo templates brought up to date.
    QList<Preset> presets();
    // A template by its name (any case) or id; none, with `error` set, when
    // there is no such template or the name is not unique.
    std::optional<Preset> findPreset(const QString &nameOrId, QString *error);

    UndoIgnoreService &undoIgnore() { return m_undoIgnore; }

    ActivityViewModel &activity() { return m_activity; }

private:
    explicit CliProfile(std::unique_ptr<Database> database);

    std::unique_ptr<Database> m_database;
    UserDefaults m_userDefaults;
    SettingsStore m_store;
    Settings m_settings;
    UndoIgnoreService m_undoIgnore;
    ActivityViewModel m_activity;
};

} // namespace Nomly
