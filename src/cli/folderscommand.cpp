#include "cli/folderscommand.h"

#include <QCommandLineParser>
#include <QFileInfo>

#include "app/bookmarkservice.h"
#include "app/folderclassification.h"
#include "cli/clioutput.h"
#include "cli/cliprofile.h"
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
    const auto configs = profile.database().loadFolderConfigs();
    const QList<Preset> presets = profile.presets();
    for (const QString &folder : folders) {
        QString templateName = QStringLiteral("(global settings)");
        const WatchedFolderConfig config = configs ? configs.value().value(folder) : WatchedFolderConfig();
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
    if (classifyFolder(path) == FolderClassification::Forbidden) {
        CliOutput::error(QStringLiteral("%1: %2").arg(forbiddenFolderAlertTitle(), forbiddenFolderAlertMessage()));
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
    Settings settings = profile.settings();
    const bool known = std::any_of(settings.watchedFolders.cbegin(),
                                   settings.watchedFolders.cend(),
                                   [&](const QString &folder) { return canonicalPath(folder) == resolved; });
    if (!known) {
        settings.watchedFolders.append(resolved);
        if (const auto saved = profile.saveSettings(settings); !saved) {
            CliOutput::error(QStringLiteral("the folder could not be saved: %1").arg(saved.error()));
            return ExitStatus::ItemFailed;
        }
    }
    BookmarkService(profile.userDefaults()).saveBookmark(resolved);
    if (preset) {
        WatchedFolderConfig config;
        if (const auto configs = profile.database().loadFolderConfigs(); configs)
            config = configs.value().value(resolved);
        config.path = resolved;
        config.presetId = preset->id;
        if (const auto saved = profile.database().saveFolderConfig(config); !saved) {
            CliOutput::error(QStringLiteral("the folder's template could not be saved: %1").arg(saved.error()));
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
    Settings settings = profile.settings();
    const qsizetype removed = settings.watchedFolders.removeIf(
        [&](const QString &folder) { return folder == path || canonicalPath(folder) == resolved; });
    if (removed == 0) {
        CliOutput::error(QStringLiteral("'%1' is not a watched folder").arg(path));
        return ExitStatus::UsageError;
    }
    if (const auto saved = profile.saveSettings(settings); !saved) {
        CliOutput::error(QStringLiteral("the folder could not be removed: %1").arg(saved.error()));
        return ExitStatus::ItemFailed;
    }
    BookmarkService(profile.userDefaults()).removeBookmark(resolved);
    if (const auto deleted = profile.database().deleteFolderConfig(resolved); !deleted)
        CliOutput::error(QStringLiteral("the folder's configuration stays: %1").arg(deleted.error()));
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

    if (!parser.parse(arguments)) {
        CliOutput::error(parser.errorText());
        return ExitStatus::UsageError;
    }
    if (parser.isSet(helpOption)) {
        CliOutput::line(parser.helpText());
        return ExitStatus::Success;
    }
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
