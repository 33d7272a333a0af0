#pragma once

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QStringList>
#include <optional>

#include "cli/clicommand.h"
#include "settings/aiprovider.h"

namespace Nomly {

// Parses a command's arguments. A parse error is printed and answered with
// the usage status, --help with the help text and success; none means the
// command goes on.
// The providers own keys are for, as users type them: "gemini, openai, ...".
QString aiProviderNames();
// A provider by the name aiProviderNames() lists, in any case.
std::optional<AIProvider> aiProviderNamed(const QString &name);

std::optional<ExitStatus> parseOrAnswer(QCommandLineParser &parser,
                                        const QStringList &arguments,
                                        const QCommandLineOption &helpOption);

} // namespace Nomly
