#pragma once

#include <QDeadlineTimer>
#include <QString>
#include <memory>
#include <optional>
#include <stop_token>

#include "content/pcmaudio.h"
#include "content/speechrecognition.h"

namespace Nomly {

// Speech recognition on this machine with pocketsphinx and the acoustic
// model, language model and dictionary installed for one locale. Models are
// looked up at run time under the folder named by NOMLY_POCKETSPHINX_MODEL_DIR
// when it is set, else under "pocketsphinx/model" in the system data folders;
// a locale "ll_RR" reads the folder "ll-rr" (a bare "ll" the first "ll-*").
// One recogniser decodes one stretch of sound at a time.
class SpeechRecognizer final
{
public:
    // The sample rate `recognize` expects.
    static constexpr int SampleRate = 16000;

    // None when no model for the locale is installed or it cannot be loaded.
    static std::optional<SpeechRecognizer> forLocale(const QString &locale);

    SpeechRecognizer(SpeechRecognizer &&) noexcept;
    SpeechRecognizer &operator=(SpeechRecognizer &&) noexcept;
    ~SpeechRecognizer();

    QString locale() const { return m_locale; }

    // Decodes the sound, which must be mono at `SampleRate`, as one
    // utterance. When the deadline passes or the stop is asked for, decoding
    // ends where it is and keeps what it heard so far.
    SpeechRecognition recognize(const PCMAudio &audio16k, QDeadlineTimer deadline, std::stop_token stop = {});

private:
    struct Engine;

    SpeechRecognizer(std::unique_ptr<Engine> engine, QString locale);

    std::unique_ptr<Engine> m_engine;
    QString m_locale;
};

} // namespace Nomly
