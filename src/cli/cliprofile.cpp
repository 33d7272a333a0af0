#include "cli/cliprofile.h"

#include "ai/keycustody.h"
#include "ai/secretstores.h"
#include "cli/clioutput.h"
#include "platform/datalocations.h"

namespace Nomly {

namespace {

// Keys that older versions kept in the settings move to the secret store.
// The store is only reached when there is such a key to move.
Result<> saveApiKey(AIProvider provider, const QString &key)
{
    SecretStores stores = SecretStores::forSession();
    KeyCustody custody(*stores.primary, stores.legacy.get());
    if (!QCoro::waitFor(custody.save(provider, key)))
        return Failure { QStringLiteral("the secret store refused the key for %1").arg(rawValue(provider)) };
    return {};
}

} // namespace

// The key flags are left as stored: asking the secret store at every command
// could prompt to unlock a keyring; `nomly keys` keeps them in line.
CliProfile::CliProfile(std::unique_ptr<Database> database)
    : m_database(std::move(database))
    , m_bookmarks(m_userDefaults)
    , m_diagnostics(DataLocations::dataDirectory())
    , m_state(*m_database, m_userDefaults, m_network, m_bookmarks, {}, &saveApiKey)
{
    m_state.createWorkflows(m_undoIgnore, m_diagnostics);
}

std::unique_ptr<CliProfile> CliProfile::open()
{
    const QString directory = DataLocations::dataDirectory();
    auto database = Database::open(directory);
    if (!database) {
        CliOutput::error(QStringLiteral("cannot open the database in '%1': %2").arg(directory, database.error()));
        return nullptr;
    }
    std::unique_ptr<CliProfile> profile(new CliProfile(std::move(database).value()));
    QCoro::waitFor(profile->m_state.setUp());
    return profile;
}

Result<> CliProfile::saveSettings(const Settings &settings)
{
    // The central state keeps a refused value in memory for the next try; a
    // command ends here, so the refusal is its answer.
    m_state.setSettings(settings);
    if (!QCoro::waitFor(m_state.saveSettings()))
        return Failure { QStringLiteral("the database refused the settings") };
    return {};
}

void CliProfile::tellWhereKeysAreKept(const SecretStores &stores, FileFallbackNotice notice)
{
    // Asked first, so that the profile records it was told either way.
    const bool news = stores.fileFallbackIsNews(m_userDefaults);
    if (news || (notice == FileFallbackNotice::Always && stores.usesFileFallback))
        CliOutput::error(QStringLiteral("no Secret Service answers on this session; keys are kept in a file only you "
                                        "can read"));
}

std::optional<Preset> CliProfile::findPreset(const QString &nameOrId, QString *error) const
{
    const QUuid id = QUuid::fromString(nameOrId.trimmed());
    QList<Preset> matches;
    for (const Preset &preset : presets()) {
        if ((!id.isNull() && preset.id == id) || preset.name.compare(nameOrId.trimmed(), Qt::CaseInsensitive) == 0)
            matches.append(preset);
    }
    if (matches.size() == 1)
        return matches.first();
    *error = matches.isEmpty()
        ? QStringLiteral("no template named '%1'; 'nomly templates list' shows them").arg(nameOrId)
        : QStringLiteral("%1 templates are named '%2'; give the id instead").arg(matches.size()).arg(nameOrId);
    return std::nullopt;
}

} // namespace Nomly
