#include <QtTest>
#include <optional>

#include "content/transcriptreliability.h"

using namespace Qt::StringLiterals;

namespace Nomly {

namespace {

// -1 stands for a length the container did not state.
std::optional<double> known(double seconds)
{
    return seconds < 0 ? std::nullopt : std::optional<double>(seconds);
}

} // namespace

class TranscriptReliabilityTest : public QObject
{
    Q_OBJECT

private slots:

    void unreliabilityReason_data()
    {
        QTest::addColumn<QString>("transcript");
        QTest::addColumn<double>("duration");
        QTest::addColumn<QString>("filename");
        QTest::addColumn<QString>("reason");

        const QString empty = u"empty speech-to-text result"_s;
        const QString stock = u"matches a common speech-to-text false-positive pattern"_s;
        const QString veryShort = u"very short audio clip with too little transcript context"_s;
        const QString fragment = u"short audio clip with fragmentary transcript context"_s;

        QTest::newRow("nothing") << u""_s << 30.0 << u"a.wav"_s << empty;
        QTest::newRow("punctuation-is-no-word") << u"... ?!"_s << 30.0 << u"a.wav"_s << empty;
        QTest::newRow("stock-phrase-short-clip") << u"thanks for watching"_s << 6.0 << u"a.wav"_s << stock;
        QTest::newRow("stock-phrase-any-case") << u"Thank You For Watching!"_s << 40.0 << u"a.wav"_s << stock;
        QTest::newRow("subtitle-site-credit")
            << u"subtitles by the amara.org community"_s << 40.0 << u"a.wav"_s << stock;
        QTest::newRow("stock-phrase-twelve-words-long-file")
            << u"that was the plan for the garden this spring thanks for watching"_s << 40.0 << u"a.wav"_s << u""_s;
        QTest::newRow("stock-phrase-nine-words-16s")
            << u"we planted tomatoes and beans today thanks for watching"_s << 16.0 << u"a.wav"_s << u""_s;
        QTest::newRow("stock-phrase-eight-words-16s")
            << u"we planted tomatoes and beans thanks for watching"_s << 16.0 << u"a.wav"_s << stock;
        QTest::newRow("stock-phrase-nine-words-exactly-15s")
            << u"we planted tomatoes and beans today thanks for watching"_s << 15.0 << u"a.wav"_s << stock;
        QTest::newRow("stock-phrase-length-unknown")
            << u"we planted tomatoes and beans today thanks for watching"_s << -1.0 << u"a.wav"_s << stock;
        QTest::newRow("stock-phrase-despite-memo-name") << u"transcribed by"_s << 3.0 << u"memo.m4a"_s << stock;
        QTest::newRow("one-word-3s") << u"hello"_s << 3.0 << u"clip.wav"_s << veryShort;
        QTest::newRow("two-words-meeting-name") << u"okay then"_s << 4.0 << u"Team Meeting.m4a"_s << u""_s;
        QTest::newRow("two-words-exactly-5s") << u"okay then"_s << 5.0 << u"clip.wav"_s << veryShort;
        QTest::newRow("apostrophe-inside-word") << u"don't stop"_s << 4.0 << u"clip.wav"_s << veryShort;
        QTest::newRow("curly-apostrophe-inside-word") << u"don\u2019t stop"_s << 4.0 << u"clip.wav"_s << veryShort;
        QTest::newRow("two-words-just-over-5s") << u"okay then"_s << 5.5 << u"clip.wav"_s << fragment;
        QTest::newRow("three-words-5s") << u"see you soon"_s << 5.0 << u"clip.wav"_s << fragment;
        QTest::newRow("three-words-5s-full-stop") << u"see you soon."_s << 5.0 << u"clip.wav"_s << u""_s;
        QTest::newRow("three-words-ellipsis") << u"well I think\u2026"_s << 10.0 << u"clip.wav"_s << u""_s;
        QTest::newRow("three-words-exactly-15s") << u"see you soon"_s << 15.0 << u"clip.wav"_s << fragment;
        QTest::newRow("three-words-over-15s") << u"see you soon"_s << 15.5 << u"clip.wav"_s << u""_s;
        QTest::newRow("one-word-length-unknown") << u"hello"_s << -1.0 << u"clip.wav"_s << u""_s;
        QTest::newRow("digits-are-words") << u"7 42 9"_s << 4.0 << u"clip.wav"_s << fragment;
    }

    void unreliabilityReason()
    {
        QFETCH(QString, transcript);
        QFETCH(double, duration);
        QFETCH(QString, filename);
        QFETCH(QString, reason);
        QCOMPARE(transcriptUnreliabilityReason(transcript, known(duration), filename).value_or(QString()), reason);
    }

