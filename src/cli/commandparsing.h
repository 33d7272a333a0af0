#pragma once

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QStringList>
#include <optional>

#include "cli/clicommand.h"

namespace Nomly {

// Parses a command's arguments. A parse error is printed and answered with
// the usage status, --help with the help text and success; none means the
// command goes on.
// The providers own keys are for, as users type them: "gemini, openai, ...".
QString aiProviderNames();

std::optional<ExitStatus> parseOrAnswer(QCommandLineParser &parser,
                                        const QStringList &arguments,
                                        const QCommandLineOption &helpOption);

} // namespace Nomly
