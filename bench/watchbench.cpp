// What `nomly watch` costs. An Ollama-format model on loopback answers every
// chat at once, so what is measured is Monitor's own:
//
//   1. latency: files written one after another, each timed from its last
//      write to its rename, against the settle delay (goal: settle + < 50 ms);
//   2. burst: N files dropped into the folder at once: all renamed, files per
//      second, and the watcher's peak resident size;
//   3. idle: the CPU time the watcher uses over a quiet stretch (goal: ~0),
//      measured on its own process against the wall time of the stretch.
//
//   nomly-watch-bench [--files N] [--latency-files N] [--idle-seconds S] [--nomly PATH] [--keep]

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QHostAddress>
#include <QHttpServer>
#include <QHttpServerRequest>
#include <QHttpServerResponder>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

#include <unistd.h>

namespace {

constexpr double SettleSeconds = 1.5;
// Settled files are gathered this long so that those settling together go to
// the model as one group.
constexpr double FlushSeconds = 0.15;
constexpr double GoalLatencyOverSettleMs = 50.0;

// An Ollama server that answers each chat with the number found in the file's
// text as its title, so that every file gets a name of its own.
class InstantOllama
{
public:
    InstantOllama()
    {
        m_server.setMissingHandler([this](const QHttpServerRequest &request, QHttpServerResponder &&responder) {
            serve(request, std::move(responder));
        });
        m_port = m_server.listen(QHostAddress::LocalHost, 0);
        if (m_port == 0)
            qFatal("the model cannot listen on loopback");
    }

    QString endpoint() const { return QStringLiteral("http://127.0.0.1:%1").arg(m_port); }

    int chats() const { return m_chats; }

private:
    void serve(const QHttpServerRequest &request, QHttpServerResponder &&responder)
    {
        if (request.url().path() != u"/api/chat") {
            responder.write(QJsonDocument(QJsonObject { { QStringLiteral("models"), QJsonArray() } }),
                            QHttpServerResponder::StatusCode::Ok);
            return;
        }
        ++m_chats;
        static const QRegularExpression number(QStringLiteral("entry (\\d+) "));
        const QRegularExpressionMatch match = number.match(QString::fromUtf8(request.body()));
        const QString title = QStringLiteral("Logbook %1").arg(match.hasMatch() ? match.captured(1) : QString());
        const QJsonObject content { { QStringLiteral("title"), title } };
        const QJsonObject reply {
            { QStringLiteral("model"), QStringLiteral("bench") },
            { QStringLiteral("message"),
              QJsonObject { { QStringLiteral("role"), QStringLiteral("assistant") },
                            { QStringLiteral("content"),
                              QString::fromUtf8(QJsonDocument(content).toJson(QJsonDocument::Compact)) } } },
            { QStringLiteral("done"), true },
        };
        responder.write(QJsonDocument(reply), QHttpServerResponder::StatusCode::Ok);
    }

    QHttpServer m_server;
    quint16 m_port = 0;
    int m_chats = 0;
};

// Lets the event loop run (the model answers meanwhile) until `done` or the
// time is up, looking every `everyMs`.
bool serveUntil(const std::function<bool()> &done, int timeoutMs, int everyMs = 2)
{
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.elapsed() > timeoutMs)
            return false;
        QEventLoop loop;
        QTimer::singleShot(everyMs, &loop, &QEventLoop::quit);
        loop.exec();
    }
    return true;
}

void runQuick(const QString &nomly, const QStringList &arguments)
{
    QProcess process;
    process.start(nomly, arguments);
    if (!process.waitForFinished(60000) || process.exitCode() != 0)
        qFatal("nomly %s failed:\n%s", qPrintable(arguments.join(u' ')), process.readAllStandardError().constData());
}

QByteArray entryText(int n)
{
    return QStringLiteral("Logbook entry %1 of the harbour office: the tide was high and the pilot boat went out.\n")
        .arg(n)
        .toUtf8();
}

// Ticks of user and system CPU time of a process.
long cpuTicks(qint64 pid)
{
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly))
        return -1;
    const QByteArray text = stat.readAll();
    const QList<QByteArray> fields = text.mid(text.lastIndexOf(')') + 2).split(' ');
    // utime and stime are the 14th and 15th fields; 12th and 13th after the name.
    return fields.value(11).toLong() + fields.value(12).toLong();
}

long peakKiB(qint64 pid)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').value(0).toLong();
    }
    return -1;
}

