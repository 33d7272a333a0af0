#include <QTemporaryDir>
#include <QtTest>

#include "ai/audioevidence.h"
#include "content/audiofingerprint.h"
#include "content/embeddedaudiometadata.h"
#include "content/fingerprintcatalogue.h"
#include "content/pcmaudio.h"
#include "samplerecordings.h"

using namespace Qt::StringLiterals;

namespace Nomly {

namespace {

const QString Sentence
    = u"Please remember to water the plants on Friday and call the plumber about the kitchen sink."_s;

// The recording a row is about, made under `path`; empty on success.
QString record(const QString &sound, const QString &path)
{
    if (sound == u"speech")
        return Test::writeSpeech(path, Sentence);
    if (sound == u"silence")
        return Test::writeSilence(path, 8);
    if (sound == u"tune")
        return Test::writeMelody(path, 30, 3);
    if (sound == u"tagged-tune")
        return Test::runFFmpeg({ u"-f"_s,
                                 u"lavfi"_s,
                                 u"-i"_s,
                                 u"sine=frequency=330:duration=6"_s,
                                 u"-metadata"_s,
                                 u"title=Harbour Lights"_s,
                                 u"-metadata"_s,
                                 u"artist=The Quay"_s,
                                 path });
    return u"unknown sound "_s + sound;
}

} // namespace

class AudioEvidenceTest : public QObject
{
    Q_OBJECT

private slots:

    void initTestCase()
    {
        if (const QString missing = Test::recordingToolsMissing(); !missing.isEmpty())
            QSKIP(qPrintable(missing));
    }

    // Which source speaks for a sound, and whether its bytes may still go
    // out, for each step of the order of evidence.
    void gathersInOrder_data()
    {
        QTest::addColumn<QString>("sound");
        QTest::addColumn<QString>("filename");
        QTest::addColumn<bool>("local");
        QTest::addColumn<bool>("byokUnusable");
        QTest::addColumn<qint64>("sizeBytes"); // 0: the file's own size
        QTest::addColumn<bool>("sidecar");
        QTest::addColumn<int>("source");
        QTest::addColumn<bool>("upload");
        QTest::addColumn<QString>("textHas");

        const int none = int(AudioEvidenceSource::None);
        const int tags = int(AudioEvidenceSource::EmbeddedMetadata);
        const int song = int(AudioEvidenceSource::SongRecognition);
        const int sounds = int(AudioEvidenceSource::SoundClassification);
        const qint64 overLimit = AudioUploadMaxBytes + 1;

        QTest::newRow("sidecar-ends-search")
            << u"tagged-tune"_s << u"song.m4a"_s << false << false << 0LL << true << none << false << QString();
        QTest::newRow("tags-stay-local") << u"tagged-tune"_s << u"song.m4a"_s << false << false << 0LL << false << tags
                                         << false << u"Preferred filename title: The Quay - Harbour Lights"_s;
        QTest::newRow("voice-memo-uploaded")
            << u"speech"_s << u"voice memo.wav"_s << false << false << 0LL << false << none << true << QString();
        QTest::newRow("voice-memo-over-limit-kept")
            << u"speech"_s << u"voice memo.wav"_s << false << false << overLimit << false << none << false << QString();
        QTest::newRow("unusable-own-key-kept")
            << u"speech"_s << u"voice memo.wav"_s << false << true << 0LL << false << none << false << QString();
        QTest::newRow("silence-classified") << u"silence"_s << u"clip.wav"_s << false << false << 0LL << false << sounds
                                            << false << u"Local sound classification"_s;
        QTest::newRow("catalogued-tune-recognised") << u"tune"_s << u"track 01.ogg"_s << false << false << 0LL << false
                                                    << song << false << u"Preferred filename title: Quay - Tide"_s;
        QTest::newRow("catalogued-tune-recognised-locally")
            << u"tune"_s << u"track 01.ogg"_s << true << false << 0LL << false << song << false << u"Title: Tide"_s;
        QTest::newRow("speech-local-never-uploaded")
            << u"speech"_s << u"voice memo.wav"_s << true << false << 0LL << false << -1 << false << QString();
    }

    void gathersInOrder()
    {
        QFETCH(QString, sound);
        QFETCH(QString, filename);
        QFETCH(bool, local);
        QFETCH(bool, byokUnusable);
        QFETCH(qint64, sizeBytes);
        QFETCH(bool, sidecar);
        QFETCH(int, source);
        QFETCH(bool, upload);
        QFETCH(QString, textHas);

        QTemporaryDir dir;
        const QString path = dir.filePath(filename);
        QCOMPARE(record(sound, path), QString());

        FingerprintCatalogue catalogue;
        const QString tune = dir.filePath(u"catalogued.wav"_s);
        QCOMPARE(Test::writeMelody(tune, 30, 3), QString());
        const Result<PCMAudio> decoded = decodeAudio(tune, {}, 11025, QDeadlineTimer(20'000), {});
        QVERIFY(decoded.ok());
        const std::optional<AudioFingerprint> fingerprint = AudioFingerprint::of(decoded.value());
        QVERIFY(fingerprint.has_value());
        catalogue.add(*fingerprint, RecognizedMediaItem { u"Tide"_s, {}, u"Quay"_s, { u"Ambient"_s }, {}, {} });

        FileAudioAnalysisPayload payload;
        payload.originalPath = path;
        payload.filename = filename;
        payload.sizeBytes = sizeBytes ? sizeBytes : QFileInfo(path).size();
        if (sidecar)
            payload.text = u"A transcript someone wrote."_s;
        else
            payload.embeddedMetadataText = embeddedAudioMetadataText(path);

        AudioEvidenceRoute route;
        route.local = local;
        route.byokEnabled = byokUnusable;
        route.language = u"en-US"_s;
        route.localeName = u"en_US"_s;

        const AudioEvidence evidence = gatherAudioEvidence(payload, route, catalogue);
        if (source >= 0)
            QCOMPARE(int(evidence.source), source);
        else
            QVERIFY(evidence.source == AudioEvidenceSource::LocalTranscript
                    || evidence.source == AudioEvidenceSource::None);
        QCOMPARE(evidence.upload, upload);
        QCOMPARE(evidence.text.has_value(), evidence.source != AudioEvidenceSource::None);
        if (!textHas.isEmpty())
            QVERIFY2(evidence.text.value_or(QString()).contains(textHas), qPrintable(evidence.text.value_or(u"-"_s)));
        QVERIFY(evidence.durationSeconds.has_value());
        QVERIFY(QFileInfo::exists(path));
    }
};

} // namespace Nomly

QTEST_GUILESS_MAIN(Nomly::AudioEvidenceTest)
#include "audioevidencetest.moc"
