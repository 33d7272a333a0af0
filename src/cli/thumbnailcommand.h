#pragma once

#include <QStringList>

#include "cli/clicommand.h"

namespace Nomly {

ExitStatus runThumbnailCommand(const QStringList &arguments);

} // namespace Nomly