    void localeCandidates_data()
    {
        QTest::addColumn<QString>("language");
        QTest::addColumn<QStringList>("preferred");
        QTest::addColumn<QString>("localeName");
        QTest::addColumn<QStringList>("expected");

        QTest::newRow("nothing-given-gives-fallbacks")
            << u""_s << QStringList {} << u""_s
            << QStringList { u"ru_RU"_s, u"uk_UA"_s, u"en_US"_s, u"es_ES"_s, u"de_DE"_s };
        QTest::newRow("case-and-separator-normalised")
            << u" EN-us "_s << QStringList { u"De_de"_s } << u"fr_fr"_s
            << QStringList { u"en_US"_s, u"de_DE"_s, u"fr_FR"_s, u"ru_RU"_s, u"uk_UA"_s };
        QTest::newRow("duplicates-keep-first-place")
            << u"en"_s << QStringList { u"en-US"_s, u"en"_s } << u"en_US"_s
            << QStringList { u"en"_s, u"en_US"_s, u"ru_RU"_s, u"uk_UA"_s, u"es_ES"_s };
        QTest::newRow("long-region-kept-as-written")
            << u"zh-Hans"_s << QStringList { u"es-419"_s } << u""_s
            << QStringList { u"zh_Hans"_s, u"es_419"_s, u"ru_RU"_s, u"uk_UA"_s, u"en_US"_s };
        QTest::newRow("blank-entries-dropped")
            << u"-"_s << QStringList { u""_s, u"  "_s, u"_"_s } << u"it_IT"_s
            << QStringList { u"it_IT"_s, u"ru_RU"_s, u"uk_UA"_s, u"en_US"_s, u"es_ES"_s };
        QTest::newRow("three-unavailable-push-out-english")
            << u"de"_s << QStringList { u"fr"_s } << u"es_ES"_s
            << QStringList { u"de"_s, u"fr"_s, u"es_ES"_s, u"ru_RU"_s, u"uk_UA"_s };
        QTest::newRow("many-preferred-cut-at-five")
            << u"fr"_s << QStringList { u"de"_s, u"it"_s, u"pt-br"_s, u"ja"_s, u"ko"_s } << u"en_US"_s
            << QStringList { u"fr"_s, u"de"_s, u"it"_s, u"pt_BR"_s, u"ja"_s };
    }

    void localeCandidates()
    {
        QFETCH(QString, language);
        QFETCH(QStringList, preferred);
        QFETCH(QString, localeName);
        QFETCH(QStringList, expected);
        QCOMPARE(speechLocaleCandidates(language, preferred, localeName), expected);
    }

    void coverageLine_data()
    {
        QTest::addColumn<double>("covered");
        QTest::addColumn<double>("duration");
        QTest::addColumn<QString>("coverage");

        QTest::newRow("first-55s-of-170s") << 55.0 << 170.0 << u"Transcript coverage: 00:55 of 02:50 (partial)"_s;
        QTest::newRow("covered-unknown-reads-55s")
            << -1.0 << 170.0 << u"Transcript coverage: 00:55 of 02:50 (partial)"_s;
        QTest::newRow("whole-file") << 30.0 << 30.0 << u"Transcript coverage: 00:30 of 00:30"_s;
        QTest::newRow("one-second-short-is-whole") << 55.0 << 56.0 << u"Transcript coverage: 00:55 of 00:56"_s;
        QTest::newRow("over-a-second-short-is-partial")
            << 55.0 << 56.5 << u"Transcript coverage: 00:55 of 00:57 (partial)"_s;
        QTest::newRow("over-an-hour") << 55.0 << 3725.0 << u"Transcript coverage: 00:55 of 62:05 (partial)"_s;
        QTest::newRow("length-unknown") << 55.0 << -1.0 << u""_s;
        QTest::newRow("length-zero") << 55.0 << 0.0 << u""_s;
    }

    void coverageLine()
    {
        QFETCH(double, covered);
        QFETCH(double, duration);
        QFETCH(QString, coverage);
        const QStringList lines = speechTranscriptText(u"words"_s, u"en_US"_s, known(covered), known(duration))
                                      .split(u'\n')
                                      .filter(QRegularExpression(u"^Transcript coverage"_s));
        QCOMPARE(lines.value(0), coverage);
        QVERIFY(lines.size() <= 1);
    }

    // The model reads the block as a whole: the transcript sits between its
    // label and the instructions, and the source names the locale heard.
    void blockLayout()
    {
        QCOMPARE(speechTranscriptText(u"the meeting starts at nine"_s, u"en_US"_s, 12.0, 12.0),
                 u"Audio speech transcript\n"
                 "Transcript source: local pocketsphinx on-device recognition (en_US)\n"
                 "Transcript coverage: 00:12 of 00:12\n"
                 "Transcript:\n"
                 "the meeting starts at nine\n"
                 "Use this transcript as the primary spoken-content signal for the audio file.\n"
                 "Do not infer song titles, artists, or exact source names unless metadata or fingerprint "
                 "recognition provides them."_s);
    }
};

} // namespace Nomly

QTEST_GUILESS_MAIN(Nomly::TranscriptReliabilityTest)
#include "transcriptreliabilitytest.moc"
