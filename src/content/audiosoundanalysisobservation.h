#pragma once

#include <QString>

namespace Nomly {

// One label the sound classifier heard in one window of sound, with how sure
// it is (0 to 1).
struct AudioSoundAnalysisObservation
{
    QString identifier;
    double confidence = 0;

    bool operator==(const AudioSoundAnalysisObservation &) const = default;
};

} // namespace Nomly
