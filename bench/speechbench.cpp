// Speech heard on this machine, measured against pocketsphinx's own
// command-line decoder with the same English model in the same run, so the
// machine's noise cancels in the ratio. The sound is 55 seconds of espeak-ng
// reading a long text, as a 16 kHz mono WAVE file: the window a transcription
// hears at most. Rounds alternate, ours then the tool's, and the medians are
// reported. Peak memory is the maximum resident size of a process doing the
// work once: this program run again for ours (`--once FILE`), the tool for
// theirs; ours includes the 25 to 30 MB every Qt program starts with.
//
//   transcription  LocalSpeechTranscriber::transcribe of the whole file vs
//                  `pocketsphinx_continuous -infile FILE -logfn /dev/null`
//                  (goal: within 1.2x of its time and memory)

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QLoggingCategory>
#include <QProcess>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "content/localspeechtranscriber.h"

using namespace Nomly;

namespace {

constexpr int Rounds = 3;

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

// Runs a program and answers its time and maximum resident size, from the
// kernel's accounting of that one child.
Run runProgram(const QString &program, const QStringList &arguments)
{
    QElapsedTimer timer;
    timer.start();
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

bool transcribes(const QString &path)
{
    LocalSpeechRequest request;
    request.path = path;
    request.filename = QStringLiteral("lecture.wav");
    request.durationSeconds = 55;
    request.language = QStringLiteral("en_US");
    // The measure is of recognition, not of giving up half-way.
    request.timeLimit = std::chrono::minutes(10);
    return LocalSpeechTranscriber::transcribe(request).text.has_value();
}

// Sentences enough for well over a minute of speech, cut to 55 seconds.
QString speech(const QTemporaryDir &dir)
{
    QString text;
    for (int day = 1; day <= 12; ++day)
        text += QStringLiteral("On day %1 the team met at nine o'clock to review the budget, the schedule and the "
                               "open questions from the customer. ")
                    .arg(day);
    const QString spoken = dir.filePath(QStringLiteral("spoken.wav"));
    const QString wave = dir.filePath(QStringLiteral("speech.wav"));
    runProgram(QStringLiteral("espeak-ng"), { QStringLiteral("-w"), spoken, text });
    runProgram(QStringLiteral("ffmpeg"),
               { QStringLiteral("-nostdin"),
                 QStringLiteral("-y"),
                 QStringLiteral("-i"),
                 spoken,
                 QStringLiteral("-t"),
                 QStringLiteral("55"),
                 QStringLiteral("-ac"),
                 QStringLiteral("1"),
                 QStringLiteral("-ar"),
                 QStringLiteral("16000"),
                 QStringLiteral("-c:a"),
                 QStringLiteral("pcm_s16le"),
                 wave });
    return wave;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("com.nomly.app.*.info=false"));
    if (argc == 3 && std::strcmp(argv[1], "--once") == 0)
        return transcribes(QString::fromLocal8Bit(argv[2])) ? 0 : 1;

    QTemporaryDir dir;
    if (!dir.isValid())
        qFatal("no temporary folder");
    const QString wave = speech(dir);
    const QString tool = QStringLiteral("pocketsphinx_continuous");
    const QStringList arguments {
        QStringLiteral("-infile"), wave, QStringLiteral("-logfn"), QStringLiteral("/dev/null")
    };

    const auto ours = [&wave] {
        QElapsedTimer timer;
        timer.start();
        if (!transcribes(wave))
            qFatal("transcription gave nothing");
        return timer.nsecsElapsed() / 1e9;
    };
    // One unmeasured pass of each warms the page cache and the model files.
    ours();
    runProgram(tool, arguments);
    std::vector<double> ourTimes;
    std::vector<double> toolTimes;
    long toolPeak = 0;
    for (int round = 0; round < Rounds; ++round) {
        ourTimes.push_back(ours());
        const Run run = runProgram(tool, arguments);
        toolTimes.push_back(run.seconds);
        toolPeak = std::max(toolPeak, run.peakKiB);
    }
    const long ourPeak
        = runProgram(QCoreApplication::applicationFilePath(), { QStringLiteral("--once"), wave }).peakKiB;
    const double ourMedian = median(ourTimes);
    const double toolMedian = median(toolTimes);
    std::printf("transcription of 55 s  ours %7.3f s (%7ld KiB)  pocketsphinx_continuous %7.3f s (%7ld KiB)  "
                "time ours/tool %.2f  memory ours/tool %.2f\n",
                ourMedian,
                ourPeak,
                toolMedian,
                toolPeak,
                ourMedian / toolMedian,
                double(ourPeak) / double(std::max(toolPeak, 1L)));
    return 0;
}
