#pragma once

#include <QString>

namespace Nomly {

// What a recogniser heard in one stretch of sound.
struct SpeechRecognition
{
    // The best hypothesis, whitespace as the recogniser left it; empty when
    // it heard no words.
    QString text;
    // Recognition ended early because its deadline passed or a stop was
    // asked for; `text` is then what it had heard up to that point.
    bool timedOut = false;

    bool operator==(const SpeechRecognition &) const = default;
};

} // namespace Nomly
