#pragma once

#include <QStringList>

#include "cli/clicommand.h"

namespace Nomly {

ExitStatus runOllamaCommand(const QStringList &arguments);

// The models of the Ollama at the configured endpoint, one a line or as
// JSON; what stands in the way on standard error.
ExitStatus printOllamaModels(bool json);

} // namespace Nomly
