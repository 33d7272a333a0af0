#include "cli/fieldscommand.h"

#include <QCommandLineParser>
#include <QJsonArray>
#include <QJsonObject>

#include "cli/clioutput.h"
#include "cli/commandparsing.h"
#include "naming/fieldcatalogue.h"

namespace Nomly {

ExitStatus runFieldsCommand(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "List every field a naming pattern can use, in catalogue order: token, label and where its value "
        "comes from (core: the title and the clock; file: the file and its embedded metadata; detected: "
        "the file's content)."));
    const QCommandLineOption helpOption = parser.addHelpOption();
    const QCommandLineOption jsonOption(QStringLiteral("json"),
                                        QStringLiteral("Print the fields as JSON, with group, "
                                                       "description and aliases."));
    parser.addOption(jsonOption);
    if (const auto answered = parseOrAnswer(parser, arguments, helpOption))
        return *answered;
    if (!parser.positionalArguments().isEmpty()) {
        CliOutput::error(QStringLiteral("fields takes no arguments"));
        return ExitStatus::UsageError;
    }

    const FieldCatalogue &catalogue = fieldCatalogue();
    if (parser.isSet(jsonOption)) {
        QJsonArray fields;
        for (const NamingPatternFieldGroup &group : catalogue.groups()) {
            for (const NamingPatternField &field : group.fields) {
                fields.append(QJsonObject {
                    { QStringLiteral("token"), field.token },
                    { QStringLiteral("label"), field.label },
                    { QStringLiteral("source"), rawValue(field.source) },
                    { QStringLiteral("group"), group.name },
                    { QStringLiteral("description"), field.description },
                    { QStringLiteral("isSuggested"), field.isSuggested },
                    { QStringLiteral("aliases"), QJsonArray::fromStringList(field.aliases) },
                });
            }
        }
        CliOutput::json(QJsonDocument(fields));
        return ExitStatus::Success;
    }
    for (const NamingPatternField *field : catalogue.allFields())
        CliOutput::line(field->token + u'\t' + field->label + u'\t' + rawValue(field->source));
    return ExitStatus::Success;
}

} // namespace Nomly
