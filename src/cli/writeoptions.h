#pragma once

#include <QCommandLineOption>
#include <QCommandLineParser>

#include "settings/effectiveanalysissettings.h"

namespace Nomly {

class ProcessAnalyzedFileUseCase;

// The options that turn metadata writing on for one call, --write-tags and
// --write-comment, and the binding of a rename to the profile under the
// settings the call resolved.
class WriteOptions final
{
public:
    explicit WriteOptions(QCommandLineParser &parser);

    // `settings` with writing turned on where a flag asks; the settings may
    // have it on already.
    EffectiveAnalysisSettings applied(const QCommandLineParser &parser, EffectiveAnalysisSettings settings) const;

    // Every file of the call renames under `settings`.
    static void bind(ProcessAnalyzedFileUseCase &useCase, const EffectiveAnalysisSettings &settings);

private:
    QCommandLineOption m_writeTags;
    QCommandLineOption m_writeComment;
};

} // namespace Nomly
