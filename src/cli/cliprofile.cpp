#include "cli/cliprofile.h"

#include "ai/keycustody.h"
#include "ai/secretstores.h"
#include "app/bundledpresetseeding.h"
#include "app/migrationservice.h"
#include "app/watchedfoldernormalization.h"
#include "cli/clioutput.h"
#include "platform/datalocations.h"
#include "platform/logcategories.h"

namespace Nomly {

CliProfile::CliProfile(std::unique_ptr<Database> database)
    : m_database(std::move(database))
    , m_store(*m_database, m_userDefaults)
    , m_activity(*m_database, m_undoIgnore)
{
    // As at the application's launch: nothing reads the settings before the
    // migrations of this version have run.
    m_settings = m_store.load();
    // Keys that older versions kept in the settings move to the secret store.
    const auto saveApiKey = [](AIProvider provider, const QString &key) -> Result<> {
        SecretStores stores = SecretStores::forSession();
        KeyCustody custody(*stores.primary, stores.legacy.get());
        if (!QCoro::waitFor(custody.save(provider, key)))
            return Failure { QStringLiteral("the secret store refused the key for %1").arg(rawValue(provider)) };
        return {};
    };
    MigrationService(m_store, saveApiKey).run(m_settings);
    if (normalizeWatchedFolders(m_settings.watchedFolders)) {
        if (const auto saved = m_store.save(m_settings); !saved)
            qCCritical(lcConfig).noquote() << "Failed to save normalized watched folders:" << saved.error();
    }
    seedBundledPresetsOnce(*m_database, m_userDefaults);
}

std::unique_ptr<CliProfile> CliProfile::open()
{
    const QString directory = DataLocations::dataDirectory();
    auto database = Database::open(directory);
    if (!database) {
        CliOutput::error(QStringLiteral("cannot open the database in '%1': %2").arg(directory, database.error()));
        return nullptr;
    }
    return std::unique_ptr<CliProfile>(new CliProfile(std::move(database).value()));
}

Result<> CliProfile::saveSettings(const Settings &settings)
{
    auto saved = m_store.save(settings);
    if (saved)
        m_settings = settings;
    return saved;
}

QList<Preset> CliProfile::presets()
{
    return loadUpgradedPresets(*m_database);
}

std::optional<Preset> CliProfile::findPreset(const QString &nameOrId, QString *error)
{
    const QList<Preset> stored = presets();
    const QUuid id = QUuid::fromString(nameOrId.trimmed());
    QList<Preset> matches;
    for (const Preset &preset : stored) {
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
