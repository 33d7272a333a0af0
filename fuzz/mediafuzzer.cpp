// Sound and video files as FFmpeg's libraries read them for us: stills taken
// at their positions, and a window of their sound decoded, classified and
// fingerprinted.

#include <QDeadlineTimer>

#include "content/audiofingerprint.h"
#include "content/pcmaudio.h"
#include "content/soundclassifier.h"
#include "content/videoframesampler.h"
#include "fuzzfile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const Nomly::Fuzz::FuzzFile file("input.mp4", data, size);
    Nomly::VideoFrameSampler::sample(file.path(), 2, 64, 0.5);
    const auto sound = Nomly::decodeAudio(file.path(), { 0, 5 }, 16000, QDeadlineTimer(2000));
    if (sound.ok()) {
        Nomly::SoundClassifier::classify(sound.value());
        Nomly::AudioFingerprint::of(sound.value());
    }
    return 0;
}
