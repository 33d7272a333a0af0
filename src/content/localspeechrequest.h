#pragma once

#include <QString>
#include <QStringList>
#include <chrono>
#include <optional>

namespace Nomly {

// A sound file to transcribe on this machine, with what the choice of locale
// and the reliability rules read.
struct LocalSpeechRequest
{
    QString path;
    // The name the reliability rules read: words like "memo" or "meeting"
    // promise speech.
    QString filename;
    // The whole file's length, when known.
    std::optional<double> durationSeconds;
    // The content's language, tried first ("de", "en-GB").
    QString language;
    // The user's preferred languages, in their order.
    QStringList preferredLanguages;
    // The system locale ("en_US").
    QString localeName;
    // How long recognition may take for each locale tried.
    std::chrono::milliseconds timeLimit { 35'000 };

    bool operator==(const LocalSpeechRequest &) const = default;
};

} // namespace Nomly
