#pragma once

#include <memory>

#include "history/activityviewmodel.h"
#include "history/database.h"
#include "history/undoignoreservice.h"

namespace Nomly {

// The user's profile as one command sees it: the database in the data folder
// and the services over it that the application uses too.
class CliProfile final
{
public:
    // Prints why the profile cannot be opened and returns null.
    static std::unique_ptr<CliProfile> open();

    Database &database() { return *m_database; }

    UndoIgnoreService &undoIgnore() { return m_undoIgnore; }

    ActivityViewModel &activity() { return m_activity; }

private:
    explicit CliProfile(std::unique_ptr<Database> database);

    std::unique_ptr<Database> m_database;
    UndoIgnoreService m_undoIgnore;
    ActivityViewModel m_activity;
};

} // namespace Nomly
