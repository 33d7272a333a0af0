#pragma once

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QString>
#include <optional>

#include "settings/analysissettings.h"
#include "settings/effectiveanalysissettings.h"
#include "settings/settings.h"

namespace Nomly {

// The options that describe a template on the command line: --pattern,
// --style, --word-separator, --block-separator and --date-format.
class TemplateOptions final
{
public:
    explicit TemplateOptions(QCommandLineParser &parser);

    // The template the options describe, or an error text for a bad value.
    std::optional<AnalysisSettings> read(const QCommandLineParser &parser, QString *error) const;

    // The settings a file gets under `preset` over `global`. A block
    // separator given here rewrites every gap of the pattern, as the template
    // editor does when each gap is changed.
    static EffectiveAnalysisSettings resolve(const Settings &global, const AnalysisSettings &preset);

private:
    QCommandLineOption m_pattern;
    QCommandLineOption m_style;
    QCommandLineOption m_wordSeparator;
    QCommandLineOption m_blockSeparator;
    QCommandLineOption m_dateFormat;
};

} // namespace Nomly
