#include "cli/commandparsing.h"

#include "cli/clioutput.h"

namespace Nomly {

std::optional<ExitStatus> parseOrAnswer(QCommandLineParser &parser,
                                        const QStringList &arguments,
                                        const QCommandLineOption &helpOption)
{
    if (!parser.parse(arguments)) {
        CliOutput::error(parser.errorText());
        return ExitStatus::UsageError;
    }
    if (parser.isSet(helpOption)) {
        CliOutput::line(parser.helpText());
        return ExitStatus::Success;
    }
    return std::nullopt;
}

} // namespace Nomly
