#pragma once

#include <QList>

#include "settings/preset.h"

namespace Nomly {

class Database;
class UserDefaults;

// Puts the demo templates into a new profile, once: a template the user
// deletes later stays deleted. A template that fails to save is logged and
// the rest go on; the profile counts as seeded either way, so that a second
// launch never adds duplicates.
void seedBundledPresetsOnce(Database &database, UserDefaults &userDefaults);

// The stored templates, oldest first, with demo templates the user never
// changed brought up to their current version (and saved so). A failed read
// gives none.
QList<Preset> loadUpgradedPresets(Database &database);

} // namespace Nomly
