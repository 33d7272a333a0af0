// The cost of `nomly rename` per file, besides the AI's own time. A provider
// on loopback answers every chat completion at once, so what remains of the
// command's time is ours: reading and preparing each file, the built-in
// backend, the calls, the renames and their records. The same run renames the
// same files with `nomly apply` (the rename path without the AI) under names
// that never collide, so the ratio shows what the AI route adds; rounds
// alternate and the medians are reported. Peak memory is the kernel's
// accounting of the `nomly rename` process.
//
// Goals: under 5 ms per file besides the AI's time; peak RSS under 150 MB.
//
//   nomly-rename-bench [--files N] [--rounds N] [--nomly PATH] [--keep]

#include <QByteArray>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QHostAddress>
#include <QHttpServer>
#include <QHttpServerRequest>
#include <QHttpServerResponder>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSet>
#include <QSocketNotifier>
#include <QStringList>
#include <QTemporaryDir>
#include <QTimer>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr double GoalMsPerFile = 5.0;
constexpr double GoalPeakMB = 150.0;

// An OpenAI-format provider that answers every call at once, each with a
// title of its own so that no two renamed files want the same name.
class InstantProvider
{
public:
    InstantProvider()
    {
        m_server.setMissingHandler([this](const QHttpServerRequest &request, QHttpServerResponder &&responder) {
            serve(request, std::move(responder));
        });
        m_port = m_server.listen(QHostAddress::LocalHost, 0);
        if (m_port == 0)
            qFatal("the provider cannot listen on loopback");
    }

    QString baseUrl() const { return QStringLiteral("http://127.0.0.1:%1").arg(m_port); }

    void reset()
    {
        m_calls = 0;
        m_failures = 0;
        m_handlingNs = 0;
    }

    int calls() const { return m_calls; }

    int failures() const { return m_failures; }

    // Time spent in this program answering, which is the provider's time and
    // not the command's.
    double handlingSeconds() const { return m_handlingNs / 1e9; }

private:
    void serve(const QHttpServerRequest &request, QHttpServerResponder &&responder)
    {
        QElapsedTimer timer;
        timer.start();
        // The check of a key being saved: the list of models takes any key.
        if (request.url().path().endsWith(QLatin1StringView("/models"))) {
            responder.write(QJsonDocument(QJsonObject { { QStringLiteral("data"), QJsonArray {} } }),
                            QHttpServerResponder::StatusCode::Ok);
            return;
        }
        ++m_calls;
        if (!request.url().path().endsWith(QLatin1StringView("/chat/completions"))) {
            ++m_failures;
            responder.write(QHttpServerResponder::StatusCode::NotFound);
            m_handlingNs += timer.nsecsElapsed();
            return;
        }
        const QString content
            = QString::fromLatin1(QJsonDocument(QJsonObject {
                                                    { QStringLiteral("title"), QStringLiteral("Note %1").arg(m_calls) },
                                                })
                                      .toJson(QJsonDocument::Compact));
        const QJsonObject body {
            { QStringLiteral("id"), QStringLiteral("chatcmpl-%1").arg(m_calls) },
            { QStringLiteral("object"), QStringLiteral("chat.completion") },
            { QStringLiteral("choices"),
              QJsonArray { QJsonObject {
                  { QStringLiteral("index"), 0 },
                  { QStringLiteral("message"),
                    QJsonObject { { QStringLiteral("role"), QStringLiteral("assistant") },
                                  { QStringLiteral("content"), content } } },
                  { QStringLiteral("finish_reason"), QStringLiteral("stop") },
              } } },
        };
        responder.write(QJsonDocument(body), QHttpServerResponder::StatusCode::Ok);
        m_handlingNs += timer.nsecsElapsed();
    }

    QHttpServer m_server;
    quint16 m_port = 0;
    int m_calls = 0;
    int m_failures = 0;
    qint64 m_handlingNs = 0;
};

