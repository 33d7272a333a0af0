#pragma once

#include <memory>

#include "app/appworkflows.h"
#include "app/bookmarkservice.h"
#include "app/networkservice.h"
#include "app/settingsviewmodel.h"
#include "history/database.h"
#include "history/undoignoreservice.h"
#include "platform/diagnostics.h"
#include "platform/userdefaults.h"

namespace Nomly {

struct SecretStores;

// The user's profile as one command sees it: the same central state the
// desktop application builds at launch, over the database in the data folder
// and the user defaults, set up the same way (migrations, demo templates,
// folder normalisation) before the command reads anything.
class CliProfile final
{
public:
    // Prints why the profile cannot be opened and returns null.
    static std::unique_ptr<CliProfile> open();

    Database &database() { return *m_database; }

    UserDefaults &userDefaults() { return m_userDefaults; }

    BookmarkService &bookmarks() { return m_bookmarks; }

    SettingsViewModel &state() { return m_state; }

    UndoIgnoreService &undoIgnore() { return m_undoIgnore; }

    NetworkService &network() { return m_network; }

    AppWorkflows &workflows() { return *m_state.workflows(); }

    Diagnostics &diagnostics() { return m_diagnostics; }

    ActivityViewModel &activity() { return workflows().activity(); }

    const Settings &settings() const { return m_state.settings(); }

    Result<> saveSettings(const Settings &settings);

    const QList<Preset> &presets() const { return m_state.templates().presets(); }

    // Says that keys are kept in a file, when `stores` keep them there
    // because no Secret Service answers: once per profile, or every time.
    enum class FileFallbackNotice
    {
        OncePerProfile,
        Always,
    };
    void tellWhereKeysAreKept(const SecretStores &stores,
                              FileFallbackNotice notice = FileFallbackNotice::OncePerProfile);

    // A template by its name (any case) or id; none, with `error` set, when
    // there is no such template or the name is not unique.
    std::optional<Preset> findPreset(const QString &nameOrId, QString *error) const;

private:
    explicit CliProfile(std::unique_ptr<Database> database);

    std::unique_ptr<Database> m_database;
    UserDefaults m_userDefaults;
    UndoIgnoreService m_undoIgnore;
    NetworkService m_network;
    BookmarkService m_bookmarks;
    Diagnostics m_diagnostics;
    SettingsViewModel m_state;
};

} // namespace Nomly
