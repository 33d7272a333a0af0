#pragma once

#include <utility>
#include <vector>

#include "content/songrecognizer.h"

namespace Nomly {

// A recogniser over a catalogue held in memory: a fingerprint matches an
// entry when, lined up at its best offset, few of their bits differ.
// Entries are added before the catalogue is shared; matching only reads.
class FingerprintCatalogue final : public SongRecognizer
{
public:
    void add(AudioFingerprint fingerprint, RecognizedMediaItem item);

    std::optional<RecognizedMediaItem> match(const AudioFingerprint &fingerprint) const override;

private:
    std::vector<std::pair<AudioFingerprint, RecognizedMediaItem>> m_entries;
};

} // namespace Nomly
