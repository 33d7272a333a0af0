#pragma once

#include <QElapsedTimer>
#include <QFile>
#include <QString>
#include <QStringList>
#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Nomly::Bench {

struct Run
{
    double seconds = 0;
    long peakKiB = 0;
};

inline double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// Runs a program and answers its time and maximum resident size, read from
// the kernel's accounting of that one child.
inline Run runProgram(const QString &program, const QStringList &arguments)
{
    QElapsedTimer timer;
    timer.start();
    // Whatever waits in the buffer would be written twice, by both processes.
    std::fflush(stdout);
    const pid_t pid = fork();
    if (pid == 0) {
        std::vector<QByteArray> storage { QFile::encodeName(program) };
        for (const QString &argument : arguments)
            storage.push_back(argument.toLocal8Bit());
        std::vector<char *> argv;
        for (QByteArray &part : storage)
            argv.push_back(part.data());
        argv.push_back(nullptr);
        // Office suites chatter on stderr about components they lack.
        if (!freopen("/dev/null", "w", stdout) || !freopen("/dev/null", "w", stderr))
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

// Medians of alternating rounds, ours then the tool's, after one unmeasured
// pass of each that warms the page cache; the tool's peak is the largest of
// its runs.
struct Comparison
{
    double ours = 0;
    double tool = 0;
    long toolPeakKiB = 0;
};

inline Comparison alternated(int rounds, const std::function<double()> &ours, const std::function<Run()> &tool)
{
    ours();
    tool();
    std::vector<double> ourTimes;
    std::vector<double> toolTimes;
    Comparison result;
    for (int round = 0; round < rounds; ++round) {
        ourTimes.push_back(ours());
        const Run run = tool();
        toolTimes.push_back(run.seconds);
        result.toolPeakKiB = std::max(result.toolPeakKiB, run.peakKiB);
    }
    result.ours = median(ourTimes);
    result.tool = median(toolTimes);
    return result;
}

} // namespace Nomly::Bench
