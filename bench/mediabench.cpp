// Stills of a long video as the AI sees them, measured against ffmpeg doing
// the same work in the same run, so that the machine's noise cancels in the
// ratio.
//
//   video frames   VideoFrameSampler::sample, five frames at 1024 px of a
//                  10-minute 1080p H.264 video with a key frame every three
//                  seconds, vs `ffmpeg -ss T -i FILE -frames:v 1 -vf scale`
//                  run once for each of the same five positions
//                  (goal: faster than the five runs, and less memory)
//
// Rounds alternate, ours then ffmpeg's, on a warm page cache; each side's
// median is reported. Peak memory is the maximum resident size of a process
// doing the work once: this program run again (`--once FILE`) for ours, the
// largest of the five ffmpeg runs for theirs.
//
//   nomly-media-bench [VIDEO]   a video of one's own instead of the made one

#include <QCoreApplication>
#include <QLoggingCategory>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <cstdio>
#include <cstring>

#include "content/videoframesampler.h"
#include "programrun.h"

using namespace Nomly;
using namespace Nomly::Bench;

namespace {

constexpr int Rounds = 3;
constexpr int Frames = 5;
constexpr int Edge = 1024;
constexpr double Quality = 0.6;

bool sampled(const QString &path)
{
    return VideoFrameSampler::sample(path, Frames, Edge, Quality).frames.size() == Frames;
}

QString madeVideo(const QTemporaryDir &dir)
{
    const QString path = dir.filePath(QStringLiteral("long.mp4"));
    std::printf("making a 10-minute 1080p video with ffmpeg...\n");
    runProgram(QStringLiteral("ffmpeg"),
               QStringLiteral("-v error -f lavfi -i testsrc2=size=1920x1080:rate=30 -t 600 -c:v libx264 "
                              "-preset ultrafast -g 90 -pix_fmt yuv420p")
                       .split(u' ')
                   + QStringList { path });
    return path;
}

// The five ffmpeg runs for the positions ours takes, one after another.
Run ffmpegFrames(const QString &path, const QList<double> &positions, const QTemporaryDir &dir)
{
    Run total;
    for (int i = 0; i < positions.size(); ++i) {
        const QStringList arguments { QStringLiteral("-ss"), QString::number(positions[i], 'f', 3),
                                      QStringLiteral("-i"),  path,
                                      QStringLiteral("-vf"), QStringLiteral("scale=%1:-2").arg(Edge) };
        const Run run = runProgram(QStringLiteral("ffmpeg"),
                                   arguments + QStringLiteral("-v error -y -frames:v 1 -q:v 4").split(u' ')
                                       + QStringList { dir.filePath(QStringLiteral("ffmpeg-%1.jpg").arg(i)) });
        total.seconds += run.seconds;
        total.peakKiB = std::max(total.peakKiB, run.peakKiB);
    }
    return total;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("com.nomly.app.*.info=false"));
    if (argc == 3 && std::strcmp(argv[1], "--once") == 0)
        return sampled(QString::fromLocal8Bit(argv[2])) ? 0 : 1;
    if (QStandardPaths::findExecutable(QStringLiteral("ffmpeg")).isEmpty()) {
        std::printf("video frames  skipped: ffmpeg is not installed\n");
        return 0;
    }
    QTemporaryDir dir;
    if (!dir.isValid())
        qFatal("no temporary folder");
    const QString path = argc == 2 ? QString::fromLocal8Bit(argv[1]) : madeVideo(dir);

    const VideoFrameSamples first = VideoFrameSampler::sample(path, Frames, Edge, Quality);
    if (first.frames.size() != Frames || !first.durationSeconds)
        qFatal("the video gave %d frames", int(first.frames.size()));
    const QList<double> positions = VideoFrameSampler::timestamps(*first.durationSeconds, Frames);
    const auto ours = [&path] {
        QElapsedTimer timer;
        timer.start();
        if (!sampled(path))
            qFatal("the video gave no frames");
        return timer.nsecsElapsed() / 1e9;
    };
    const Comparison times = alternated(Rounds, ours, [&] { return ffmpegFrames(path, positions, dir); });
    const long ourPeak
        = runProgram(QCoreApplication::applicationFilePath(), { QStringLiteral("--once"), path }).peakKiB;
    const double ourMedian = times.ours;
    const double tool = times.tool;
    const long toolPeak = times.toolPeakKiB;
    std::printf("video frames  ours %6.3f s (%7ld KiB)  ffmpeg x%d %6.3f s (%7ld KiB)  "
                "speed ours/tool %.2f  memory ours/tool %.2f\n",
                ourMedian,
                ourPeak,
                Frames,
                tool,
                toolPeak,
                tool / ourMedian,
                double(ourPeak) / double(std::max(toolPeak, 1L)));
    return 0;
}
