#pragma once

#include <QString>
#include <optional>

namespace Nomly {

// The outcome of transcribing a sound file on this machine.
struct LocalSpeechTranscript
{
    // The block the model reads; none when nothing reliable was heard.
    std::optional<QString> text;
    // The words heard, cleaned, also when they were refused.
    QString transcript;
    // Why there is no text, for a person reading `nomly inspect`; empty when
    // there is.
    QString reason;

    bool operator==(const LocalSpeechTranscript &) const = default;
};

} // namespace Nomly
