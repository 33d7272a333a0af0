// Stills taken from clips that ffmpeg makes at test time, in the containers
// and codecs found on Linux desktops, and from files that give none.

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QUrl>
#include <QtTest>
#include <cmath>

#include "content/textrecognizer.h"
#include "content/videoframesampler.h"
#include "samplepictures.h"
#include "samplerecordings.h"

using namespace Qt::StringLiterals;

namespace Nomly {

namespace {

const QString DejaVuSans = u"/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf"_s;

QStringList words(const QString &line)
{
    return line.split(u' ');
}

// A moving test picture with a key frame each second.
QString writeClip(const QString &path, const QString &codec, double seconds = 6, const QStringList &extra = {})
{
    const QStringList arguments = words(u"-f lavfi -i testsrc2=size=320x240:rate=25 -g 25 -pix_fmt yuv420p -c:v"_s)
        + QStringList { codec, u"-t"_s, QString::number(seconds) };
    return Test::runFFmpeg(arguments + extra + QStringList { path });
}

QImage decoded(const VideoFramePreview &frame)
{
    return QImage::fromData(frame.data, "JPEG");
}

} // namespace

class VideoFrameSamplerTest : public QObject
{
    Q_OBJECT

private slots:

    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        if (const QString missing = Test::recordingToolsMissing(); !missing.isEmpty())
            QSKIP(qPrintable(missing));
        // Every folder the sampler makes lands here, to be seen afterwards.
        QVERIFY(m_temporary.isValid());
        qputenv("TMPDIR", QFile::encodeName(m_temporary.path()));
    }

    void timestamps_data()
    {
        QTest::addColumn<double>("duration");
        QTest::addColumn<int>("count");
        QTest::addColumn<QList<double>>("expected");
        QTest::newRow("tiny-clip-single-frame") << 0.05 << 1 << QList<double> { 0.05 };
        QTest::newRow("ten-seconds-five-frames") << 10.0 << 5 << QList<double> { 0.8, 2.8, 5, 7.2, 9.2 };
        QTest::newRow("more-than-five-asked") << 10.0 << 8 << QList<double> { 0.8, 2.8, 5, 7.2, 9.2 };
        QTest::newRow("two-frames") << 8.0 << 2 << QList<double> { 2, 6 };
        QTest::newRow("none-asked") << 10.0 << 0 << QList<double> {};
        QTest::newRow("zero-length-raised") << 0.0 << 2 << QList<double> { 0.05, 0.05 };
        QTest::newRow("short-clip-kept-off-the-end") << 0.3 << 5 << QList<double> { 0.05, 0.084, 0.15, 0.216, 0.25 };
    }

    void timestamps()
    {
        QFETCH(double, duration);
        QFETCH(int, count);
        QFETCH(QList<double>, expected);
        const QList<double> positions = VideoFrameSampler::timestamps(duration, count);
        QCOMPARE(positions.size(), expected.size());
        for (qsizetype i = 0; i < positions.size(); ++i)
            QVERIFY2(std::abs(positions[i] - expected[i]) < 1e-9, qPrintable(QString::number(positions[i])));
    }

