#pragma once

#include <QStringList>

#include "cli/clicommand.h"

namespace Nomly {

ExitStatus runTemplatesCommand(const QStringList &arguments);

} // namespace Nomly
