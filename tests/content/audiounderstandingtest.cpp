#include <QTemporaryDir>
#include <QtTest>

#include "content/audiofingerprint.h"
#include "content/audiounderstanding.h"
#include "content/fingerprintcatalogue.h"
#include "content/nocataloguesongrecognizer.h"
#include "content/soundlabels.h"
#include "samplerecordings.h"

using namespace Qt::StringLiterals;

namespace Nomly {

namespace {

const QString Sentences = u"The committee met on Tuesday to discuss the budget for next year. Several members asked "
                          "about the cost of the new library, and the chair promised a full report by the end of "
                          "the month. After a short break, the discussion turned to parking."_s;

} // namespace

class AudioUnderstandingTest : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;

    QString file(const QString &name) const { return m_dir.filePath(name); }

private slots:

    void initTestCase()
    {
        if (const QString missing = Test::recordingToolsMissing(); !missing.isEmpty())
            QSKIP(qPrintable(missing));
        QVERIFY(m_dir.isValid());
        QCOMPARE(Test::writeSpeech(file(u"speech.mp3"_s), Sentences), QString());
        QCOMPARE(Test::writeSpeechInVoice(file(u"speech-f3.opus"_s), Sentences, u"en-us+f3"_s), QString());
        QCOMPARE(Test::writeSpeechOverTone(file(u"speech-over-tone.wav"_s), Sentences), QString());
        QCOMPARE(Test::writeSilence(file(u"silence.wav"_s), 6), QString());
        QCOMPARE(Test::writeTone(file(u"tone.flac"_s), 6), QString());
        QCOMPARE(Test::writeNoise(file(u"noise.wav"_s), 6), QString());
        QCOMPARE(Test::writeMelody(file(u"tune.wav"_s), 30, 1), QString());
        QCOMPARE(Test::writeMelody(file(u"other-tune.ogg"_s), 30, 2), QString());
        QCOMPARE(Test::runFFmpeg({ u"-i"_s, file(u"tune.wav"_s), file(u"tune.mp3"_s) }), QString());
        QCOMPARE(Test::runFFmpeg({ u"-f"_s,
                                   u"lavfi"_s,
                                   u"-i"_s,
                                   u"testsrc=size=160x120:rate=10"_s,
                                   u"-i"_s,
                                   file(u"tune.wav"_s),
                                   u"-shortest"_s,
                                   file(u"clip.mkv"_s) }),
                 QString());
    }

    void probesForSpeech_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<std::optional<double>>("duration");
        QTest::addColumn<bool>("expected");

