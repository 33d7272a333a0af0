#pragma once

#include <QStringList>

#include "cli/clicommand.h"

namespace Nomly {

ExitStatus runUndoCommand(const QStringList &arguments);

} // namespace Nomly
