#pragma once

#include "platform/diagnosticsvocabulary.h"

namespace Nomly {

struct Settings;

// What every product event carries: the program's version, the AI route and
// the user's progress through set-up, as words. Nothing of a key but whether
// one is stored.
DiagnosticsParameters diagnosticsCommonParameters(const Settings &settings,
                                                  bool onboardingComplete,
                                                  bool consentGranted);

// The provider that answers now: "off", "ollama", the user's own provider,
// or "gemini" for the hosted service.
QString effectiveAIProviderWord(const Settings &settings);

} // namespace Nomly
