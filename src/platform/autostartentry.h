#pragma once

#include <QString>

#include "platform/result.h"

namespace Nomly {

// Start at login, as the desktops of freedesktop.org do it: an entry in the
// user's autostart folder ($XDG_CONFIG_HOME/autostart/nomly.desktop) that
// starts the program in the tray. The entry is the truth: a user who removes
// it in the desktop's own settings has turned it off here too.
class AutostartEntry final
{
public:
    AutostartEntry() = delete;

    static QString filePath();

    // An entry that exists and is not hidden (a desktop's settings may hide
    // one rather than delete it).
    static bool isEnabled();

    // Writes the entry to start `program` in the background, or removes it.
    // Only an entry Nomly wrote is removed; one the user made by hand stays,
    // and the failure says so.
    static Result<> setEnabled(bool enabled, const QString &program);

    // The entry's Exec value that starts `program` in the background, or
    // empty for a path an entry cannot hold ("=", a line break).
    static QString execValue(const QString &program);
};

} // namespace Nomly