int renamedCount(const QString &folder)
{
    return int(QDir(folder).entryList({ QStringLiteral("Logbook *") }, QDir::Files).size());
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    const auto option = [&](const QString &name, const QString &fallback) {
        const qsizetype at = arguments.indexOf(name);
        return at >= 0 && at + 1 < arguments.size() ? arguments.at(at + 1) : fallback;
    };
    const int burstFiles = option(QStringLiteral("--files"), QStringLiteral("1000")).toInt();
    const int latencyFiles = option(QStringLiteral("--latency-files"), QStringLiteral("10")).toInt();
    const int idleSeconds = option(QStringLiteral("--idle-seconds"), QStringLiteral("60")).toInt();
    const QString nomly = option(QStringLiteral("--nomly"), QStringLiteral(NOMLY_PROGRAM));

    QTemporaryDir root;
    root.setAutoRemove(!arguments.contains(QStringLiteral("--keep")));
    const QString home = root.filePath(QStringLiteral("home"));
    const QString inbox = home + QStringLiteral("/Inbox");
    const QString staging = root.filePath(QStringLiteral("staging"));
    for (const QString &folder :
         QStringList { inbox, staging, home + QStringLiteral("/data"), home + QStringLiteral("/config") })
        QDir().mkpath(folder);
    qputenv("HOME", QFile::encodeName(home));
    qputenv("XDG_DATA_HOME", QFile::encodeName(home + QStringLiteral("/data")));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(home + QStringLiteral("/config")));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(home + QStringLiteral("/cache")));
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");

    InstantOllama model;
    runQuick(nomly, { QStringLiteral("consent"), QStringLiteral("--agree") });
    runQuick(nomly, { QStringLiteral("folders"), QStringLiteral("add"), inbox });
    for (const auto &[key, value] : { std::pair { QStringLiteral("aiProcessingMode"), QStringLiteral("local") },
                                      std::pair { QStringLiteral("localAIEndpoint"), model.endpoint() },
                                      std::pair { QStringLiteral("localAIModel"), QStringLiteral("bench") },
                                      std::pair { QStringLiteral("namingPattern"), QStringLiteral("{title}") } })
        runQuick(nomly, { QStringLiteral("config"), QStringLiteral("set"), key, value });

    QProcess watch;
    watch.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    watch.start(nomly, { QStringLiteral("watch") });
    if (!watch.waitForStarted() || !serveUntil([&] { return watch.bytesAvailable() > 0; }, 30000))
        qFatal("nomly watch did not start");
    const qint64 pid = watch.processId();

    // 1. Latency, one file at a time.
    std::vector<double> latencies;
    for (int n = 0; n < latencyFiles; ++n) {
        const QString name = QStringLiteral("note-%1.txt").arg(n);
        QFile::remove(staging + u'/' + name);
        QFile file(staging + u'/' + name);
        if (!file.open(QIODevice::WriteOnly))
            qFatal("cannot write %s", qPrintable(file.fileName()));
        file.write(entryText(n));
        file.close();
        const int before = renamedCount(inbox);
        QElapsedTimer timer;
        timer.start();
        if (!QFile::rename(file.fileName(), inbox + u'/' + name))
            qFatal("cannot move a file into the watched folder");
        if (!serveUntil([&] { return renamedCount(inbox) > before; }, 30000))
            qFatal("file %d was not renamed", n);
        latencies.push_back(timer.nsecsElapsed() / 1e9);
    }
    std::sort(latencies.begin(), latencies.end());
    const double latency = latencies.empty() ? 0 : latencies[latencies.size() / 2];
    const double overSettleMs = (latency - SettleSeconds - FlushSeconds) * 1000.0;
    std::printf("latency  median %.3f s from last write to rename; settle %.1f s and gathering %.0f ms; "
                "%+.0f ms of work over them (goal < %.0f)\n",
                latency,
                SettleSeconds,
                FlushSeconds * 1000.0,
                overSettleMs,
                GoalLatencyOverSettleMs);

    // 2. A burst: written aside, then moved in at once.
    for (int n = 0; n < burstFiles; ++n) {
        QFile file(staging + QStringLiteral("/burst-%1.txt").arg(n, 5, 10, QLatin1Char('0')));
        if (!file.open(QIODevice::WriteOnly))
            qFatal("cannot write %s", qPrintable(file.fileName()));
        file.write(entryText(latencyFiles + n));
    }
    const int expected = latencyFiles + burstFiles;
    QElapsedTimer burst;
    burst.start();
    for (int n = 0; n < burstFiles; ++n) {
        const QString name = QStringLiteral("burst-%1.txt").arg(n, 5, 10, QLatin1Char('0'));
        QFile::rename(staging + u'/' + name, inbox + u'/' + name);
    }
    // Listing a folder of a thousand files costs; a look every 50 ms is
    // precise enough for a run of seconds.
    if (!serveUntil([&] { return renamedCount(inbox) >= expected; }, 3600 * 1000, 50))
        qFatal("the burst was not renamed");
    const double burstSeconds = burst.nsecsElapsed() / 1e9;
    std::printf("burst    %d files renamed in %.1f s: %.1f files/s; peak RSS of the watcher %.0f MB\n",
                burstFiles,
                burstSeconds,
                burstFiles / burstSeconds,
                peakKiB(pid) / 1024.0);

    // 3. Idle: nothing arrives.
    const long ticksBefore = cpuTicks(pid);
    QElapsedTimer idle;
    idle.start();
    serveUntil([&] { return idle.elapsed() >= idleSeconds * 1000; }, idleSeconds * 1000 + 1000, 100);
    const double idleCpu = double(cpuTicks(pid) - ticksBefore) / double(sysconf(_SC_CLK_TCK));
    std::printf("idle     %.2f s of CPU over %d s of quiet: %.3f%% of one core (goal ~0)\n",
                idleCpu,
                idleSeconds,
                100.0 * idleCpu / std::max(idleSeconds, 1));

    watch.terminate();
    watch.waitForFinished(30000);
    if (model.chats() != expected)
        std::printf("note: the model was asked %d times for %d files\n", model.chats(), expected);
    return 0;
}