struct Run
{
    double seconds = 0;
    long peakKiB = 0;
};

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// Runs a program with its output in files and waits for it in an event loop,
// so the provider keeps answering meanwhile. The child is this program's own
// (not QProcess's) so that wait4 can give its maximum resident size; a
// process descriptor tells the event loop when it has ended.
Run runServing(const QString &program, const QStringList &arguments, const QString &outPath, const QString &errPath)
{
    std::vector<QByteArray> storage { QFile::encodeName(program) };
    for (const QString &argument : arguments)
        storage.push_back(QFile::encodeName(argument));
    std::vector<char *> argv;
    for (QByteArray &part : storage)
        argv.push_back(part.data());
    argv.push_back(nullptr);
    const QByteArray out = QFile::encodeName(outPath);
    const QByteArray err = QFile::encodeName(errPath);

    QElapsedTimer timer;
    timer.start();
    // Whatever waits in the buffer would be written twice, by both processes.
    std::fflush(stdout);
    std::fflush(stderr);
    const pid_t pid = fork();
    if (pid < 0)
        qFatal("fork: %s", std::strerror(errno));
    if (pid == 0) {
        const int outFd = ::open(out.constData(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        const int errFd = ::open(err.constData(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        const int nullFd = ::open("/dev/null", O_RDONLY);
        if (outFd < 0 || errFd < 0 || nullFd < 0 || dup2(nullFd, 0) < 0 || dup2(outFd, 1) < 0 || dup2(errFd, 2) < 0)
            _exit(126);
        execv(argv[0], argv.data());
        _exit(127);
    }

    const int pidFd = static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
    if (pidFd < 0)
        qFatal("pidfd_open: %s", std::strerror(errno));
    {
        QEventLoop loop;
        QSocketNotifier ended(pidFd, QSocketNotifier::Read);
        QObject::connect(&ended, &QSocketNotifier::activated, &loop, &QEventLoop::quit);
        loop.exec();
    }
    int status = 0;
    rusage usage {};
    if (wait4(pid, &status, 0, &usage) != pid)
        qFatal("wait4: %s", std::strerror(errno));
    const double seconds = timer.nsecsElapsed() / 1e9;
    ::close(pidFd);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        QFile errors(errPath);
        const QByteArray text = errors.open(QIODevice::ReadOnly) ? errors.readAll().right(4000) : QByteArray();
        qFatal("%s %s failed (status %d):\n%s",
               qPrintable(program),
               qPrintable(arguments.value(0)),
               WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status),
               text.constData());
    }
    return { seconds, usage.ru_maxrss };
}

// A short command of the set-up. Saving the key asks the provider whether it
// takes the key, so this program's event loop keeps serving meanwhile.
void runQuick(const QString &program, const QStringList &arguments, const QByteArray &input = {})
{
    QProcess process;
    QEventLoop loop;
    QObject::connect(&process, &QProcess::finished, &loop, &QEventLoop::quit);
    process.start(program, arguments);
    if (!process.waitForStarted())
        qFatal("cannot start %s", qPrintable(program));
    process.write(input);
    process.closeWriteChannel();
    QTimer::singleShot(60000, &loop, &QEventLoop::quit);
    if (process.state() != QProcess::NotRunning)
        loop.exec();
    if (process.state() != QProcess::NotRunning || process.exitStatus() != QProcess::NormalExit
        || process.exitCode() != 0)
        qFatal("nomly %s failed:\n%s", qPrintable(arguments.join(u' ')), process.readAllStandardError().constData());
}

// A home of its own for one measured command, set up as a user with an
// OpenAI key who agreed to AI processing. A fresh home each time keeps the
// history of earlier runs from weighing on later ones.
void prepareHome(const QString &nomly, const QString &home)
{
    for (const char *folder : { "", "/data", "/config", "/cache" }) {
        if (!QDir().mkpath(home + QLatin1StringView(folder)))
            qFatal("cannot make %s", qPrintable(home));
    }
    qputenv("HOME", QFile::encodeName(home));
    qputenv("XDG_DATA_HOME", QFile::encodeName(home + QStringLiteral("/data")));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(home + QStringLiteral("/config")));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(home + QStringLiteral("/cache")));
    runQuick(
        nomly,
        { QStringLiteral("config"), QStringLiteral("set"), QStringLiteral("aiProvider"), QStringLiteral("openai") });
    runQuick(
        nomly,
        { QStringLiteral("config"), QStringLiteral("set"), QStringLiteral("byokEnabled"), QStringLiteral("true") });
    runQuick(
        nomly, { QStringLiteral("keys"), QStringLiteral("set"), QStringLiteral("openai") }, QByteArrayLiteral("key"));
    runQuick(nomly, { QStringLiteral("consent"), QStringLiteral("--agree") });
}

