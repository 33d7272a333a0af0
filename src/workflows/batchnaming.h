#pragma once

#include <QDateTime>
#include <QSet>
#include <QString>
#include <optional>

#include "ai/analyzebatchoptions.h"
#include "ai/imageanalysis.h"
#include "settings/effectiveanalysissettings.h"

namespace Nomly {

// How AI Rename turns analyses into names and names into destinations. Reads
// the file's facts and its folder; call it off the main thread.
namespace BatchNaming {

// The title a metadata-only name is rendered with: when it shows up in the
// name, the pattern needed a real title after all.
inline constexpr char16_t TitleSentinel[] = u"nomlylocaltitlefallbacksentinel";

// The route name that goes with an answer into the history: what the route
// says it used, else the local model, the user's own provider, or the hosted
// default.
QString routeName(const AnalyzeBatchOptions &options, const std::optional<QString> &effectiveProvider);

// The name the pattern renders for the file with the analysis, free in its
// folder at this moment (so a name taken there already shows its suffix),
// without the file's extension. Empty when no name can be made.
QString suggestedName(const QString &path,
                      const ImageAnalysis &analysis,
                      const EffectiveAnalysisSettings &settings,
                      const QDateTime &now);

// The name a pattern that needs no AI gives the file; none when the pattern
// turned out to need a real title for it.
std::optional<QString> metadataOnlyName(const QString &path,
                                        const EffectiveAnalysisSettings &settings,
                                        const QDateTime &now);

// A name the user or the AI gave, made safe for the file system (spaces
// kept). Empty when nothing is left.
QString sanitizedName(const QString &name);

// The destination of a file in `folder` named `base` plus the extension,
// given the destinations that earlier files of the same run reserved
// (resolved paths): the name itself when free (or the file's own), else with
// "_1" to "_1000", else with eight random characters. Compares exactly, so
// names differing in case are different names.
QString reservedDestination(const QString &base,
                            const QString &extension,
                            const QString &folder,
                            const QString &ownPath,
                            const QSet<QString> &reserved);

} // namespace BatchNaming

} // namespace Nomly
