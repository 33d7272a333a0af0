#include "cli/watchcommand.h"

#include <QCommandLineParser>
#include <QEventLoop>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "app/airoute.h"
#include "app/monitorsession.h"
#include "app/settingsviewmodel.h"
#include "cli/aicommandrun.h"
#include "cli/clioutput.h"
#include "cli/cliprofile.h"
#include "cli/commandparsing.h"
#include "cli/consentcommand.h"
#include "platform/datalocations.h"
#include "platform/terminationsignals.h"

namespace Nomly {

namespace {

QString holderText(qint64 pid, const QString &program)
{
    return QStringLiteral("%1 (pid %2)").arg(program.isEmpty() ? QStringLiteral("another process") : program).arg(pid);
}

ExitStatus status(CliProfile &profile, bool json)
{
    const std::optional<MonitorStatus> running = MonitorSession::readStatus(DataLocations::dataDirectory());
    const Settings &settings = profile.settings();
    if (json) {
        QJsonObject object {
            { QStringLiteral("running"), running.has_value() },
            { QStringLiteral("paused"), settings.monitoringPaused },
            { QStringLiteral("folders"), QJsonArray::fromStringList(settings.watchedFolders) },
        };
        if (running) {
            object.insert(QStringLiteral("pid"), running->pid);
            object.insert(QStringLiteral("program"), running->program);
            object.insert(QStringLiteral("watching"), running->watching);
            object.insert(QStringLiteral("unavailableFolders"),
                          QJsonArray::fromStringList(running->unavailableFolders));
            object.insert(QStringLiteral("waiting"), QJsonArray::fromStringList(running->waiting));
            object.insert(QStringLiteral("processing"), QJsonArray::fromStringList(running->processing));
            object.insert(QStringLiteral("processedInSession"), running->processedInSession);
        }
        CliOutput::json(QJsonDocument(object));
        return ExitStatus::Success;
    }
    if (!running) {
        CliOutput::line(QStringLiteral("Monitor: not running; start it with 'nomly watch' or the desktop application"));
    } else if (settings.monitoringPaused) {
        CliOutput::line(QStringLiteral("Monitor: paused, in %1").arg(holderText(running->pid, running->program)));
    } else if (!running->watching) {
        CliOutput::line(QStringLiteral("Monitor: waiting, in %1 (no watched folder can be watched now)")
                            .arg(holderText(running->pid, running->program)));
    } else {
        CliOutput::line(QStringLiteral("Monitor: running, in %1").arg(holderText(running->pid, running->program)));
    }
    if (!running && settings.monitoringPaused)
        CliOutput::line(QStringLiteral("Paused: yes ('nomly monitor resume' lifts it)"));
    const QStringList unavailable = running ? running->unavailableFolders : QStringList();
    CliOutput::line(
        QStringLiteral("Folders:%1").arg(settings.watchedFolders.isEmpty() ? QStringLiteral(" none") : QString()));
    for (const QString &folder : settings.watchedFolders)
        CliOutput::line(QStringLiteral("  %1%2").arg(
            folder, unavailable.contains(folder) ? QStringLiteral(" (unavailable)") : QString()));
    if (running) {
        for (const QString &path : running->processing)
            CliOutput::line(QStringLiteral("Renaming: %1").arg(path));
        CliOutput::line(QStringLiteral("Waiting: %1 file(s)").arg(running->waiting.size()));
        for (const QString &path : running->waiting)
            CliOutput::line(QStringLiteral("  %1").arg(path));
    }
    return ExitStatus::Success;
}

ExitStatus storePause(CliProfile &profile, bool paused)
{
    Settings settings = profile.settings();
    if (settings.monitoringPaused != paused) {
        settings.monitoringPaused = paused;
        if (const Result<> saved = profile.saveSettings(settings); !saved) {
            CliOutput::error(QStringLiteral("the pause could not be saved: %1").arg(saved.error()));
            return ExitStatus::ItemFailed;
        }
    }
    const QString directory = DataLocations::dataDirectory();
    MonitorSession::notifyPauseChanged(directory);
    const std::optional<MonitorStatus> running = MonitorSession::readStatus(directory);
    QString line = paused ? QStringLiteral("Monitor paused") : QStringLiteral("Monitor resumed");
    if (running)
        line += QStringLiteral("; %1 follows").arg(holderText(running->pid, running->program));
    else
        line += QStringLiteral("; no process watches now, the next one will start %1")
                    .arg(paused ? QStringLiteral("paused") : QStringLiteral("watching"));
    CliOutput::line(line);
    return ExitStatus::Success;
}

} // namespace

ExitStatus runWatchCommand(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Watch the folders of 'nomly folders' and rename each new supported file by its folder's template, in the "
        "foreground, printing each rename (old -> new), pause and failure as it happens.\n\n"
        "A file is taken once it has been left alone for a moment, so a download or a copy still being written is "
        "renamed once, after its last write. Files that arrived in the ten minutes before the start are looked at "
        "too; anything already renamed or undone is left alone.\n\n"
        "Ctrl-C or SIGTERM ends it after the file in flight has its record. Only one process watches a profile: "
        "when another one does, this one says which and exits with status 2. 'nomly monitor pause' and 'nomly "
        "monitor resume' pause and resume a running watch."));
    const QCommandLineOption helpOption = parser.addHelpOption();
    if (const auto answered = parseOrAnswer(parser, arguments, helpOption))
        return *answered;
    if (!parser.positionalArguments().isEmpty()) {
        CliOutput::error(QStringLiteral("usage: nomly watch"));
        return ExitStatus::UsageError;
    }

    const auto profile = CliProfile::open();
    if (!profile)
        return ExitStatus::UsageError;
    if (!profile->state().consent().aiDataConsentGranted()) {
        CliOutput::error(consentMissingText());
        return ExitStatus::UsageError;
    }
    if (profile->settings().watchedFolders.isEmpty()) {
        CliOutput::error(QStringLiteral("no folder is watched; add one with 'nomly folders add PATH'"));
        return ExitStatus::UsageError;
    }
    if (profile->settings().aiProcessingMode == AIProcessingMode::Off) {
        CliOutput::error(QStringLiteral("AI processing is off, so Monitor renames nothing; turn it on with 'nomly "
                                        "config set aiProcessingMode cloud' "
                                        "or 'local'"));
        return ExitStatus::UsageError;
    }

    AppWorkflows &workflows = profile->workflows();
    MonitoringViewModel &monitoring = workflows.monitoring();
    LazyAIRoute route;
    NetworkService &network = profile->network();
    workflows.setMonitorServices({
        [&](QString *why) {
            return route.service(*profile, profile->settings().aiProcessingMode == AIProcessingMode::Cloud, why);
        },
        [](const QString &title, const QString &body) { CliOutput::line(QStringLiteral("%1: %2").arg(title, body)); },
        [&network] { return !network.isConnected(); },
        [] { return true; },
    });
    QObject::connect(
        &monitoring, &MonitoringViewModel::fileRenamed, &monitoring, [](const QString &from, const QString &to) {
            CliOutput::line(QStringLiteral("%1 -> %2").arg(from, QFileInfo(to).fileName()));
        });
    QObject::connect(
        &monitoring, &MonitoringViewModel::fileFailed, &monitoring, [](const QString &path, const QString &why) {
            CliOutput::error(QStringLiteral("%1: %2").arg(path, why));
        });
    QObject::connect(
        &network, &NetworkService::isConnectedChanged, &monitoring, &MonitoringViewModel::handleNetworkChange);
    network.start();

    MonitorSession session(monitoring, profile->state(), profile->database(), DataLocations::dataDirectory());
    if (!session.begin()) {
        const std::optional<MonitorLock::Holder> holder = session.holder();
        CliOutput::error(
            QStringLiteral("Monitor already runs in %1; only one process watches a profile")
                .arg(holder ? holderText(holder->pid, holder->program) : QStringLiteral("another process")));
        return ExitStatus::UsageError;
    }
    if (monitoring.isPaused())
        CliOutput::line(QStringLiteral("Monitor is paused; 'nomly monitor resume' starts it"));
    else
        CliOutput::line(
            QStringLiteral("Watching %1").arg(profile->settings().watchedFolders.join(QStringLiteral(", "))));

    QEventLoop loop;
    TerminationSignals termination;
    if (termination.install()) {
        QObject::connect(&termination, &TerminationSignals::terminationRequested, &loop, [&] {
            // The file in flight finishes and is recorded; nothing new starts.
            session.end();
            if (!monitoring.isBusy())
                loop.quit();
            else
                QObject::connect(&monitoring, &MonitoringViewModel::stateChanged, &loop, [&] {
                    if (!monitoring.isBusy())
                        loop.quit();
                });
        });
    }
    loop.exec();
    CliOutput::line(QStringLiteral("Stopped watching"));
    return ExitStatus::Success;
}