const char *const Subjects[] = { "budget", "roadmap", "hiring plan", "supplier contract", "offsite", "release" };
const char *const Verbs[] = { "reviewed", "questioned", "approved", "postponed", "rewrote", "summarised" };
const char *const Days[] = { "Monday", "Tuesday", "Wednesday", "Thursday", "Friday" };

QStringList makeFiles(const QString &folder, int count)
{
    if (!QDir().mkpath(folder))
        qFatal("cannot make %s", qPrintable(folder));
    QStringList paths;
    for (int n = 0; n < count; ++n) {
        const QString path = QStringLiteral("%1/file-%2.txt").arg(folder).arg(n, 4, 10, QLatin1Char('0'));
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly))
            qFatal("cannot write %s", qPrintable(path));
        const QByteArray text = QStringLiteral("Meeting note %1, %2.\n"
                                               "The team %3 the %4 and agreed to meet again in %5 days.\n"
                                               "Action %6: %7 sends the figures to %8 before noon.\n")
                                    .arg(n)
                                    .arg(QLatin1StringView(Days[n % 5]))
                                    .arg(QLatin1StringView(Verbs[n % 6]))
                                    .arg(QLatin1StringView(Subjects[(n / 6) % 6]))
                                    .arg(n % 13 + 2)
                                    .arg(n * 7 + 1)
                                    .arg(n % 2 ? QStringLiteral("Ana") : QStringLiteral("Tomas"))
                                    .arg(n % 3 ? QStringLiteral("finance") : QStringLiteral("the board"))
                                    .toUtf8();
        file.write(text);
        paths.append(path);
    }
    return paths;
}

// Every file left the name it had, and each has a name of its own.
void verifyRenamed(const QString &folder, const QStringList &originals, const QString &prefix, const char *what)
{
    QSet<QString> before;
    for (const QString &path : originals)
        before.insert(QFileInfo(path).fileName());
    const QStringList now = QDir(folder).entryList(QDir::Files | QDir::NoDotAndDotDot | QDir::Hidden);
    int renamed = 0;
    int kept = 0;
    for (const QString &name : now) {
        if (before.contains(name))
            ++kept;
        else if (name.startsWith(prefix, Qt::CaseInsensitive))
            ++renamed;
    }
    if (now.size() != originals.size() || renamed != originals.size() || kept != 0)
        qFatal("%s renamed %d of %lld files (%d kept their names, %lld files in the folder)",
               what,
               renamed,
               static_cast<long long>(originals.size()),
               kept,
               static_cast<long long>(now.size()));
}

int linesIn(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return -1;
    return static_cast<int>(file.readAll().count('\n'));
}

struct Measured
{
    Run run;
    double providerSeconds = 0;
};

Measured renameOnce(const QString &nomly, const QString &root, const QString &tag, int count, InstantProvider &provider)
{
    const QString home = root + QStringLiteral("/home-") + tag;
    prepareHome(nomly, home);
    const QString folder = root + QStringLiteral("/files-") + tag;
    const QStringList files = makeFiles(folder, count);
    provider.reset();
    const QString out = root + QStringLiteral("/") + tag + QStringLiteral(".out");
    Measured measured;
    measured.run = runServing(nomly,
                              QStringList { QStringLiteral("rename") } + files,
                              out,
                              root + QStringLiteral("/") + tag + QStringLiteral(".err"));
    measured.providerSeconds = provider.handlingSeconds();
    if (provider.failures() != 0)
        qFatal("the provider was asked %d times at a wrong address", provider.failures());
    if (provider.calls() < count)
        qFatal("the provider was asked %d times for %d files", provider.calls(), count);
    verifyRenamed(folder, files, QStringLiteral("note"), "nomly rename");
    // One line per file and the summary.
    if (linesIn(out) != count + 1)
        qFatal("nomly rename reported %d lines for %d files", linesIn(out), count);
    return measured;
}

