#pragma once

#include <stop_token>

#include "content/localspeechrequest.h"
#include "content/localspeechtranscript.h"

namespace Nomly {

// Speech in a sound or video file, transcribed on this machine so that the
// sound never leaves it. The first 55 seconds are recognised, in the first of
// the candidate locales that has a recogniser and hears a reliable
// transcript. A file of unknown length or longer than that window is cut to
// a temporary WAVE file first, which is gone when the call returns, whatever
// happened. Runs synchronously: the caller picks the thread.
class LocalSpeechTranscriber final
{
public:
    LocalSpeechTranscriber() = delete;

    static LocalSpeechTranscript transcribe(const LocalSpeechRequest &request, std::stop_token stop = {});
};

} // namespace Nomly
