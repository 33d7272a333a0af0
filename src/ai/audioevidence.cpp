#include "ai/audioevidence.h"

#include <QDeadlineTimer>

#include "content/audiounderstanding.h"
#include "content/localspeechtranscriber.h"
#include "content/mediainput.h"
#include "content/songrecognizer.h"
#include "content/soundlabels.h"
#include "platform/logcategories.h"

namespace Nomly {

namespace {

constexpr int DurationProbeMilliseconds = 3'000;

std::optional<double> durationOf(const QString &path, std::stop_token stop)
{
    const std::optional<MediaInput> input = MediaInput::open(path, QDeadlineTimer(DurationProbeMilliseconds), stop);
    return input ? input->durationSeconds() : std::nullopt;
}

bool uploadEligible(const FileAudioAnalysisPayload &payload, const AudioEvidenceRoute &route)
{
    return !route.local && (!route.byokEnabled || route.byokUsable) && payload.sizeBytes && *payload.sizeBytes >= 1
        && *payload.sizeBytes <= AudioUploadMaxBytes;
}

} // namespace

AudioEvidence gatherAudioEvidence(const FileAudioAnalysisPayload &payload,
                                  const AudioEvidenceRoute &route,
                                  const SongRecognizer &recognizer,
                                  std::stop_token stop)
{
    AudioEvidence evidence;
    const QString &path = payload.originalPath;
    evidence.durationSeconds = durationOf(path, stop);
    if (payload.text)
        return evidence;
    if (payload.embeddedMetadataText) {
        evidence.source = AudioEvidenceSource::EmbeddedMetadata;
        evidence.text = payload.embeddedMetadataText;
        return evidence;
    }

    if (uploadEligible(payload, route)) {
        evidence.upload = true;
        if (AudioUnderstanding::shouldProbeForSpeech(payload.filename, evidence.durationSeconds)
            && labelsIndicateSpeech(AudioUnderstanding::speechProbeLabels(path, evidence.durationSeconds, stop))) {
            qCInfo(lcAI).noquote() << "Skipping fingerprint recognition because sound classification indicates speech:"
                                   << path;
            return evidence;
        }
    }
    if (std::optional<QString> song
        = AudioUnderstanding::songRecognitionText(path, QStringLiteral("audio file"), recognizer, stop)) {
        evidence = { AudioEvidenceSource::SongRecognition, std::move(song), false, evidence.durationSeconds };
        return evidence;
    }
    if (std::optional<QString> sounds = AudioUnderstanding::soundClassificationText(path, stop)) {
        evidence = { AudioEvidenceSource::SoundClassification, std::move(sounds), false, evidence.durationSeconds };
        return evidence;
    }
    if (route.local) {
        LocalSpeechRequest request;
        request.path = path;
        request.filename = payload.filename;
        request.durationSeconds = evidence.durationSeconds;
        request.language = route.language;
        request.preferredLanguages = route.preferredLanguages;
        request.localeName = route.localeName;
        if (LocalSpeechTranscript heard = LocalSpeechTranscriber::transcribe(request, stop); heard.text) {
            evidence.source = AudioEvidenceSource::LocalTranscript;
            evidence.text = std::move(heard.text);
        }
    }
    return evidence;
}

} // namespace Nomly
