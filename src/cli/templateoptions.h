#pragma once

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QString>
#include <optional>

#include "settings/analysissettings.h"
#include "settings/effectiveanalysissettings.h"
#include "settings/settings.h"

namespace Nomly {

class CliProfile;

// The options that describe a template on the command line: --pattern,
// --style, --word-separator, --block-separator and --date-format, and where
// a stored template may serve, --template.
class TemplateOptions final
{
public:
    enum class StoredTemplate
    {
        NotOffered,
        Offered,
    };

    explicit TemplateOptions(QCommandLineParser &parser, StoredTemplate storedTemplate = StoredTemplate::NotOffered);

    // The --template argument, a name or an id; empty when not given.
    QString templateName(const QCommandLineParser &parser) const;

    // The template the options describe, or an error text for a bad value.
    std::optional<AnalysisSettings> read(const QCommandLineParser &parser, QString *error) const;

    // The settings a file gets under `preset` over `global`. A block
    // separator given here rewrites every gap of the pattern, as the template
    // editor does when each gap is changed.
    static EffectiveAnalysisSettings resolve(const Settings &global, const AnalysisSettings &preset);

    // The settings files get in this call: the stored settings, under the
    // stored template that --template names, under `given`. None, with
    // `error` set, when the named template does not exist.
    std::optional<EffectiveAnalysisSettings> effectiveSettings(const QCommandLineParser &parser,
                                                               CliProfile &profile,
                                                               const AnalysisSettings &given,
                                                               QString *error) const;

    // `base` with every field the command line gave put over it.
    static AnalysisSettings overlaid(AnalysisSettings base, const AnalysisSettings &given);

private:
    // The template the call renames with: `given` over the stored template
    // that --template names, or `given` alone without one. None, with
    // `error` set, when the named template does not exist.
    std::optional<AnalysisSettings> withStoredTemplate(const QCommandLineParser &parser,
                                                       CliProfile &profile,
                                                       const AnalysisSettings &given,
                                                       QString *error) const;

    QCommandLineOption m_template;
    QCommandLineOption m_pattern;
    QCommandLineOption m_style;
    QCommandLineOption m_wordSeparator;
    QCommandLineOption m_blockSeparator;
    QCommandLineOption m_dateFormat;
};

} // namespace Nomly