ExitStatus runMonitorCommand(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Monitor's state, and its pause.\n\n"
                       "  nomly monitor status [--json]   whether Monitor runs, in which process, paused or not, "
                       "and which files wait\n"
                       "  nomly monitor pause             pause it, also in the process that watches now\n"
                       "  nomly monitor resume            resume it\n\n"
                       "The pause is stored with your settings, so it holds across restarts."));
    const QCommandLineOption helpOption = parser.addHelpOption();
    const QCommandLineOption jsonOption(QStringLiteral("json"), QStringLiteral("With status: one JSON object."));
    parser.addOption(jsonOption);
    parser.addPositionalArgument(QStringLiteral("ACTION"), QStringLiteral("status, pause or resume."));
    if (const auto answered = parseOrAnswer(parser, arguments, helpOption))
        return *answered;
    const QStringList words = parser.positionalArguments();
    const QString action = words.value(0);
    if (words.size() != 1 || (action != u"status" && action != u"pause" && action != u"resume")
        || (parser.isSet(jsonOption) && action != u"status")) {
        CliOutput::error(QStringLiteral("usage: nomly monitor status [--json] | pause | resume"));
        return ExitStatus::UsageError;
    }
    const auto profile = CliProfile::open();
    if (!profile)
        return ExitStatus::UsageError;
    if (action == u"status")
        return status(*profile, parser.isSet(jsonOption));
    return storePause(*profile, action == u"pause");
}

} // namespace Nomly
