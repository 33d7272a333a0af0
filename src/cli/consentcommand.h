#pragma once

#include <QStringList>

#include "cli/clicommand.h"

namespace Nomly {

// What an AI workflow tells the user when consent is missing, with the way to
// give it from the command line.
QString consentMissingText();

ExitStatus runConsentCommand(const QStringList &arguments);

} // namespace Nomly
