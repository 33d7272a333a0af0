#include <QtTest>
#include <limits>

#include "content/soundlabels.h"

using namespace Qt::StringLiterals;

namespace Nomly {

using Observations = QList<AudioSoundAnalysisObservation>;
using Labels = QList<AudioSoundAnalysisLabel>;

namespace {

// A label heard in one window.
AudioSoundAnalysisLabel heard(const QString &identifier, double peak, double average = -1)
{
    return { identifier, average < 0 ? peak : average, peak, 1 };
}

} // namespace

class SoundLabelsTest : public QObject
{
    Q_OBJECT

private slots:

    void reduces_data()
    {
        QTest::addColumn<Observations>("observations");
        QTest::addColumn<Labels>("expected");

        constexpr double nan = std::numeric_limits<double>::quiet_NaN();
        constexpr double infinity = std::numeric_limits<double>::infinity();
        QTest::newRow("broken-observations-skipped")
            << Observations { { u""_s, 0.9 },       { u"  "_s, 0.9 }, { u"a"_s, nan },
                              { u"a"_s, infinity }, { u"a"_s, -0.5 }, { u"a"_s, 0 } }
            << Labels {};
        QTest::newRow("capped-at-one") << Observations { { u"music"_s, 1.7 } }
                                       << Labels { { u"music"_s, 1.0, 1.0, 1 } };
        QTest::newRow("identifier-trimmed-and-merged") << Observations { { u" tone "_s, 0.4 }, { u"tone"_s, 0.2 } }
                                                       << Labels { { u"tone"_s, (0.4 + 0.2) / 2, 0.4, 2 } };
        QTest::newRow("floor-keeps-0.08")
            << Observations { { u"a"_s, 0.08 }, { u"a"_s, 0.3 } } << Labels { { u"a"_s, (0.08 + 0.3) / 2, 0.3, 2 } };
        QTest::newRow("floor-drops-below-0.08")
            << Observations { { u"a"_s, 0.079 }, { u"a"_s, 0.3 } } << Labels { { u"a"_s, 0.3, 0.3, 1 } };
        QTest::newRow("kept-at-peak-0.18") << Observations { { u"a"_s, 0.18 }, { u"a"_s, 0.08 }, { u"a"_s, 0.08 } }
                                           << Labels { { u"a"_s, (0.18 + 0.08 + 0.08) / 3, 0.18, 3 } };
        QTest::newRow("dropped-below-peak-and-average")
            << Observations { { u"a"_s, 0.17 }, { u"a"_s, 0.08 }, { u"a"_s, 0.08 } } << Labels {};
        QTest::newRow("kept-at-average-0.12")
            << Observations { { u"a"_s, 0.12 } } << Labels { { u"a"_s, 0.12, 0.12, 1 } };
        QTest::newRow("sorted-by-peak-then-average")
            << Observations { { u"a"_s, 0.5 }, { u"a"_s, 0.1 }, { u"b"_s, 0.9 }, { u"c"_s, 0.5 } }
            << Labels { { u"b"_s, 0.9, 0.9, 1 }, { u"c"_s, 0.5, 0.5, 1 }, { u"a"_s, (0.5 + 0.1) / 2, 0.5, 2 } };
        Observations eight;
        Labels six;
        for (int i = 0; i < 8; ++i) {
            eight.append({ QString::number(i), 0.2 + 0.1 * i });
            if (i >= 2)
                six.prepend({ QString::number(i), 0.2 + 0.1 * i, 0.2 + 0.1 * i, 1 });
        }
        QTest::newRow("six-kept") << eight << six;
    }

    void reduces()
    {
        QFETCH(Observations, observations);
        QFETCH(Labels, expected);
        const Labels labels = reducedSoundLabels(observations);
        QVERIFY2(labels == expected, qPrintable(soundLabelSummary(labels)));
    }

