#include "cli/templatescommand.h"

#include <QCommandLineParser>
#include <QJsonArray>
#include <QJsonDocument>

#include "cli/clioutput.h"
#include "cli/cliprofile.h"
#include "cli/commandparsing.h"
#include "cli/templateoptions.h"
#include "settings/analysissettingsjson.h"
#include "settings/bundledpresets.h"

namespace Nomly {

namespace {

const QString Usage = QStringLiteral(
    "usage: nomly templates list [--json] | show NAME|ID | create NAME [options] | delete NAME|ID | restore");

QJsonObject presetJson(const Preset &preset)
{
    QJsonObject json {
        { QStringLiteral("id"), preset.id.toString(QUuid::WithoutBraces).toUpper() },
        { QStringLiteral("name"), preset.name },
        { QStringLiteral("description"), preset.description },
        { QStringLiteral("icon"), rawValue(preset.icon) },
        { QStringLiteral("color"), rawValue(preset.color) },
        { QStringLiteral("settings"), toJson(preset.settings) },
        { QStringLiteral("createdAt"), preset.createdAt.toUTC().toString(Qt::ISODate) },
    };
    if (preset.bundledId)
        json.insert(QStringLiteral("bundledId"), *preset.bundledId);
    return json;
}

ExitStatus list(CliProfile &profile, bool asJson)
{
    const QList<Preset> presets = profile.presets();
    if (asJson) {
        QJsonArray array;
        for (const Preset &preset : presets)
            array.append(presetJson(preset));
        CliOutput::json(QJsonDocument(array));
        return ExitStatus::Success;
    }
    if (presets.isEmpty())
        CliOutput::line(QStringLiteral("No templates; 'nomly templates restore' brings back the demo templates"));
    for (const Preset &preset : presets) {
        CliOutput::line(QStringLiteral("%1  %2  %3")
                            .arg(preset.name, -26)
                            .arg(preset.settings.namingPattern.value_or(QStringLiteral("(global pattern)")), -40)
                            .arg(preset.description));
    }
    return ExitStatus::Success;
}

ExitStatus show(CliProfile &profile, const QString &nameOrId)
{
    QString error;
    const auto preset = profile.findPreset(nameOrId, &error);
    if (!preset) {
        CliOutput::error(error);
        return ExitStatus::UsageError;
    }
    CliOutput::json(QJsonDocument(presetJson(*preset)));
    return ExitStatus::Success;
}

ExitStatus create(CliProfile &profile,
                  const QString &name,
                  const QCommandLineParser &parser,
                  const TemplateOptions &templateOptions,
                  const QCommandLineOption &descriptionOption,
                  const QCommandLineOption &iconOption,
                  const QCommandLineOption &colorOption)
{
    QString error;
    const auto settings = templateOptions.read(parser, &error);
    if (!settings) {
        CliOutput::error(error);
        return ExitStatus::UsageError;
    }
    if (name.trimmed().isEmpty()) {
        CliOutput::error(QStringLiteral("a template needs a name"));
        return ExitStatus::UsageError;
    }
    QString ignored;
    if (profile.findPreset(name, &ignored)) {
        CliOutput::error(QStringLiteral("a template named '%1' exists already").arg(name));
        return ExitStatus::UsageError;
    }
    Preset preset;
    preset.id = QUuid::createUuid();
    preset.name = name.trimmed();
    preset.description = parser.value(descriptionOption);
    preset.settings = *settings;
    preset.createdAt = QDateTime::currentDateTimeUtc();
    if (parser.isSet(iconOption)) {
        const auto icon = presetIconFromRaw(parser.value(iconOption));
        if (!icon) {
            CliOutput::error(QStringLiteral("unknown icon '%1'").arg(parser.value(iconOption)));
            return ExitStatus::UsageError;
        }
        preset.icon = *icon;
    }
    if (parser.isSet(colorOption)) {
        const auto color = presetColorFromRaw(parser.value(colorOption));
        if (!color) {
            CliOutput::error(QStringLiteral("unknown color '%1'; use red, orange, yellow, green, teal, blue, purple "
                                            "or gray")
                                 .arg(parser.value(colorOption)));
            return ExitStatus::UsageError;
        }
        preset.color = *color;
    }
    if (!QCoro::waitFor(profile.state().templates().createPreset(preset))) {
        CliOutput::error(QStringLiteral("the template could not be saved"));
        return ExitStatus::ItemFailed;
    }
    CliOutput::line(
        QStringLiteral("Created %1 (%2)").arg(preset.name, preset.id.toString(QUuid::WithoutBraces).toUpper()));
    return ExitStatus::Success;
}

ExitStatus remove(CliProfile &profile, const QString &nameOrId)
{
    QString error;
    const auto preset = profile.findPreset(nameOrId, &error);
    if (!preset) {
        CliOutput::error(error);
        return ExitStatus::UsageError;
    }
    if (!QCoro::waitFor(profile.state().templates().deletePreset(preset->id))) {
        CliOutput::error(QStringLiteral("the template could not be deleted"));
        return ExitStatus::ItemFailed;
    }
    CliOutput::line(
        QStringLiteral("Deleted %1; folders that used it fall back to the global settings").arg(preset->name));
    return ExitStatus::Success;
}

ExitStatus restore(CliProfile &profile)
{
    const QList<Preset> missing = missingBundledPresets(profile.presets());
    if (missing.isEmpty()) {
        CliOutput::line(QStringLiteral("Demo templates are already present"));
        return ExitStatus::Success;
    }
    const int restored = QCoro::waitFor(profile.state().templates().restoreBundledPresets());
    for (const Preset &preset : missing)
        CliOutput::line(QStringLiteral("Restored %1").arg(preset.name));
    if (restored < missing.size()) {
        CliOutput::error(QStringLiteral("%1 of %2 demo templates could not be restored")
                             .arg(missing.size() - restored)
                             .arg(missing.size()));
        return ExitStatus::ItemFailed;
    }
    return ExitStatus::Success;
}

} // namespace

ExitStatus runTemplatesCommand(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Manage the stored templates: named bundles of naming settings that watched folders and "
                       "'--template' use.\n\n"
                       "  nomly templates list [--json]\n"
                       "  nomly templates show NAME|ID\n"
                       "  nomly templates create NAME [template options] [--description TEXT] [--icon NAME] "
                       "[--color NAME]\n"
                       "  nomly templates delete NAME|ID    (folders using it fall back to the global settings)\n"
                       "  nomly templates restore           (brings back the demo templates that were deleted)"));
    const QCommandLineOption helpOption = parser.addHelpOption();
    const QCommandLineOption jsonOption(QStringLiteral("json"), QStringLiteral("With list: print JSON."));
    const TemplateOptions templateOptions(parser);
    const QCommandLineOption descriptionOption(
        QStringLiteral("description"), QStringLiteral("With create: a one-line description."), QStringLiteral("TEXT"));
    const QCommandLineOption iconOption(QStringLiteral("icon"),
                                        QStringLiteral("With create: an icon name such as receipt or photo."),
                                        QStringLiteral("NAME"));
    const QCommandLineOption colorOption(
        QStringLiteral("color"),
        QStringLiteral("With create: red, orange, yellow, green, teal, blue, purple, gray."),
        QStringLiteral("NAME"));
    parser.addOptions({ jsonOption, descriptionOption, iconOption, colorOption });
    parser.addPositionalArgument(QStringLiteral("ACTION"), QStringLiteral("list, show, create, delete or restore."));

    if (const auto answered = parseOrAnswer(parser, arguments, helpOption))
        return *answered;
    const QStringList words = parser.positionalArguments();
    const QString action = words.value(0);
    const bool takesName = action == u"show" || action == u"create" || action == u"delete";
    const bool known = takesName || action == u"list" || action == u"restore";
    if (!known || words.size() != (takesName ? 2 : 1)) {
        CliOutput::error(Usage);
        return ExitStatus::UsageError;
    }

    const auto profile = CliProfile::open();
    if (!profile)
        return ExitStatus::UsageError;
    if (action == u"list")
        return list(*profile, parser.isSet(jsonOption));
    if (action == u"show")
        return show(*profile, words.at(1));
    if (action == u"create")
        return create(*profile, words.at(1), parser, templateOptions, descriptionOption, iconOption, colorOption);
    if (action == u"delete")
        return remove(*profile, words.at(1));
    return restore(*profile);
}

} // namespace Nomly
