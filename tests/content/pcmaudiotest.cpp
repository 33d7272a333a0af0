#include <QTemporaryDir>
#include <QtTest>
#include <cmath>

#include "content/pcmaudio.h"
#include "samplerecordings.h"

using namespace Qt::StringLiterals;

namespace Nomly {

class PCMAudioTest : public QObject
{
    Q_OBJECT

private:
    // The frequency of a steady tone, from its zero crossings.
    static double toneFrequency(const PCMAudio &audio)
    {
        int crossings = 0;
        for (size_t i = 1; i < audio.samples.size(); ++i)
            crossings += (audio.samples[i - 1] < 0) != (audio.samples[i] < 0);
        return crossings / 2.0 / audio.durationSeconds();
    }

private slots:

    void initTestCase()
    {
        if (const QString missing = Test::recordingToolsMissing(); !missing.isEmpty())
            QSKIP(qPrintable(missing));
    }

    // Each container gives the window asked for, at the rate asked for, and
    // the tone keeps its pitch through the resampling.
    void decodesTheWindow_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<double>("start");
        QTest::addColumn<double>("length");
        QTest::addColumn<double>("expected");
        QTest::addColumn<int>("frequency");

        QTest::newRow("wav-whole") << u"tone.wav"_s << 0.0 << 60.0 << 6.0 << 500;
        QTest::newRow("flac-head") << u"tone.flac"_s << 0.0 << 2.5 << 2.5 << 500;
        QTest::newRow("mp3-middle") << u"tone.mp3"_s << 2.0 << 3.0 << 3.0 << 500;
        QTest::newRow("opus-tail-past-end") << u"tone.opus"_s << 4.5 << 10.0 << 1.5 << 500;
        QTest::newRow("m4a-from-start") << u"tone.m4a"_s << 0.0 << 1.0 << 1.0 << 500;
        QTest::newRow("mkv-video-sound-track") << u"clip.mkv"_s << 1.0 << 2.0 << 2.0 << 500;
        // A broadcast's clock starts hours in; the window is still the
        // second half, where the pitch rises.
        QTest::newRow("ts-late-origin-second-half") << u"rising.ts"_s << 4.0 << 1.5 << 1.5 << 700;
        // Two recordings joined byte for byte: stereo, then mono.
        QTest::newRow("joined-stereo-then-mono") << u"joined.mp3"_s << 0.0 << 60.0 << 6.0 << 500;
    }

