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
#include "programrun.h"

using namespace Nomly;
using namespace Nomly::Bench;

namespace {

constexpr int Rounds = 3;

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
               QStringList { QStringLiteral("-nostdin"), QStringLiteral("-y"), QStringLiteral("-i"), spoken }
                   + QStringLiteral("-t 55 -ac 1 -ar 16000 -c:a pcm_s16le").split(u' ') + QStringList { wave });
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
    // The unmeasured first pass also loads the model files into the cache.
    const Comparison times = alternated(Rounds, ours, [&] { return runProgram(tool, arguments); });
    const long ourPeak
        = runProgram(QCoreApplication::applicationFilePath(), { QStringLiteral("--once"), wave }).peakKiB;
    const double ourMedian = times.ours;
    const double toolMedian = times.tool;
    const long toolPeak = times.toolPeakKiB;
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
