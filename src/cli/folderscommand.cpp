#include "cli/folderscommand.h"

#include <QCommandLineParser>
#include <QFileInfo>

#include "app/folderclassification.h"
#include "cli/clioutput.h"
#include "cli/cliprofile.h"
#include "cli/commandparsing.h"
#include "platform/canonicalpath.h"

namespace Nomly {

namespace {

const QString Usage = QStringLiteral("usage: nomly folders list | add PATH [--template NAME|ID] | remove PATH");

ExitStatus list(CliProfile &profile)
{
    const QStringList folders = profile.settings().watchedFolders;
    if (folders.isEmpty()) {
        CliOutput::line(QStringLiteral("No watched folders; 'nomly folders add PATH' adds one"));
        return ExitStatus::Success;
    }
    const auto &configs = profile.state().folders().folderConfigs();
    const QList<Preset> &presets = profile.presets();
    for (const QString &folder : folders) {
        QString templateName = QStringLiteral("(global settings)");
        const WatchedFolderConfig config = configs.value(folder);
        for (const Preset &preset : presets) {
            if (config.presetId == preset.id)
                templateName = preset.name;
        }
        const bool present = QFileInfo(folder).isDir();
        CliOutput::line(
            QStringLiteral("%1  %2%3").arg(folder, templateName, present ? QString() : QStringLiteral("  (missing)")));
    }
    return ExitStatus::Success;
}

ExitStatus add(CliProfile &profile, const QString &path, const QString &templateName)
{
    const QFileInfo info(path);
    if (!info.isDir()) {
        CliOutput::error(QStringLiteral("'%1' is not a folder").arg(path));
        return ExitStatus::UsageError;
    }
    std::optional<Preset> preset;
    if (!templateName.isEmpty()) {
        QString error;
        preset = profile.findPreset(templateName, &error);
        if (!preset) {
            CliOutput::error(error);
            return ExitStatus::UsageError;
        }
    }

    const QString resolved = canonicalPath(path);
    const bool known = std::any_of(profile.settings().watchedFolders.cbegin(),
                                   profile.settings().watchedFolders.cend(),
                                   [&](const QString &folder) { return canonicalPath(folder) == resolved; });
    switch (QCoro::waitFor(profile.state().folders().addFolder(path))) {
    case WatchedFolders::FolderAddition::Added:
        break;
    case WatchedFolders::FolderAddition::Forbidden:
        CliOutput::error(QStringLiteral("%1: %2").arg(forbiddenFolderAlertTitle(), forbiddenFolderAlertMessage()));
        return ExitStatus::UsageError;
    case WatchedFolders::FolderAddition::NotSaved:
        CliOutput::error(QStringLiteral("the folder could not be saved"));
        return ExitStatus::ItemFailed;
    }
    if (preset) {
        WatchedFolderConfig config = profile.state().folders().folderConfigs().value(resolved);
        config.path = resolved;
        config.presetId = preset->id;
        if (!QCoro::waitFor(profile.state().folders().saveFolderConfig(config))) {
            CliOutput::error(QStringLiteral("the folder's template could not be saved"));
            return ExitStatus::ItemFailed;
        }
    }
    CliOutput::line(
        QStringLiteral("%1 %2%3").arg(known ? QStringLiteral("Watching") : QStringLiteral("Added"),
                                      resolved,
                                      preset ? QStringLiteral(" with template %1").arg(preset->name) : QString()));
    return ExitStatus::Success;
}

ExitStatus remove(CliProfile &profile, const QString &path)
{
    const QString resolved = canonicalPath(path);
    const bool watched
        = std::any_of(profile.settings().watchedFolders.cbegin(),
                      profile.settings().watchedFolders.cend(),
                      [&](const QString &folder) { return folder == path || canonicalPath(folder) == resolved; });
    if (!watched) {
        CliOutput::error(QStringLiteral("'%1' is not a watched folder").arg(path));
        return ExitStatus::UsageError;
    }
    // Its bookmark and its configuration go with it.
    if (!QCoro::waitFor(profile.state().folders().removeWatchedFolder(path))) {
        CliOutput::error(QStringLiteral("the folder could not be removed"));
        return ExitStatus::ItemFailed;
    }
    CliOutput::line(QStringLiteral("Removed %1").arg(resolved));
    return ExitStatus::Success;
}

} // namespace

ExitStatus runFoldersCommand(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("The folders Monitor watches, each with the template its new files are renamed by.\n\n"
                       "  nomly folders list\n"
                       "  nomly folders add PATH [--template NAME|ID]\n"
                       "  nomly folders remove PATH\n\n"
                       "Only ordinary folders inside your home folder can be watched: not the home folder itself, "
                       "not its hidden folders, not system folders."));
    const QCommandLineOption helpOption = parser.addHelpOption();
    const QCommandLineOption templateOption(QStringLiteral("template"),
                                            QStringLiteral("With add: the template for the folder's files."),
                                            QStringLiteral("NAME|ID"));
    parser.addOption(templateOption);
    parser.addPositionalArgument(QStringLiteral("ACTION"), QStringLiteral("list, add or remove."));

    if (const auto answered = parseOrAnswer(parser, arguments, helpOption))
        return *answered;
    const QStringList words = parser.positionalArguments();
    const QString action = words.value(0);
    const bool takesPath = action == u"add" || action == u"remove";
    if ((!takesPath && action != u"list") || words.size() != (takesPath ? 2 : 1)
        || (parser.isSet(templateOption) && action != u"add")) {
        CliOutput::error(Usage);
        return ExitStatus::UsageError;
    }

    const auto profile = CliProfile::open();
    if (!profile)
        return ExitStatus::UsageError;
    if (action == u"list")
        return list(*profile);
    if (action == u"add")
        return add(*profile, words.at(1), parser.value(templateOption));
    return remove(*profile, words.at(1));
}

} // namespace Nomly