Measured applyOnce(const QString &nomly, const QString &root, const QString &tag, int count, bool distinctNames)
{
    const QString home = root + QStringLiteral("/home-") + tag;
    prepareHome(nomly, home);
    const QString folder = root + QStringLiteral("/files-") + tag;
    const QStringList files = makeFiles(folder, count);
    QStringList arguments { QStringLiteral("apply"), QStringLiteral("--title"), QStringLiteral("T") };
    // With one title for all, each file searches past the numbered names of
    // those before it; the original name keeps every name free at once, as
    // the AI's titles are.
    if (distinctNames)
        arguments << QStringLiteral("--pattern") << QStringLiteral("{title} {original}");
    const QString out = root + QStringLiteral("/") + tag + QStringLiteral(".out");
    Measured measured;
    measured.run = runServing(nomly, arguments + files, out, root + QStringLiteral("/") + tag + QStringLiteral(".err"));
    verifyRenamed(folder, files, QStringLiteral("t"), "nomly apply");
    if (linesIn(out) != count)
        qFatal("nomly apply reported %d renames for %d files", linesIn(out), count);
    return measured;
}

// When the first `old -> new` line and the last line come, from the start
// of the command: a batch shows its first names after its first chunk, not
// after the whole batch.
struct Latency
{
    double firstLine = 0;
    double end = 0;
};

