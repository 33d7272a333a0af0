#pragma once

#include <QStringList>

#include "cli/clicommand.h"

namespace Nomly {

// `nomly watch`: Monitor in the foreground, without a desktop.
ExitStatus runWatchCommand(const QStringList &arguments);

// `nomly monitor status|pause|resume`: what the watching process does, and
// its stored pause.
ExitStatus runMonitorCommand(const QStringList &arguments);

} // namespace Nomly
