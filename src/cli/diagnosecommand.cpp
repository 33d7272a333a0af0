#include "cli/diagnosecommand.h"

#include <QCommandLineParser>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSysInfo>
#include <QUrl>
#include <algorithm>

#include "app/consentstate.h"
#include "app/diagnosticsparameters.h"
#include "app/libraryversions.h"
#include "cli/clioutput.h"
#include "cli/cliprofile.h"
#include "cli/commandparsing.h"
#include "platform/datalocations.h"
#include "platform/diagnostics.h"
#include "platform/sessioncapabilities.h"
#include "settings/serveraddress.h"
#include "settings/settingsjson.h"

namespace Nomly {

namespace {

// How many kinds of failure a report lists, the latest first.
constexpr qsizetype MaxFailureKinds = 20;

// An address without the user name, password, query or fragment it may
// carry; one that is no server address at all may be anything, and is not
// shown.
QString bareAddress(const QString &address)
{
    if (address.trimmed().isEmpty())
        return {};
    if (!isServerAddress(address))
        return QStringLiteral("(not a server address)");
    return QUrl(address.trimmed()).adjusted(QUrl::RemoveUserInfo | QUrl::RemoveQuery | QUrl::RemoveFragment).toString();
}

// The pattern's fields, with any text the user typed between them shown as
// "…": that text is often a name.
QString patternFields(const QString &pattern)
{
    static const QRegularExpression field(QStringLiteral("\\{[^{}]*\\}"));
    QStringList parts;
    qsizetype last = 0;
    for (const QRegularExpressionMatch &match : field.globalMatch(pattern)) {
        if (!pattern.mid(last, match.capturedStart() - last).trimmed().isEmpty())
            parts.append(QStringLiteral("…"));
        parts.append(match.captured());
        last = match.capturedEnd();
    }
    if (!pattern.mid(last).trimmed().isEmpty())
        parts.append(QStringLiteral("…"));
    return parts.join(u' ');
}

// The settings as stored, less what belongs to the user rather than to the
// program: the watched folders become their number, text a user wrote
// (prompts, the prefix, words in the pattern) becomes whether there is any,
// addresses lose their credentials.
QJsonObject reportedSettings(const Settings &settings)
{
    QJsonObject json = toJson(settings);
    json.remove(QStringLiteral("watchedFolders"));
    json.insert(QStringLiteral("watchedFolderCount"), settings.watchedFolders.size());
    json.remove(QStringLiteral("renamePromptOverride"));
    json.remove(QStringLiteral("tagPromptOverride"));
    json.insert(QStringLiteral("hasRenamePrompt"), settings.renamePromptOverride.has_value());
    json.insert(QStringLiteral("hasTagPrompt"), settings.tagPromptOverride.has_value());
    json.insert(QStringLiteral("namingPattern"), patternFields(settings.namingPattern));
    json.remove(QStringLiteral("namingPatternBlocks"));
    json.remove(QStringLiteral("monitorFilePrefix"));
    json.insert(QStringLiteral("hasMonitorFilePrefix"), !settings.monitorFilePrefix.isEmpty());
    json.insert(QStringLiteral("localAIEndpoint"), bareAddress(settings.localAIEndpoint));
    json.insert(QStringLiteral("openaiCompatibleBaseUrl"), bareAddress(settings.openaiCompatibleBaseUrl));
    return json;
}

struct FailureKind
{
    QString kind;
    QString area;
    QString reason;
    int count = 0;
    QDateTime last;
};

// Failures and warnings by area and reason word, the latest first.
QList<FailureKind> recentFailures(const QList<DiagnosticsEntry> &entries)
{
    QList<FailureKind> kinds;
    for (const DiagnosticsEntry &entry : entries) {
        if (entry.kind != DiagnosticsEntry::Kind::Failure && entry.kind != DiagnosticsEntry::Kind::Warning)
            continue;
        const QString kind = diagnosticsKindName(entry.kind);
        const QString area = entry.parameters.value(QStringLiteral("failure_kind"));
        const QString reason = entry.parameters.value(QStringLiteral("failure_reason"));
        auto it = std::find_if(kinds.begin(), kinds.end(), [&](const FailureKind &known) {
            return known.kind == kind && known.area == area && known.reason == reason;
        });
        if (it == kinds.end())
            it = kinds.insert(kinds.end(), { kind, area, reason, 0, {} });
        ++it->count;
        it->last = std::max(it->last, entry.time);
    }
    std::stable_sort(
        kinds.begin(), kinds.end(), [](const FailureKind &a, const FailureKind &b) { return a.last > b.last; });
    return kinds.first(std::min(kinds.size(), MaxFailureKinds));
}

QJsonObject report(CliProfile *profile, const QString &profileError)
{
    QJsonArray libraries;
    for (const LibraryVersion &library : libraryVersions())
        libraries.append(QJsonObject { { QStringLiteral("name"), library.name },
                                       { QStringLiteral("version"), library.version },
                                       { QStringLiteral("licence"), library.licence } });
    const SessionCapabilities session = SessionCapabilities::probe();
    QJsonObject services {
        { QStringLiteral("sessionBus"), session.sessionBus },
        { QStringLiteral("secretService"), session.secretService },
        { QStringLiteral("notifications"), session.notifications },
        { QStringLiteral("desktopPortal"), session.desktopPortal },
        { QStringLiteral("inotify"), session.inotify },
    };
    if (session.inotifyWatchLimit)
        services.insert(QStringLiteral("inotifyWatchLimit"), *session.inotifyWatchLimit);
    QJsonArray failures;
    for (const FailureKind &kind : recentFailures(Diagnostics::readEntries(DataLocations::dataDirectory())))
        failures.append(QJsonObject { { QStringLiteral("kind"), kind.kind },
                                      { QStringLiteral("area"), kind.area },
                                      { QStringLiteral("reason"), kind.reason },
                                      { QStringLiteral("count"), kind.count },
                                      { QStringLiteral("last"), kind.last.toString(Qt::ISODate) } });
    QJsonObject json {
        { QStringLiteral("version"), QStringLiteral(NOMLY_VERSION) },
        { QStringLiteral("system"),
          QJsonObject { { QStringLiteral("os"), QSysInfo::prettyProductName() },
                        { QStringLiteral("kernel"), QSysInfo::kernelVersion() },
                        { QStringLiteral("architecture"), QSysInfo::currentCpuArchitecture() } } },
        { QStringLiteral("libraries"), libraries },
        { QStringLiteral("services"), services },
        { QStringLiteral("failures"), failures },
    };
    if (!profile) {
        json.insert(QStringLiteral("profileError"), profileError);
        return json;
    }
    const Settings &settings = profile->settings();
    const ConsentState &consent = profile->state().consent();
    json.insert(QStringLiteral("route"),
                QJsonObject { { QStringLiteral("aiProcessingMode"), rawValue(settings.aiProcessingMode) },
                              { QStringLiteral("effectiveProvider"), effectiveAIProviderWord(settings) },
                              { QStringLiteral("backend"),
                                qEnvironmentVariableIsEmpty("NOMLY_BACKEND_URL") ? QStringLiteral("built-in")
                                                                                 : QStringLiteral("environment") } });
    json.insert(QStringLiteral("settings"), reportedSettings(settings));
    json.insert(QStringLiteral("onboardingComplete"), consent.isOnboardingComplete());
    json.insert(QStringLiteral("aiDataConsent"), consent.aiDataConsentGranted());
    return json;
}

QString yesNo(bool value)
{
    return value ? QStringLiteral("yes") : QStringLiteral("no");
}

void printText(const QJsonObject &json)
{
    CliOutput::line(QStringLiteral("Nomly %1").arg(json.value(QStringLiteral("version")).toString()));
    const QJsonObject system = json.value(QStringLiteral("system")).toObject();
    CliOutput::line(QStringLiteral("System: %1, kernel %2, %3")
                        .arg(system.value(QStringLiteral("os")).toString(),
                             system.value(QStringLiteral("kernel")).toString(),
                             system.value(QStringLiteral("architecture")).toString()));
    CliOutput::line(QStringLiteral("\nLibraries:"));
    for (const QJsonValue &value : json.value(QStringLiteral("libraries")).toArray()) {
        const QJsonObject library = value.toObject();
        CliOutput::line(QStringLiteral("  %1 %2 (%3)")
                            .arg(library.value(QStringLiteral("name")).toString(),
                                 library.value(QStringLiteral("version")).toString(),
                                 library.value(QStringLiteral("licence")).toString()));
    }
    const QJsonObject services = json.value(QStringLiteral("services")).toObject();
    const auto offered = [&](const char *key) {
        return services.value(QLatin1String(key)).toBool() ? QStringLiteral("available")
                                                           : QStringLiteral("not available");
    };
    CliOutput::line(QStringLiteral("\nDesktop services:"));
    CliOutput::line(QStringLiteral("  session bus: %1").arg(offered("sessionBus")));
    CliOutput::line(QStringLiteral("  Secret Service: %1%2")
                        .arg(offered("secretService"),
                             services.value(QStringLiteral("secretService")).toBool()
                                 ? QString()
                                 : QStringLiteral(" (keys are kept in a file readable by you only)")));
    CliOutput::line(QStringLiteral("  notifications: %1").arg(offered("notifications")));
    CliOutput::line(QStringLiteral("  desktop portal: %1").arg(offered("desktopPortal")));
    CliOutput::line(QStringLiteral("  inotify: %1%2")
                        .arg(offered("inotify"),
                             services.contains(QStringLiteral("inotifyWatchLimit"))
                                 ? QStringLiteral(" (limit %1 watches)")
                                       .arg(services.value(QStringLiteral("inotifyWatchLimit")).toInt())
                                 : QString()));
    if (json.contains(QStringLiteral("profileError"))) {
        CliOutput::line(QStringLiteral("\nProfile: cannot be opened: %1")
                            .arg(json.value(QStringLiteral("profileError")).toString()));
    } else {
        const QJsonObject route = json.value(QStringLiteral("route")).toObject();
        const QJsonObject settings = json.value(QStringLiteral("settings")).toObject();
        CliOutput::line(QStringLiteral("\nAI route: %1, answered by %2, backend %3")
                            .arg(route.value(QStringLiteral("aiProcessingMode")).toString(),
                                 route.value(QStringLiteral("effectiveProvider")).toString(),
                                 route.value(QStringLiteral("backend")).toString()));
        CliOutput::line(QStringLiteral("Set-up: welcome %1, AI data consent %2")
                            .arg(json.value(QStringLiteral("onboardingComplete")).toBool() ? QStringLiteral("done")
                                                                                           : QStringLiteral("not done"),
                                 yesNo(json.value(QStringLiteral("aiDataConsent")).toBool())));
        CliOutput::line(QStringLiteral("Settings:"));
        for (auto it = settings.begin(); it != settings.end(); ++it) {
            const QJsonValue value = it.value();
            // A separator is a space or nothing; quoted, it shows.
            const QString text = value.isString() ? QStringLiteral("\"%1\"").arg(value.toString())
                : value.isBool()                  ? yesNo(value.toBool())
                : value.isDouble()                ? QString::number(value.toDouble())
                                   : QString::fromUtf8(QJsonDocument(value.isObject() ? QJsonDocument(value.toObject())
                                                                                      : QJsonDocument(value.toArray()))
                                                           .toJson(QJsonDocument::Compact));
            CliOutput::line(QStringLiteral("  %1: %2").arg(it.key(), text));
        }
    }
    const QJsonArray failures = json.value(QStringLiteral("failures")).toArray();
    CliOutput::line(
        QStringLiteral("\nRecent failures:%1").arg(failures.isEmpty() ? QStringLiteral(" none") : QString()));
    for (const QJsonValue &value : failures) {
        const QJsonObject failure = value.toObject();
        CliOutput::line(QStringLiteral("  %1 × %2 %3 %4 (last %5)")
                            .arg(failure.value(QStringLiteral("count")).toInt())
                            .arg(failure.value(QStringLiteral("kind")).toString(),
                                 failure.value(QStringLiteral("area")).toString(),
                                 failure.value(QStringLiteral("reason")).toString(),
                                 failure.value(QStringLiteral("last")).toString()));
    }
}

} // namespace

ExitStatus runDiagnoseCommand(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "What a bug report needs: the versions of Nomly and its libraries, the AI route and the settings, the "
        "desktop services this session offers, and the last failures by area and reason. It holds no key, no "
        "watched folder, no prompt you wrote and no name or path of your files, so it can be pasted as it is."));
    const QCommandLineOption helpOption = parser.addHelpOption();
    const QCommandLineOption jsonOption(QStringLiteral("json"), QStringLiteral("Print JSON instead of text."));
    parser.addOption(jsonOption);
    if (const auto answered = parseOrAnswer(parser, arguments, helpOption))
        return *answered;
    if (!parser.positionalArguments().isEmpty()) {
        CliOutput::error(QStringLiteral("usage: nomly diagnose [--json]"));
        return ExitStatus::UsageError;
    }
    // A profile that cannot be opened is told on standard error, and the
    // report goes on without it.
    const std::unique_ptr<CliProfile> profile = CliProfile::open();
    const QJsonObject json = report(profile.get(), QStringLiteral("the database cannot be opened"));
    if (parser.isSet(jsonOption))
        CliOutput::json(QJsonDocument(json));
    else
        printText(json);
    return ExitStatus::Success;
}

} // namespace Nomly
