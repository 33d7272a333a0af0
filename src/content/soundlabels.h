#pragma once

#include <QList>
#include <QString>
#include <optional>

#include "content/audiosoundanalysislabel.h"
#include "content/audiosoundanalysisobservation.h"

namespace Nomly {

// The observations of all windows gathered per label: weak and broken ones
// left out, only labels heard clearly enough kept, the surest first, at most
// six.
QList<AudioSoundAnalysisLabel> reducedSoundLabels(const QList<AudioSoundAnalysisObservation> &observations);

// Whether the labels say someone speaks: a clear speech label that music
// does not drown out. Spoken sound is better served by a transcript than by
// a song match.
bool labelsIndicateSpeech(const QList<AudioSoundAnalysisLabel> &labels);

// Whether the labels may describe a sound to the model in place of a
// transcript: no speech heard, and some other label heard clearly.
bool labelsQualifyAsNonSpeech(const QList<AudioSoundAnalysisLabel> &labels);

// The labels as "speech=93%, music=12%" for the log.
QString soundLabelSummary(const QList<AudioSoundAnalysisLabel> &labels);

// The text that tells the model what kind of sound the file holds, none
// when the labels do not qualify as a non-speech description.
std::optional<QString> soundClassificationText(const QList<AudioSoundAnalysisLabel> &labels);

} // namespace Nomly
