#include "cli/cliprofile.h"

#include "cli/clioutput.h"
#include "platform/datalocations.h"

namespace Nomly {

CliProfile::CliProfile(std::unique_ptr<Database> database)
    : m_database(std::move(database))
    , m_activity(*m_database, m_undoIgnore)
{}

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

} // namespace Nomly
