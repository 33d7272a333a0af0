#include "cli/quickcommand.h"

#include <QCommandLineParser>
#include <QDBusConnection>
#include <QFileInfo>

#include "app/airoute.h"
#include "cli/aicommandrun.h"
#include "cli/clioutput.h"
#include "cli/cliprofile.h"
#include "cli/commandparsing.h"
#include "cli/consentcommand.h"
#include "cli/corelog.h"
#include "platform/desktopnotifier.h"
#include "platform/singleinstance.h"

namespace Nomly {

ExitStatus runQuickCommand(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Quick rename: the entry of the file-manager actions. Renames the given files with the AI, "
                       "under the global settings, with no window, and tells the result by a desktop notification "
                       "(printed when no notification service runs). When nomly-gui runs, the files are handed to "
                       "it and this command ends at once.\n"
                       "Needs your agreement to AI data processing first ('nomly consent --agree'). Records carry "
                       "the source finderService; 'nomly undo' takes them back."));
    const QCommandLineOption helpOption = parser.addHelpOption();
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("Files to rename."), QStringLiteral("FILE..."));
    if (const auto answered = parseOrAnswer(parser, arguments, helpOption))
        return *answered;
    // Absolute, for the desktop process does not share this working folder.
    QStringList files;
    for (const QString &file : parser.positionalArguments())
        files.append(QFileInfo(file).absoluteFilePath());

    // The desktop application, when it runs, does the work, so that a second
    // run of the flow never races it over the same files.
    SingleInstance instance(QDBusConnection::sessionBus());
    if (!files.isEmpty() && instance.forwardQuickRename(files))
        return ExitStatus::Success;

    const auto profile = CliProfile::open();
    if (!profile)
        return ExitStatus::UsageError;
    AppWorkflows &workflows = profile->workflows();
    LazyAIRoute route;
    bool consentMissing = false;
    workflows.setQuickRenameServices({
        [&route, &profile](QString *error) {
            return route.service(*profile, profile->settings().aiProcessingMode != AIProcessingMode::Local, error);
        },
        [] { return nullptr; },
        [](const QString &title, const QString &body) { DesktopNotifier::post(title, body); },
        [&consentMissing](ConsentReviewSource) {
            consentMissing = true;
            CliOutput::error(consentMissingText());
        },
    });
    // Each failure is told by the notification (or its line here).
    CoreLog::Held held;
    const QuickRenameOutcome outcome = QCoro::waitFor(workflows.hotkey().processFinderServiceFiles(files));
    if (consentMissing || outcome.failed > 0)
        held.failureReported();
    if (consentMissing)
        return ExitStatus::UsageError;
    return outcome.failed == 0 && outcome.renamed > 0 ? ExitStatus::Success : ExitStatus::ItemFailed;
}

} // namespace Nomly
