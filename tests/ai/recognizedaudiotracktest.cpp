#include <QtTest>

#include "ai/recognizedaudiotrack.h"

using namespace Qt::StringLiterals;

namespace Nomly {

namespace {

const QString MusicVideo = u"Recognized audio track (fingerprint match)\n"
                           "Preferred music video title: The Band - First Song\n"
                           "Recognized audio track title: First Song\n"
                           "Title: First Song\n"
                           "Artist: The Band\n"
                           "Genres: Rock, Pop\n"_s;

const QString TaggedSong = u"Embedded audio metadata\n"
                           "Preferred filename title: The Band - First Song\n"
                           "Title: \"First Song\"\n"
                           "Artist:   The   Band \n"
                           "Album: Debut\n"
                           "Release date: 2019-04-01\n"_s;

} // namespace

class RecognizedAudioTrackTest : public QObject
{
    Q_OBJECT

private slots:

    // Whether the recognised track's title replaces the model's, and which
    // music fields it fills.
    void appliesToLocalAnswer_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("modelTitle");
        QTest::addColumn<bool>("regenerate");
        QTest::addColumn<QString>("expectedTitle");
        QTest::addColumn<QString>("expectedArtist");

        QTest::newRow("video-concert-replaced") << u"video"_s << MusicVideo << u"Rock Concert At Night"_s << false
                                                << u"The Band - First Song"_s << u"The Band"_s;
        QTest::newRow("video-beach-holiday-stays") << u"video"_s << MusicVideo << u"Beach Holiday Sunset"_s << false
                                                   << u"Beach Holiday Sunset"_s << u"The Band"_s;
        QTest::newRow("video-artist-without-track-replaced") << u"video"_s << MusicVideo << u"The Band On Stage"_s
                                                             << false << u"The Band - First Song"_s << u"The Band"_s;
        QTest::newRow("video-artist-with-track-stays") << u"video"_s << MusicVideo << u"The Band First Song Rehearsal"_s
                                                       << false << u"The Band First Song Rehearsal"_s << u"The Band"_s;
        QTest::newRow("video-concertina-is-no-concert") << u"video"_s << MusicVideo << u"Concertina Workshop"_s << false
                                                        << u"Concertina Workshop"_s << u"The Band"_s;
        QTest::newRow("audio-preferred-filename-title")
            << u"audio"_s << TaggedSong << u"Guitar Song"_s << false << u"The Band - First Song"_s << u"The Band"_s;
        QTest::newRow("regeneration-keeps-model-title")
            << u"audio"_s << TaggedSong << u"Guitar Song"_s << true << u"Guitar Song"_s << u"The Band"_s;
        QTest::newRow("rejected-title-kept-out")
            << u"audio"_s << TaggedSong + u"\n"_s << u"Guitar Song"_s << false << u"Guitar Song"_s << u"The Band"_s;
        QTest::newRow("placeholders-count-as-absent")
            << u"audio"_s << u"Preferred filename title: n/a\nArtist: Unknown\n"_s << u"Guitar Song"_s << false
            << u"Guitar Song"_s << QString();
        QTest::newRow("over-long-title-refused") << u"audio"_s << u"Preferred filename title: "_s + QString(121, u'x')
                                                 << u"Guitar Song"_s << false << u"Guitar Song"_s << QString();
        QTest::newRow("documents-untouched")
            << u"text"_s << TaggedSong << u"Guitar Song"_s << false << u"Guitar Song"_s << QString();
    }

    void appliesToLocalAnswer()
    {
        QFETCH(QString, kind);
        QFETCH(QString, text);
        QFETCH(QString, modelTitle);
        QFETCH(bool, regenerate);
        QFETCH(QString, expectedTitle);
        QFETCH(QString, expectedArtist);

        AnalyzeRequest request;
        request.contentKind = kind;
        request.text = text;
        if (regenerate)
            request.regenerate = true;
        if (QByteArray(QTest::currentDataTag()) == "rejected-title-kept-out")
            request.rejectedTitles = QStringList { u"THE BAND - first song"_s };
        ImageAnalysis analysis;
        analysis.title = modelTitle;

        const ImageAnalysis applied = withRecognizedTrack(analysis, request);
        QCOMPARE(applied.title.value_or(QString()), expectedTitle);
        QCOMPARE(applied.detectedFields.value(u"artist"_s), expectedArtist);
    }

    // The fields read back, and the model's own values left in place.
    void fillsOnlyEmptyFields()
    {
        AnalyzeRequest request;
        request.contentKind = u"audio"_s;
        request.text = TaggedSong;
        ImageAnalysis analysis;
        analysis.title = u"Song"_s;
        analysis.detectedFields.insert(u"album"_s, u"Model Album"_s);
        const ImageAnalysis applied = withRecognizedTrack(analysis, request);
        QCOMPARE(applied.detectedFields.value(u"album"_s), u"Model Album"_s);
        QCOMPARE(applied.detectedFields.value(u"track_title"_s), u"First Song"_s);
        QCOMPARE(applied.detectedFields.value(u"release_year"_s), u"2019"_s);

        ImageAnalysis failed = analysis;
        failed.error = u"Local AI returned invalid JSON"_s;
        QCOMPARE(withRecognizedTrack(failed, request), failed);
    }
};

} // namespace Nomly

QTEST_GUILESS_MAIN(Nomly::RecognizedAudioTrackTest)
#include "recognizedaudiotracktest.moc"
