#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "content/pcmaudio.h"

namespace Nomly {

// A Chromaprint fingerprint of a stretch of sound: one 32-bit item per
// fixed step of time, each item describing how the pitch classes of the
// sound change around it. Two recordings of the same music give items that
// differ in few bits where they line up.
struct AudioFingerprint
{
    std::vector<uint32_t> raw;
    // The length of the sound the fingerprint describes.
    double durationSeconds = 0;
    // The step of time between two items.
    double itemSeconds = 0;

    // None when the sound is too short or too odd for the fingerprinter.
    static std::optional<AudioFingerprint> of(const PCMAudio &audio);

    // The items that describe `lengthSeconds` of sound from `startSeconds`,
    // held within the fingerprint.
    AudioFingerprint slice(double startSeconds, double lengthSeconds) const;

    bool operator==(const AudioFingerprint &) const = default;
};

} // namespace Nomly
