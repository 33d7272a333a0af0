#include "cli/commandlineapp.h"

#include <QCoreApplication>
#include <QLoggingCategory>
#include <array>

#include "cli/analyzecommand.h"
#include "cli/applycommand.h"
#include "cli/clicommand.h"
#include "cli/clioutput.h"
#include "cli/configcommand.h"
#include "cli/consentcommand.h"
#include "cli/corelog.h"
#include "cli/diagnosecommand.h"
#include "cli/fieldscommand.h"
#include "cli/folderscommand.h"
#include "cli/historycommand.h"
#include "cli/inspectcommand.h"
#include "cli/keyscommand.h"
#include "cli/modelscommand.h"
#include "cli/ollamacommand.h"
#include "cli/previewcommand.h"
#include "cli/quickcommand.h"
#include "cli/renamecommand.h"
#include "cli/statscommand.h"
#include "cli/templatescommand.h"
#include "cli/thumbnailcommand.h"
#include "cli/undocommand.h"
#include "cli/watchcommand.h"

namespace Nomly {

namespace {

constexpr std::array<CliCommand, 21> Commands { {
    { u"rename", u"Rename files under the names the AI suggests, and record it", &runRenameCommand },
    { u"analyze", u"Show what the AI says about files, without renaming", &runAnalyzeCommand },
    { u"quick", u"Quick rename: what the file-manager actions run", &runQuickCommand },
    { u"consent", u"Agree to AI data processing, or withdraw", &runConsentCommand },
    { u"fields", u"List the fields a naming pattern can use", &runFieldsCommand },
    { u"preview", u"Show the names files would get, without touching them", &runPreviewCommand },
    { u"apply", u"Rename files under a title you give, and record it", &runApplyCommand },
    { u"inspect", u"Show what Nomly reads from files: kind, text, content hash", &runInspectCommand },
    { u"thumbnail", u"Write the bounded JPEG the AI would see of a file", &runThumbnailCommand },
    { u"history", u"List the renames made, newest first", &runHistoryCommand },
    { u"undo", u"Take renames back", &runUndoCommand },
    { u"stats", u"What Nomly has done: totals, streaks, days, file types", &runStatsCommand },
    { u"config", u"Show and change the global settings", &runConfigCommand },
    { u"templates", u"List, create, delete and restore templates", &runTemplatesCommand },
    { u"folders", u"The folders Monitor watches and their templates", &runFoldersCommand },
    { u"watch", u"Monitor: rename new files in the watched folders, in the foreground", &runWatchCommand },
    { u"monitor", u"Monitor's state: status, pause, resume", &runMonitorCommand },
    { u"keys", u"Your own API keys for the AI providers", &runKeysCommand },
    { u"models", u"The models your own key can use at a provider, or Ollama's", &runModelsCommand },
    { u"ollama", u"The local Ollama: installed, answering, its models", &runOllamaCommand },
    { u"diagnose", u"What a bug report needs, with no key, name or path of yours", &runDiagnoseCommand },
} };

QString usage()
{
    QString text = QStringLiteral("Usage: nomly COMMAND [options]\n\n"
                                  "Nomly gives files meaningful names.\n\nCommands:\n");
    for (const CliCommand &command : Commands)
        text += QStringLiteral("  %1  %2\n")
                    .arg(QString::fromUtf16(command.name), -10)
                    .arg(QString::fromUtf16(command.summary));
    text += QStringLiteral("\nRun 'nomly COMMAND --help' for the options of a command.");
    return text;
}

} // namespace

int CommandLineApp::run(const QStringList &arguments)
{
    QCoreApplication::setApplicationName(QStringLiteral("nomly"));
    QCoreApplication::setApplicationVersion(QStringLiteral(NOMLY_VERSION));
    // Commands print what happened to each file themselves; the services'
    // info lines are for QT_LOGGING_RULES="com.nomly.app.*=true", which wins
    // over this, and their warnings about an item the command reports are
    // held back.
    // The built-in backend runs inside the command; what it would log is
    // already in the command's own per-file lines.
    CoreLog::install();
    QLoggingCategory::setFilterRules(QStringLiteral("com.nomly.app.*.info=false\n"
                                                    "com.nomly.backend.info=false\n"
                                                    "com.nomly.backend.warning=false"));

    const QString name = arguments.value(1);
    if (name.isEmpty()) {
        CliOutput::error(QStringLiteral("no command given"));
        CliOutput::line(usage());
        return static_cast<int>(ExitStatus::UsageError);
    }
    if (name == u"--help" || name == u"-h" || name == u"help") {
        CliOutput::line(usage());
        return static_cast<int>(ExitStatus::Success);
    }
    if (name == u"--version" || name == u"-v") {
        CliOutput::line(QStringLiteral("nomly ") + QCoreApplication::applicationVersion());
        return static_cast<int>(ExitStatus::Success);
    }
    for (const CliCommand &command : Commands) {
        if (name == QStringView(command.name)) {
            QStringList rest = arguments.mid(1);
            rest[0] = QStringLiteral("nomly ") + name;
            return static_cast<int>(command.run(rest));
        }
    }
    CliOutput::error(QStringLiteral("unknown command '%1'; run 'nomly --help' for the list").arg(name));
    return static_cast<int>(ExitStatus::UsageError);
}

} // namespace Nomly
