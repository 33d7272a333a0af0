#pragma once

#include <QStringList>

#include "platform/diagnosticsvocabulary.h"

namespace Nomly {

struct Settings;

// What every product event carries: the program's version, the AI route and
// the user's progress through set-up, as words. Nothing of a key but whether
// one is stored.
DiagnosticsParameters diagnosticsCommonParameters(const Settings &settings,
                                                  bool onboardingComplete,
                                                  bool consentGranted);

// What a report is read against, refreshed after each save of the
// settings: the route, the local model's presence and the Monitor filter.
DiagnosticsParameters diagnosticsContext(const Settings &settings);

// The kinds of a set of files, by their extensions: the groups present
// ("image,document"), the group with the most files (the first in group
// order on a tie) and one count per group. Names are read, never recorded.
DiagnosticsParameters fileTypeBreakdown(const QStringList &fileNames);

// The provider that answers now: "off", "ollama", the user's own provider,
// or "gemini" for the hosted service.
QString effectiveAIProviderWord(const Settings &settings);

} // namespace Nomly