Latency firstLineLatency(const QString &nomly, const QString &root, int count, InstantProvider &provider)
{
    const QString home = root + QStringLiteral("/home-latency");
    prepareHome(nomly, home);
    const QStringList files = makeFiles(root + QStringLiteral("/files-latency"), count);
    provider.reset();
    QProcess rename;
    Latency latency;
    QElapsedTimer timer;
    QByteArray out;
    QEventLoop loop;
    QObject::connect(&rename, &QProcess::readyReadStandardOutput, &loop, [&] {
        out += rename.readAllStandardOutput();
        if (latency.firstLine == 0 && out.contains(" -> "))
            latency.firstLine = timer.nsecsElapsed() / 1e9;
    });
    QObject::connect(&rename, &QProcess::finished, &loop, &QEventLoop::quit);
    timer.start();
    rename.start(nomly, QStringList { QStringLiteral("rename") } + files);
    if (!rename.waitForStarted())
        qFatal("cannot start %s", qPrintable(nomly));
    loop.exec();
    latency.end = timer.nsecsElapsed() / 1e9;
    if (rename.exitStatus() != QProcess::NormalExit || rename.exitCode() != 0 || latency.firstLine == 0)
        qFatal("nomly rename failed:\n%s", rename.readAllStandardError().constData());
    return latency;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QString nomly = QStringLiteral(NOMLY_PROGRAM);
    int count = 1000;
    int rounds = 3;
    bool keep = false;
    const QStringList arguments = app.arguments();
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        const QString &argument = arguments.at(i);
        if (argument == u"--keep") {
            keep = true;
        } else if (i + 1 < arguments.size() && argument == u"--nomly") {
            nomly = arguments.at(++i);
        } else if (i + 1 < arguments.size() && argument == u"--files") {
            count = std::max(1, arguments.at(++i).toInt());
        } else if (i + 1 < arguments.size() && argument == u"--rounds") {
            rounds = std::max(1, arguments.at(++i).toInt());
        } else {
            std::fprintf(stderr, "usage: nomly-rename-bench [--files N] [--rounds N] [--nomly PATH] [--keep]\n");
            return 2;
        }
    }

    QTemporaryDir dir;
    if (!dir.isValid())
        qFatal("no temporary folder");
    dir.setAutoRemove(!keep);
    const QString root = dir.path();
    InstantProvider provider;
    // No keyring answers, so keys go to the file store; no named backend, so
    // the command runs its own, which calls this program's provider.
    qputenv("DBUS_SESSION_BUS_ADDRESS", QFile::encodeName(QStringLiteral("unix:path=%1/no-bus").arg(root)));
    qunsetenv("NOMLY_BACKEND_URL");
    qunsetenv("NOMLY_BACKEND_TOKEN");
    qunsetenv("NOMLY_BACKEND_PROVIDER");
    qunsetenv("NOMLY_OPENAI_API_KEY");
    qputenv("NOMLY_OPENAI_BASE_URL", provider.baseUrl().toUtf8());
    std::printf("nomly-rename-bench: %s, %d files, %d rounds%s\n",
                qPrintable(nomly),
                count,
                rounds,
                keep ? qPrintable(QStringLiteral(", kept in ") + root) : "");

    // One unmeasured pass of each warms the page cache and the loader.
    renameOnce(nomly, root, QStringLiteral("warm-rename"), count, provider);
    applyOnce(nomly, root, QStringLiteral("warm-apply"), count, true);

    std::vector<double> renameTimes;
    std::vector<double> applyTimes;
    std::vector<double> overheads;
    std::vector<double> providerTimes;
    long renamePeak = 0;
    long applyPeak = 0;
    for (int round = 0; round < rounds; ++round) {
        const Measured renamed = renameOnce(nomly, root, QStringLiteral("rename-%1").arg(round), count, provider);
        const Measured applied = applyOnce(nomly, root, QStringLiteral("apply-%1").arg(round), count, true);
        renameTimes.push_back(renamed.run.seconds);
        providerTimes.push_back(renamed.providerSeconds);
        overheads.push_back((renamed.run.seconds - renamed.providerSeconds) * 1000.0 / count);
        applyTimes.push_back(applied.run.seconds);
        renamePeak = std::max(renamePeak, renamed.run.peakKiB);
        applyPeak = std::max(applyPeak, applied.run.peakKiB);
        std::printf("  round %d: rename %.3f s (provider %.3f s, %.2f ms/file), apply %.3f s, rename peak %ld KiB\n",
                    round + 1,
                    renamed.run.seconds,
                    renamed.providerSeconds,
                    overheads.back(),
                    applied.run.seconds,
                    renamed.run.peakKiB);
    }
    // The same files under one title: the numbered names are searched anew
    // for each file, which the reference above leaves out.
    const Measured collided = applyOnce(nomly, root, QStringLiteral("apply-one-title"), count, false);

    const double renameMedian = median(renameTimes);
    const double applyMedian = median(applyTimes);
    const double overhead = median(overheads);
    const double peakMB = renamePeak / 1024.0;
    std::printf("rename  %7.3f s  (provider's own handling %.3f s)\n", renameMedian, median(providerTimes));
    std::printf("apply   %7.3f s  (%.2f ms/file; one title for all: %.3f s)\n",
                applyMedian,
                applyMedian * 1000.0 / count,
                collided.run.seconds);
    std::printf("ratio rename/apply %.2f\n", renameMedian / applyMedian);
    std::printf("rename per file    %6.2f ms besides the AI's time (goal under %.0f ms)  %s\n",
                overhead,
                GoalMsPerFile,
                overhead < GoalMsPerFile ? "met" : "MISSED");
    std::printf("rename peak RSS    %6.1f MB (goal under %.0f MB; apply %.1f MB)  %s\n",
                peakMB,
                GoalPeakMB,
                applyPeak / 1024.0,
                peakMB < GoalPeakMB ? "met" : "MISSED");

    const int batchFiles = std::min(count, 200);
    const Latency latency = firstLineLatency(nomly, root, batchFiles, provider);
    const double share = latency.firstLine / latency.end;
    std::printf("first item line    %6.3f s of %.3f s for %d files: %.0f%% (goal under 50%%)  %s\n",
                latency.firstLine,
                latency.end,
                batchFiles,
                share * 100.0,
                share < 0.5 ? "met" : "MISSED");
    return 0;
}