    void judgesSpeech_data()
    {
        QTest::addColumn<Labels>("labels");
        QTest::addColumn<bool>("speech");
        QTest::addColumn<bool>("nonSpeech");

        QTest::newRow("none") << Labels {} << false << false;
        QTest::newRow("music-0.85-drowns-speech-0.9")
            << Labels { heard(u"speech"_s, 0.9), heard(u"music"_s, 0.85) } << false << false;
        QTest::newRow("music-0.7-leaves-speech-0.9")
            << Labels { heard(u"speech"_s, 0.9), heard(u"music"_s, 0.7) } << true << false;
        QTest::newRow("music-0.75-drowns-speech-0.8")
            << Labels { heard(u"speech"_s, 0.8), heard(u"music"_s, 0.75) } << false << false;
        QTest::newRow("music-0.8-below-speech-1.0")
            << Labels { heard(u"speech"_s, 1.0), heard(u"music"_s, 0.8) } << true << false;
        QTest::newRow("underscored-music-word")
            << Labels { heard(u"speech"_s, 0.95), heard(u"Plucked_String"_s, 0.9) } << false << false;
        QTest::newRow("speech-peak-0.7") << Labels { heard(u"Speech"_s, 0.7, 0.2) } << true << false;
        QTest::newRow("speech-peak-0.69") << Labels { heard(u"speech"_s, 0.69, 0.44) } << false << false;
        QTest::newRow("speech-average-0.45") << Labels { heard(u"speech"_s, 0.6, 0.45) } << true << false;
        QTest::newRow("voice-is-speech") << Labels { heard(u"female_voice"_s, 0.8) } << true << false;
        QTest::newRow("five-labels-speech-0.5") << Labels { heard(u"music"_s, 0.9),
                                                            heard(u"tone"_s, 0.8),
                                                            heard(u"noise"_s, 0.7),
                                                            heard(u"silence"_s, 0.6),
                                                            heard(u"speech"_s, 0.5) }
                                                << false << false;
        QTest::newRow("speech-0.39-under-music")
            << Labels { heard(u"music"_s, 0.9), heard(u"speech"_s, 0.39, 0.24) } << false << true;
        QTest::newRow("speech-average-0.25")
            << Labels { heard(u"music"_s, 0.9), heard(u"speech"_s, 0.3, 0.25) } << false << false;
        QTest::newRow("other-peak-0.3") << Labels { heard(u"tone"_s, 0.3, 0.1) } << false << true;
        QTest::newRow("other-average-0.18") << Labels { heard(u"tone"_s, 0.2, 0.18) } << false << true;
        QTest::newRow("other-too-weak") << Labels { heard(u"tone"_s, 0.29, 0.17) } << false << false;
    }

    void judgesSpeech()
    {
        QFETCH(Labels, labels);
        QFETCH(bool, speech);
        QFETCH(bool, nonSpeech);
        QCOMPARE(labelsIndicateSpeech(labels), speech);
        QCOMPARE(labelsQualifyAsNonSpeech(labels), nonSpeech);
        QCOMPARE(soundClassificationText(labels).has_value(), nonSpeech);
    }

    // The whole text, as the model reads it: percentages clamped and
    // rounded, one line per label.
    void writesTheClassificationText()
    {
        const Labels labels { { u"silence"_s, 0.456, 1.3, 9 }, { u"tone"_s, -0.2, 0.2, 1 } };
        QCOMPARE(soundClassificationText(labels).value_or(QString()),
                 u"Local sound classification\n"
                 "Detected sound labels (not an exact track identification):\n"
                 "- silence (peak 100%, average 46%, windows 9)\n"
                 "- tone (peak 20%, average 0%, windows 1)\n"
                 "Use these labels as weak acoustic-content hints for a no-name audio asset, jingle, sound effect, "
                 "instrument sample, loop, ambience, or music cue.\n"
                 "This is not a fingerprint track match and not a speech transcript.\n"
                 "Do not invent a song title, artist, brand, spoken content, voice memo, meeting, podcast, lecture, "
                 "or webinar unless another reliable context source provides it."_s);
    }
};

} // namespace Nomly

QTEST_GUILESS_MAIN(Nomly::SoundLabelsTest)
#include "soundlabelstest.moc"
