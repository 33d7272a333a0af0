#pragma once

#include "content/songrecognizer.h"

namespace Nomly {

// The recogniser of a machine that has no catalogue of songs to look a
// fingerprint up in: it recognises nothing, so that no track is ever made
// up.
class NoCatalogueSongRecognizer final : public SongRecognizer
{
public:
    std::optional<RecognizedMediaItem> match(const AudioFingerprint &) const override { return std::nullopt; }
};

} // namespace Nomly
