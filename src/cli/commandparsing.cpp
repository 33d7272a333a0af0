#include "cli/commandparsing.h"

#include <QCoreApplication>

#include "cli/clioutput.h"
#include "settings/aiprovider.h"

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
        // The parser names the program by its path; the command's own name
        // ("nomly apply") is what the user types.
        QString help = parser.helpText();
        const QString programUsage = QStringLiteral("Usage: ") + QCoreApplication::arguments().value(0);
        if (!arguments.isEmpty() && help.startsWith(programUsage))
            help = QStringLiteral("Usage: ") + arguments.constFirst() + help.mid(programUsage.size());
        CliOutput::line(help);
        return ExitStatus::Success;
    }
    return std::nullopt;
}

QString aiProviderNames()
{
    QStringList names;
    for (const auto &[provider, raw] : AIProviderRawValues)
        names.append(QString::fromUtf16(raw));
    return names.join(QStringLiteral(", "));
}

std::optional<AIProvider> aiProviderNamed(const QString &name)
{
    for (const auto &[provider, raw] : AIProviderRawValues) {
        if (name.trimmed().compare(QStringView(raw), Qt::CaseInsensitive) == 0)
            return provider;
    }
    return std::nullopt;
}

} // namespace Nomly
