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

        QTest::newRow("wav-whole") << u"tone.wav"_s << 0.0 << 60.0 << 6.0;
        QTest::newRow("flac-head") << u"tone.flac"_s << 0.0 << 2.5 << 2.5;
        QTest::newRow("mp3-middle") << u"tone.mp3"_s << 2.0 << 3.0 << 3.0;
        QTest::newRow("opus-tail-past-end") << u"tone.opus"_s << 4.5 << 10.0 << 1.5;
        QTest::newRow("m4a-from-start") << u"tone.m4a"_s << 0.0 << 1.0 << 1.0;
        QTest::newRow("mkv-video-sound-track") << u"clip.mkv"_s << 1.0 << 2.0 << 2.0;
    }

    void decodesTheWindow()
    {
        QFETCH(QString, file);
        QFETCH(double, start);
        QFETCH(double, length);
        QFETCH(double, expected);
        QTemporaryDir dir;
        const QString path = dir.filePath(file);
        if (file.startsWith(u"clip")) {
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
        QVERIFY(audio.value().fileDurationSeconds && std::abs(*audio.value().fileDurationSeconds - 6) < 0.1);
        QVERIFY(std::abs(toneFrequency(audio.value()) - 500) < 10);
    }

    void refusesWhatHoldsNoSound_data()
    {
        QTest::addColumn<QString>("file");
        QTest::newRow("video-without-sound") << u"silent.mp4"_s;
        QTest::newRow("text-file") << u"notes.mp3"_s;
        QTest::newRow("missing-file") << u"gone.wav"_s;
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