    void decodesTheWindow()
    {
        QFETCH(QString, file);
        QFETCH(double, start);
        QFETCH(double, length);
        QFETCH(double, expected);
        QFETCH(int, frequency);
        QTemporaryDir dir;
        const QString path = dir.filePath(file);
        if (file == u"rising.ts") {
            QCOMPARE(Test::runFFmpeg({ u"-f"_s,
                                       u"lavfi"_s,
                                       u"-i"_s,
                                       u"aevalsrc=if(lt(t\\,3)\\,sin(2*PI*300*t)\\,sin(2*PI*700*t)):s=44100:d=6"_s,
                                       u"-output_ts_offset"_s,
                                       u"20000"_s,
                                       path }),
                     QString());
        } else if (file == u"joined.mp3") {
            const QString stereo = dir.filePath(u"stereo.mp3"_s);
            const QString mono = dir.filePath(u"mono.mp3"_s);
            QCOMPARE(
                Test::runFFmpeg(
                    { u"-f"_s, u"lavfi"_s, u"-i"_s, u"sine=frequency=500:duration=3"_s, u"-ac"_s, u"2"_s, stereo }),
                QString());
            QCOMPARE(Test::writeTone(mono, 3, 500), QString());
            QFile joined(path);
            QVERIFY(joined.open(QIODevice::WriteOnly));
            for (const QString &part : { stereo, mono }) {
                QFile in(part);
                QVERIFY(in.open(QIODevice::ReadOnly));
                joined.write(in.readAll());
            }
        } else if (file.startsWith(u"clip")) {
            QCOMPARE(Test::runFFmpeg({ u"-f"_s,
                                       u"lavfi"_s,
                                       u"-i"_s,
                                       u"testsrc=size=160x120:rate=10"_s,
                                       u"-f"_s,
                                       u"lavfi"_s,
                                       u"-i"_s,
                                       u"sine=frequency=500:duration=6"_s,
                                       u"-t"_s,
                                       u"6"_s,
                                       path }),
                     QString());
        } else {
            QCOMPARE(Test::writeTone(path, 6, 500), QString());
        }

        const Result<PCMAudio> audio = decodeAudio(path, { start, length }, 16000, QDeadlineTimer(20'000));
        QVERIFY2(audio.ok(), qPrintable(audio.error()));
        QCOMPARE(audio.value().sampleRate, 16000);
        // Encoders pad and trim a few milliseconds at the ends.
        QVERIFY2(std::abs(audio.value().durationSeconds() - expected) < 0.08,
                 qPrintable(QString::number(audio.value().durationSeconds())));
        // A joined file's length is only estimated, from its first part.
        if (file != u"joined.mp3")
            QVERIFY(audio.value().fileDurationSeconds && std::abs(*audio.value().fileDurationSeconds - 6) < 0.1);
        QVERIFY2(std::abs(toneFrequency(audio.value()) - frequency) < 10,
                 qPrintable(QString::number(toneFrequency(audio.value()))));
    }

    void refusesWhatHoldsNoSound_data()
    {
        QTest::addColumn<QString>("file");
        QTest::newRow("video-without-sound") << u"silent.mp4"_s;
        QTest::newRow("text-file") << u"notes.mp3"_s;
        QTest::newRow("missing-file") << u"gone.wav"_s;
        // A playlist would have the library read another file of the user's.
        QTest::newRow("playlist-named-mp3") << u"list.mp3"_s;
    }

    void refusesWhatHoldsNoSound()
    {
        QFETCH(QString, file);
        QTemporaryDir dir;
        const QString path = dir.filePath(file);
        if (file == u"silent.mp4") {
            QCOMPARE(Test::runFFmpeg(
                         { u"-f"_s, u"lavfi"_s, u"-i"_s, u"testsrc=size=160x120:rate=10"_s, u"-t"_s, u"1"_s, path }),
                     QString());
        } else if (file == u"notes.mp3") {
            QFile text(path);
            QVERIFY(text.open(QIODevice::WriteOnly));
            text.write("not a recording at all\n");
        } else if (file == u"list.mp3") {
            QCOMPARE(Test::writeTone(dir.filePath(u"tone.ts"_s), 3), QString());
            QFile list(path);
            QVERIFY(list.open(QIODevice::WriteOnly));
            list.write("#EXTM3U\n#EXT-X-TARGETDURATION:3\n#EXTINF:3,\ntone.ts\n#EXT-X-ENDLIST\n");
        }
        const Result<PCMAudio> audio = decodeAudio(path, {}, 16000, QDeadlineTimer(20'000));
        QVERIFY(!audio.ok());
        QVERIFY(!audio.error().isEmpty());
    }

    // A stop asked for before the work ends it at once.
    void stopEndsDecoding()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(u"tone.wav"_s);
        QCOMPARE(Test::writeTone(path, 3), QString());
        std::stop_source stop;
        stop.request_stop();
        QVERIFY(!decodeAudio(path, {}, 16000, QDeadlineTimer(20'000), stop.get_token()).ok());
    }

    // A written WAVE reads back sample for sample, and never replaces a file.
    void waveRoundTrip()
    {
        QTemporaryDir dir;
        PCMAudio audio;
        audio.sampleRate = 16000;
        for (int i = 0; i < 16000; ++i)
            audio.samples.push_back(int16_t(std::lround(8000 * std::sin(i * 0.05))));
        const QString path = dir.filePath(u"segment-0.wav"_s);
        QVERIFY(writeWave(audio, path).ok());
        const Result<PCMAudio> back = decodeAudio(path, {}, 16000, QDeadlineTimer(20'000));
        QVERIFY(back.ok());
        QCOMPARE(back.value().samples, audio.samples);

        const QByteArray before = [&path] {
            QFile file(path);
            return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
        }();
        PCMAudio other = audio;
        other.samples.resize(10);
        QVERIFY(!writeWave(other, path).ok());
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), before);
    }
};

} // namespace Nomly

QTEST_GUILESS_MAIN(Nomly::PCMAudioTest)
#include "pcmaudiotest.moc"
