#pragma once

#include <QString>

namespace Nomly {

// A label gathered over all windows of a sound: how sure the classifier was
// on average and at most, and in how many windows it heard it.
struct AudioSoundAnalysisLabel
{
    QString identifier;
    double averageConfidence = 0;
    double peakConfidence = 0;
    int occurrenceCount = 0;

    bool operator==(const AudioSoundAnalysisLabel &) const = default;
};

} // namespace Nomly