        QTest::newRow("meeting-at-any-length") << u"Team Meeting.m4a"_s << std::optional<double>(12) << true;
        QTest::newRow("plain-at-8-minutes") << u"track01.mp3"_s << std::optional<double>(480) << true;
        QTest::newRow("plain-at-3-minutes") << u"track01.mp3"_s << std::optional<double>(180) << false;
        QTest::newRow("plain-unknown-length") << u"track01.mp3"_s << std::optional<double>() << false;
        QTest::newRow("plain-endless") << u"track01.mp3"_s
                                       << std::optional<double>(std::numeric_limits<double>::infinity()) << false;
        QTest::newRow("case-and-accents-folded") << u"TÁLK-2024.wav"_s << std::optional<double>(5) << true;
        QTest::newRow("separators-become-blanks") << u"stand-up_notes.ogg"_s << std::optional<double>(5) << true;
    }

    void probesForSpeech()
    {
        QFETCH(QString, name);
        QFETCH(std::optional<double>, duration);
        QFETCH(bool, expected);
        QCOMPARE(AudioUnderstanding::shouldProbeForSpeech(name, duration), expected);
    }

    // What the classifier makes of recordings made here: speech is heard
    // (over a tone too) and gets no classification text; other sounds are
    // named by their label.
    void classifiesRecordings_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("speech");
        QTest::addColumn<QString>("label");

        QTest::newRow("speech-mp3") << u"speech.mp3"_s << true << QString();
        QTest::newRow("speech-other-voice-opus") << u"speech-f3.opus"_s << true << QString();
        QTest::newRow("speech-over-tone") << u"speech-over-tone.wav"_s << true << QString();
        QTest::newRow("silence") << u"silence.wav"_s << false << u"- silence (peak 100%"_s;
        QTest::newRow("tone") << u"tone.flac"_s << false << u"- tone (peak"_s;
        QTest::newRow("noise") << u"noise.wav"_s << false << u"- noise (peak"_s;
        QTest::newRow("melody") << u"other-tune.ogg"_s << false << u"- music (peak"_s;
    }

    void classifiesRecordings()
    {
        QFETCH(QString, name);
        QFETCH(bool, speech);
        QFETCH(QString, label);
        const QList<AudioSoundAnalysisLabel> probed = AudioUnderstanding::speechProbeLabels(file(name), std::nullopt);
        QVERIFY2(labelsIndicateSpeech(probed) == speech, qPrintable(soundLabelSummary(probed)));
        const std::optional<QString> text = AudioUnderstanding::soundClassificationText(file(name));
        QCOMPARE(text.has_value(), !speech);
        if (text)
            QVERIFY2(text->contains(label), qPrintable(*text));
    }

    // A catalogue of one tune finds it from short slices of another
    // encoding of it, in a sound file and in a video's sound track, and
    // nothing else.
    void recognisesSongs_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("source");
        QTest::addColumn<bool>("catalogue");
        QTest::addColumn<QString>("line");

        QTest::newRow("tune-from-slices") << u"tune.mp3"_s << u"audio file"_s << true
                                          << u"Preferred filename title: The Test Band - Harbour Lights"_s;
        QTest::newRow("tune-in-video") << u"clip.mkv"_s << u"video audio track"_s << true
                                       << u"Preferred music video title: The Test Band - Harbour Lights"_s;
        QTest::newRow("no-catalogue") << u"tune.mp3"_s << u"audio file"_s << false << QString();
        QTest::newRow("other-tune") << u"other-tune.ogg"_s << u"audio file"_s << true << QString();
        QTest::newRow("silence") << u"silence.wav"_s << u"audio file"_s << true << QString();
        QTest::newRow("speech") << u"speech.mp3"_s << u"audio file"_s << true << QString();
        QTest::newRow("missing-file") << u"missing.mp3"_s << u"audio file"_s << true << QString();
    }

    void recognisesSongs()
    {
        QFETCH(QString, name);
        QFETCH(QString, source);
        QFETCH(bool, catalogue);
        QFETCH(QString, line);
        const Result<PCMAudio> tune = decodeAudio(file(u"tune.wav"_s), {}, 11025, QDeadlineTimer(20'000));
        QVERIFY2(tune.ok(), qPrintable(tune.error()));
        const std::optional<AudioFingerprint> fingerprint = AudioFingerprint::of(tune.value());
        QVERIFY(fingerprint);
        FingerprintCatalogue songs;
        songs.add(*fingerprint, { u"Harbour Lights"_s, {}, u"The Test Band"_s, { u"Folk"_s }, u"42"_s, {} });
        const NoCatalogueSongRecognizer none;

        const std::optional<QString> text = AudioUnderstanding::songRecognitionText(
            file(name), source, catalogue ? songs : static_cast<const SongRecognizer &>(none));
        QCOMPARE(text.has_value(), !line.isEmpty());
        if (text)
            QVERIFY2(text->split(u'\n').contains(line), qPrintable(*text));
    }

    void writesTrackText_data()
    {
        QTest::addColumn<RecognizedMediaItem>("item");
        QTest::addColumn<QString>("source");
        QTest::addColumn<QStringList>("lines");
        QTest::addColumn<QStringList>("absent");

        const RecognizedMediaItem full { u"  Harbour \n Lights "_s,
                                         u"Live"_s,
                                         u"The  Test Band"_s,
                                         { u"Folk"_s, u"folk "_s, u"Pop"_s, u" "_s },
                                         u"42"_s,
                                         u"https://example.org/42"_s };
        QTest::newRow("audio-cleaned-and-deduplicated")
            << full << u"audio file"_s
            << QStringList { u"Recognized audio track (fingerprint match)"_s,
                             u"Preferred filename title: The Test Band - Harbour Lights"_s,
                             u"Title: Harbour Lights"_s,
                             u"Genres: Folk, Pop"_s,
                             u"Catalogue ID: 42"_s,
                             u"Catalogue URL: https://example.org/42"_s,
                             u"Use this recognized track metadata as the primary naming signal for the audio file."_s }
            << QStringList { u"Recognized audio track title: Harbour Lights"_s };
        QTest::newRow("video-names-the-track")
            << full << u"video audio track"_s
            << QStringList { u"Preferred music video title: The Test Band - Harbour Lights"_s,
                             u"Recognized audio track title: Harbour Lights"_s }
            << QStringList { u"Preferred filename title: The Test Band - Harbour Lights"_s };
        QTest::newRow("subtitle-stands-in-for-artist")
            << RecognizedMediaItem { u"Song"_s, u"Someone"_s, {}, {}, {}, {} } << u"audio file"_s
            << QStringList { u"Preferred filename title: Someone - Song"_s, u"Artist: Someone"_s }
            << QStringList { u"Genres: "_s };
        QTest::newRow("no-title-no-preferred-line")
            << RecognizedMediaItem { {}, {}, u"Someone"_s, {}, {}, {} } << u"video audio track"_s
            << QStringList { u"Artist: Someone"_s }
            << QStringList { u"Preferred music video title: Someone - "_s, u"Recognized audio track title: "_s };
    }

    void writesTrackText()
    {
        QFETCH(RecognizedMediaItem, item);
        QFETCH(QString, source);
        QFETCH(QStringList, lines);
        QFETCH(QStringList, absent);
        const QStringList text = AudioUnderstanding::recognizedTrackText(item, source).split(u'\n');
        for (const QString &line : lines)
            QVERIFY2(text.contains(line), qPrintable(line));
        for (const QString &line : absent)
            QVERIFY2(!text.contains(line), qPrintable(line));
    }
};

} // namespace Nomly

Q_DECLARE_METATYPE(Nomly::RecognizedMediaItem)
Q_DECLARE_METATYPE(std::optional<double>)

QTEST_GUILESS_MAIN(Nomly::AudioUnderstandingTest)
#include "audiounderstandingtest.moc"
