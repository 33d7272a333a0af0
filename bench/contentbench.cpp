// Reading files as the AI sees them, each measured against a standard tool
// doing the same work in the same run, so that the machine's noise cancels in
// the ratio. Each case runs its rounds alternately, ours then the tool's, on
// a warm page cache, and reports the median of each and their ratio, plus
// peak memory: the growth of this process's high-water mark for ours, the
// tool's own maximum resident size for the tool.
//
//   content hash   FileHashService::hash on a 1 GiB file
//                  vs `openssl dgst -sha256` (goal: at least 0.9x its speed)

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QLoggingCategory>
#include <QProcess>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

#include <sys/resource.h>
#include <sys/wait.h>

#include "history/filehashservice.h"

using namespace Nomly;

namespace {

constexpr int Rounds = 5;

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

long ownPeakKiB()
{
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

// Runs a tool and answers its time and maximum resident size, read from the
// kernel's accounting of that one child.
Run runTool(const QString &program, const QStringList &arguments)
{
    QElapsedTimer timer;
    timer.start();
    const pid_t pid = fork();
    if (pid == 0) {
        std::vector<QByteArray> storage { QFile::encodeName(program) };
        for (const QString &argument : arguments)
            storage.push_back(argument.toLocal8Bit());
        std::vector<char *> argv;
        for (QByteArray &part : storage)
            argv.push_back(part.data());
        argv.push_back(nullptr);
        if (!freopen("/dev/null", "w", stdout))
            _exit(126);
        execvp(argv[0], argv.data());
        _exit(127);
    }
    int status = 0;
    rusage usage {};
    wait4(pid, &status, 0, &usage);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        qFatal("%s failed", qPrintable(program));
    return { timer.nsecsElapsed() / 1e9, usage.ru_maxrss };
}

Run runOurs(const std::function<void()> &work)
{
    const long before = ownPeakKiB();
    QElapsedTimer timer;
    timer.start();
    work();
    return { timer.nsecsElapsed() / 1e9, ownPeakKiB() - before };
}

void report(const char *name, const std::vector<Run> &ours, const std::vector<Run> &tool, double megabytes)
{
    std::vector<double> ourTimes;
    std::vector<double> toolTimes;
    long ourPeak = 0;
    long toolPeak = 0;
    for (const Run &run : ours) {
        ourTimes.push_back(run.seconds);
        ourPeak = std::max(ourPeak, run.peakKiB);
    }
    for (const Run &run : tool) {
        toolTimes.push_back(run.seconds);
        toolPeak = std::max(toolPeak, run.peakKiB);
    }
    const double ourMedian = median(ourTimes);
    const double toolMedian = median(toolTimes);
    std::printf("%-14s ours %8.3f s (%7.0f MB/s, +%ld KiB peak)   tool %8.3f s (%7.0f MB/s, %ld KiB peak)   "
                "speed ratio ours/tool %.2f\n",
                name,
                ourMedian,
                megabytes / ourMedian,
                ourPeak,
                toolMedian,
                megabytes / toolMedian,
                toolPeak,
                toolMedian / ourMedian);
}

void benchContentHash(const QTemporaryDir &dir)
{
    const QString path = dir.filePath(QStringLiteral("large.bin"));
    constexpr qint64 Size = qint64(1) << 30;
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly))
            qFatal("cannot write %s", qPrintable(path));
        QByteArray block(1 << 20, '\0');
        for (qint64 written = 0; written < Size; written += block.size()) {
            for (qsizetype i = 0; i < block.size(); i += 4096)
                block[i] = static_cast<char>(written / block.size() + i);
            file.write(block);
        }
    }
    std::vector<Run> ours;
    std::vector<Run> tool;
    // A first pass of each warms the page cache; it is not counted.
    FileHashService::hash(path);
    runTool(QStringLiteral("openssl"), { QStringLiteral("dgst"), QStringLiteral("-sha256"), path });
    for (int round = 0; round < Rounds; ++round) {
        ours.push_back(runOurs([&path] {
            if (!FileHashService::hash(path))
                qFatal("no hash");
        }));
        tool.push_back(runTool(QStringLiteral("openssl"), { QStringLiteral("dgst"), QStringLiteral("-sha256"), path }));
    }
    report("content hash", ours, tool, Size / 1e6);
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("com.nomly.app.*.info=false"));
    QTemporaryDir dir;
    if (!dir.isValid())
        qFatal("no temporary folder");
    benchContentHash(dir);
    return 0;
}
