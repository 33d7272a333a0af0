#pragma once

#include <QStringList>

#include "cli/clicommand.h"

namespace Nomly {

ExitStatus runAnalyzeCommand(const QStringList &arguments);

} // namespace Nomly
