#pragma once

#include <QStringList>

#include "cli/clicommand.h"

namespace Nomly {

ExitStatus runDiagnoseCommand(const QStringList &arguments);

} // namespace Nomly
