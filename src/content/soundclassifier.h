#pragma once

#include <QDeadlineTimer>
#include <QList>
#include <stop_token>

#include "content/audiosoundanalysisobservation.h"
#include "content/pcmaudio.h"

namespace Nomly {

// A small classifier of our own that tells what kind of sound a recording
// holds from how it behaves over time: its loudness, how often it crosses
// zero, how noise-like or tonal its spectrum is, how much of it is voiced
// and how fast its spectrum changes. It hears "speech", "music", "tone",
// "noise" and "silence".
class SoundClassifier final
{
public:
    // The rate the classifier expects its sound at.
    static constexpr int SampleRate = 16000;

    // One observation per label and window of one second, windows half a
    // second apart; labels a window does not show are left out. Sound at
    // another rate gives nothing. Stops early, with what it has, when the
    // stop is asked for or the deadline passes.
    static QList<AudioSoundAnalysisObservation> classify(const PCMAudio &audio16k,
                                                         std::stop_token stop = {},
                                                         QDeadlineTimer deadline = QDeadlineTimer::Forever);
};

} // namespace Nomly