    // Each container gives the frames asked for, near their positions, in
    // order, at the target edge; a small clip is never enlarged.
    void realClips_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("codec");
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("target");
        QTest::addColumn<QList<double>>("positions");
        QTest::addColumn<int>("longEdge");
        QTest::newRow("mp4-five") << u"clip.mp4"_s << u"libx264"_s << 5 << 160
                                  << QList<double> { 0.48, 1.68, 3, 4.32, 5.52 } << 160;
        QTest::newRow("webm-one") << u"clip.webm"_s << u"libvpx"_s << 1 << 240 << QList<double> { 3 } << 240;
        QTest::newRow("ts-offset-timeline")
            << u"clip.ts"_s << u"mpeg2video"_s << 3 << 160 << QList<double> { 0.9, 3, 5.1 } << 160;
        QTest::newRow("never-enlarged") << u"clip.mp4"_s << u"libx264"_s << 1 << 1024 << QList<double> { 3 } << 320;
    }

    void realClips()
    {
        QFETCH(QString, file);
        QFETCH(QString, codec);
        QFETCH(int, count);
        QFETCH(int, target);
        QFETCH(QList<double>, positions);
        QFETCH(int, longEdge);
        QTemporaryDir dir;
        const QString path = dir.filePath(file);
        QCOMPARE(writeClip(path, codec), QString());

        const VideoFrameSamples samples = VideoFrameSampler::sample(path, count, target, 0.7);
        QCOMPARE(samples.frames.size(), positions.size());
        QVERIFY(samples.durationSeconds && std::abs(*samples.durationSeconds - 6) < 0.2);
        for (qsizetype i = 0; i < positions.size(); ++i) {
            const double at = samples.frames[i].timestampSeconds;
            QVERIFY2(std::abs(at - positions[i]) <= VideoFrameSampler::ToleranceSeconds + 0.05,
                     qPrintable(u"frame %1 at %2"_s.arg(i).arg(at)));
            const QImage image = decoded(samples.frames[i]);
            QCOMPARE(std::max(image.width(), image.height()), longEdge);
            QCOMPARE(image.width() * 3, image.height() * 4);
        }
    }

    // A clip tagged to be shown turned comes out as ffmpeg itself shows it:
    // the same shape and the same colour in each quarter.
    void rotatedClipsStandUpright_data()
    {
        QTest::addColumn<int>("rotate");
        QTest::newRow("quarter-turn") << 90;
        QTest::newRow("half-turn") << 180;
        QTest::newRow("three-quarter-turn") << 270;
    }

    void rotatedClipsStandUpright()
    {
        QFETCH(int, rotate);
        QTemporaryDir dir;
        const QString plain = dir.filePath(u"plain.mp4"_s);
        const QString turned = dir.filePath(u"turned.mp4"_s);
        const QString reference = dir.filePath(u"reference.png"_s);
        QCOMPARE(Test::runFFmpeg(words(u"-f lavfi -i "
                                       "color=red:s=160x60[a];color=lime:s=160x60[b];color=blue:s=160x60[c];"
                                       "color=yellow:s=160x60[d];[a][b]hstack[top];[c][d]hstack[bottom];"
                                       "[top][bottom]vstack -t 2 -pix_fmt yuv420p"_s)
                                 + QStringList { plain }),
                 QString());
        QCOMPARE(Test::runFFmpeg(
                     { u"-i"_s, plain, u"-c"_s, u"copy"_s, u"-metadata:s:v:0"_s, u"rotate=%1"_s.arg(rotate), turned }),
                 QString());
        QCOMPARE(Test::runFFmpeg({ u"-i"_s, turned, u"-frames:v"_s, u"1"_s, reference }), QString());
        const QImage expected(reference);
        QVERIFY(!expected.isNull());

        const VideoFrameSamples samples = VideoFrameSampler::sample(turned, 1, 320, 0.9);
        QCOMPARE(samples.frames.size(), 1);
        const QImage image = decoded(samples.frames.first());
        QCOMPARE(image.size(), expected.size());
        for (const QPointF share : { QPointF(0.25, 0.25), QPointF(0.75, 0.25), QPointF(0.25, 0.75) }) {
            const QPoint at(int(share.x() * image.width()), int(share.y() * image.height()));
            const QColor ours = image.pixelColor(at);
            const QColor theirs = expected.pixelColor(at);
            QVERIFY2(std::abs(ours.red() - theirs.red()) < 60 && std::abs(ours.green() - theirs.green()) < 60
                         && std::abs(ours.blue() - theirs.blue()) < 60,
                     qPrintable(u"%1 against %2"_s.arg(ours.name(), theirs.name())));
        }
    }

    // Text on screen survives the scaling well enough to be read back.
    void textOnFrameIsReadable()
    {
        if (!TextRecognizer::isAvailable())
            QSKIP("the English OCR data is not installed");
        QTemporaryDir dir;
        const QString path = dir.filePath(u"titles.mkv"_s);
        if (QFile::exists(DejaVuSans)) {
            const QString titles = u"color=white:s=960x540,drawtext=fontfile=%1:text='HARBOUR FESTIVAL OPENING "
                                   "NIGHT 2031':fontsize=44:fontcolor=black:x=(w-tw)/2:y=(h-th)/2"_s.arg(DejaVuSans);
            QCOMPARE(Test::runFFmpeg(QStringList { u"-f"_s, u"lavfi"_s, u"-i"_s, titles }
                                     + words(u"-t 3 -pix_fmt yuv420p"_s) + QStringList { path }),
                     QString());
        } else {
            const QString still = dir.filePath(u"title.png"_s);
            QVERIFY(Test::textImage({ u"HARBOUR FESTIVAL OPENING NIGHT 2031"_s }, 56).save(still));
            QCOMPARE(Test::runFFmpeg(QStringList { u"-loop"_s, u"1"_s, u"-i"_s, still }
                                     + words(u"-t 3 -pix_fmt yuv420p -vf pad=ceil(iw/2)*2:ceil(ih/2)*2"_s)
                                     + QStringList { path }),
                     QString());
        }
        const VideoFrameSamples samples = VideoFrameSampler::sample(path, 1, 1024, 0.7);
        QCOMPARE(samples.frames.size(), 1);
        const QString text = TextRecognizer::recognize(decoded(samples.frames.first())).value_or(QString());
        QVERIFY2(text.contains(u"HARBOUR FESTIVAL OPENING NIGHT 2031"_s), qPrintable(text));
    }

    // What the name says and what the file holds disagree, or the file
    // holds no readable video: frames where there are any, else nothing,
    // and no folder of the sampler's is left behind.
    void troubledFiles_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("kind");
        QTest::addColumn<int>("frames");
        QTest::newRow("mp4-named-mov") << u"movie.mov"_s << u"mp4"_s << 2;
        QTest::newRow("mp4-cut-in-half") << u"cut.mp4"_s << u"half"_s << 0;
        QTest::newRow("index-atom-damaged") << u"damaged.mp4"_s << u"no-index"_s << 0;
        QTest::newRow("sound-only") << u"song.m4a"_s << u"sound"_s << 0;
        QTest::newRow("text-named-mp4") << u"notes.mp4"_s << u"text"_s << 0;
        QTest::newRow("missing-file") << u"gone.mp4"_s << u"missing"_s << 0;
    }

    void troubledFiles()
    {
        QFETCH(QString, file);
        QFETCH(QString, kind);
        QFETCH(int, frames);
        QTemporaryDir dir;
        const QString path = dir.filePath(file);
        const QString made = dir.filePath(u"made.mp4"_s);
        if (kind == u"mp4" || kind == u"half" || kind == u"no-index") {
            QCOMPARE(writeClip(made, u"libx264"_s, 4), QString());
            QFile clip(made);
            QVERIFY(clip.open(QIODevice::ReadWrite));
            QByteArray bytes = clip.readAll();
            if (kind == u"half")
                bytes.truncate(bytes.size() / 2);
            if (kind == u"no-index")
                bytes.replace("moov", "mxxv");
            QFile out(path);
            QVERIFY(out.open(QIODevice::WriteOnly) && out.write(bytes) == bytes.size());
        } else if (kind == u"sound") {
            QCOMPARE(Test::writeTone(path, 3), QString());
        } else if (kind != u"missing") {
            QFile out(path);
            QVERIFY(out.open(QIODevice::WriteOnly));
            out.write("a shopping list, not a film\n");
        }
        const QByteArray before
            = QFile::exists(path) ? QCryptographicHash::hash(readAll(path), QCryptographicHash::Sha256) : QByteArray();

        const VideoFrameSamples samples = VideoFrameSampler::sample(path, 2, 160, 0.6);
        QCOMPARE(samples.frames.size(), frames);
        QCOMPARE(samples.durationSeconds.has_value(), frames > 0);
        if (QFile::exists(path))
            QCOMPARE(QCryptographicHash::hash(readAll(path), QCryptographicHash::Sha256), before);
        QCOMPARE(QDir(m_temporary.path()).entryList({ u"NomlyVideoPreview-*"_s }, QDir::AllEntries), QStringList());
    }

    // With no frame to be had, a fresh picture in the desktop's thumbnail
    // cache stands in; a stale one does not.
    void desktopThumbnailStandsIn_data()
    {
        QTest::addColumn<int>("ageOffset");
        QTest::addColumn<int>("frames");
        QTest::newRow("fresh-thumbnail") << 0 << 1;
        QTest::newRow("stale-thumbnail") << -60 << 0;
    }

    void desktopThumbnailStandsIn()
    {
        QFETCH(int, ageOffset);
        QFETCH(int, frames);
        QTemporaryDir dir;
        const QString path = dir.filePath(u"broken.mp4"_s);
        QFile file(path);
        const QByteArray header = QByteArray::fromHex("00000018") + "ftypmp42 and then nothing of a movie";
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(header) == header.size());
        file.close();
        const QByteArray uri = QUrl::fromLocalFile(path).toEncoded();
        const QString folder
            = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) + u"/thumbnails/normal"_s;
        QVERIFY(QDir().mkpath(folder));
        const QString thumbnail = folder + u'/'
            + QString::fromLatin1(QCryptographicHash::hash(uri, QCryptographicHash::Md5).toHex()) + u".png"_s;
        QImage image(128, 72, QImage::Format_RGB32);
        image.fill(Qt::darkGreen);
        image.setText(u"Thumb::MTime"_s,
                      QString::number(QFileInfo(path).lastModified().toSecsSinceEpoch() + ageOffset));
        QVERIFY(image.save(thumbnail, "PNG"));

        const VideoFrameSamples samples = VideoFrameSampler::sample(path, 3, 64, 0.6);
        QFile::remove(thumbnail);
        QCOMPARE(samples.frames.size(), frames);
        if (frames > 0) {
            QCOMPARE(samples.frames.first().timestampSeconds, 0.0);
            QCOMPARE(decoded(samples.frames.first()).size(), QSize(64, 36));
        }
    }

    // A stop asked for before the work ends it with nothing.
    void stopGivesNothing()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(u"clip.mp4"_s);
        QCOMPARE(writeClip(path, u"libx264"_s, 2), QString());
        std::stop_source stop;
        stop.request_stop();
        QCOMPARE(VideoFrameSampler::sample(path, 3, 160, 0.6, stop.get_token()), VideoFrameSamples {});
    }

private:
    static QByteArray readAll(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    QTemporaryDir m_temporary;
};

} // namespace Nomly

QTEST_MAIN(Nomly::VideoFrameSamplerTest)
#include "videoframesamplertest.moc"
