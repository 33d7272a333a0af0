#include "cli/cliprofile.h"

#include "app/migrationservice.h"
#include "cli/clioutput.h"
#include "platform/datalocations.h"

namespace Nomly {

CliProfile::CliProfile(std::unique_ptr<Database> database)
    : m_database(std::move(database))
    , m_store(*m_database, m_userDefaults)
    , m_activity(*m_database, m_undoIgnore)
{
    // As at the application's launch: nothing reads the settings before the
    // migrations of this version have run.
    m_settings = m_store.load();
    MigrationService(m_store).run(m_settings);
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

} // namespace Nomly
