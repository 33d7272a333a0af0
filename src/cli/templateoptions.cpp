#include "cli/templateoptions.h"

#include "cli/cliprofile.h"
#include "naming/namingcasestyle.h"
#include "naming/namingpatterneditor.h"
#include "naming/namingpatternseparator.h"

namespace Nomly {

namespace {

// The pattern with every gap between two blocks set to one separator, as the
// template editor writes it after each gap is changed.
QString withBlockSeparator(const QString &pattern, NamingPatternSeparator separator)
{
    NamingPatternEditor editor;
    editor.load(pattern, {}, QStringLiteral("{title}"));
    for (qsizetype i = 0; i < editor.separators().size(); ++i)
        editor.changeSeparator(i, separator);
    return editor.text();
}

QString choices(const auto &table)
{
    QStringList names;
    for (const auto &[value, raw] : table)
        names.append(QString::fromUtf16(raw));
    return names.join(QStringLiteral(", "));
}

} // namespace

TemplateOptions::TemplateOptions(QCommandLineParser &parser, StoredTemplate storedTemplate)
    : m_template(QStringLiteral("template"),
                 QStringLiteral("A stored template, by name or id ('nomly templates list'); the options below change "
                                "it for this call."),
                 QStringLiteral("NAME|ID"))
    , m_pattern(QStringLiteral("pattern"),
                QStringLiteral("Naming pattern, fields in braces (see 'nomly fields'). Default: {title}."),
                QStringLiteral("TEXT"))
    , m_style(QStringLiteral("style"),
              QStringLiteral("Case style: %1.").arg(choices(NamingCaseStyleRawValues)),
              QStringLiteral("NAME"))
    , m_wordSeparator(QStringLiteral("word-separator"),
                      QStringLiteral("Between the words of a field: %1.").arg(choices(NamingPatternSeparatorNames)),
                      QStringLiteral("NAME"))
    , m_blockSeparator(QStringLiteral("block-separator"),
                       QStringLiteral("Between the fields of a pattern: %1.").arg(choices(NamingPatternSeparatorNames)),
                       QStringLiteral("NAME"))
    , m_dateFormat(QStringLiteral("date-format"),
                   QStringLiteral("Date pattern such as yyyy-MM-dd or dd.MM.yyyy, or iso, dot, long, compact."),
                   QStringLiteral("TEXT"))
{
    if (storedTemplate == StoredTemplate::Offered)
        parser.addOption(m_template);
    parser.addOptions({ m_pattern, m_style, m_wordSeparator, m_blockSeparator, m_dateFormat });
}

QString TemplateOptions::templateName(const QCommandLineParser &parser) const
{
    return parser.optionNames().contains(m_template.names().constFirst()) ? parser.value(m_template) : QString();
}

std::optional<AnalysisSettings> TemplateOptions::read(const QCommandLineParser &parser, QString *error) const
{
    AnalysisSettings settings;
    if (parser.isSet(m_pattern))
        settings.namingPattern = parser.value(m_pattern);
    if (parser.isSet(m_style)) {
        settings.namingCaseStyle = namingCaseStyleFromRaw(parser.value(m_style));
        if (!settings.namingCaseStyle) {
            *error = QStringLiteral("unknown style '%1'; use one of: %2")
                         .arg(parser.value(m_style), choices(NamingCaseStyleRawValues));
            return std::nullopt;
        }
    }
    const std::pair<const QCommandLineOption *, std::optional<NamingPatternSeparator> *> separators[] = {
        { &m_wordSeparator, &settings.namingWordSeparator },
        { &m_blockSeparator, &settings.namingBlockSeparator },
    };
    for (const auto &[option, target] : separators) {
        if (!parser.isSet(*option))
            continue;
        *target = namingPatternSeparatorFromName(parser.value(*option));
        if (!*target) {
            *error
                = QStringLiteral("unknown separator '%1' for --%2; use one of: %3")
                      .arg(parser.value(*option), option->names().constFirst(), choices(NamingPatternSeparatorNames));
            return std::nullopt;
        }
    }
    if (parser.isSet(m_dateFormat)) {
        const QString format = parser.value(m_dateFormat).trimmed();
        if (format.isEmpty()) {
            *error = QStringLiteral("--date-format must not be empty");
            return std::nullopt;
        }
        settings.dateFormat = format;
    }
    return settings;
}

EffectiveAnalysisSettings TemplateOptions::resolve(const Settings &global, const AnalysisSettings &preset)
{
    EffectiveAnalysisSettings effective = resolveEffectiveAnalysisSettings(global, std::nullopt, preset);
    if (preset.namingBlockSeparator)
        effective.namingPattern = withBlockSeparator(effective.namingPattern, *preset.namingBlockSeparator);
    return effective;
}

std::optional<AnalysisSettings> TemplateOptions::withStoredTemplate(const QCommandLineParser &parser,
                                                                    CliProfile &profile,
                                                                    const AnalysisSettings &given,
                                                                    QString *error) const
{
    const QString name = templateName(parser);
    if (name.isEmpty())
        return given;
    const std::optional<Preset> stored = profile.findPreset(name, error);
    if (!stored)
        return std::nullopt;
    return overlaid(stored->settings, given);
}

std::optional<EffectiveAnalysisSettings> TemplateOptions::effectiveSettings(const QCommandLineParser &parser,
                                                                            CliProfile &profile,
                                                                            const AnalysisSettings &given,
                                                                            QString *error) const
{
    const auto chosen = withStoredTemplate(parser, profile, given, error);
    if (!chosen)
        return std::nullopt;
    return resolve(profile.settings(), *chosen);
}

AnalysisSettings TemplateOptions::overlaid(AnalysisSettings base, const AnalysisSettings &given)
{
    const auto over = [](auto &target, const auto &value) {
        if (value)
            target = value;
    };
    over(base.namingPattern, given.namingPattern);
    over(base.namingCaseStyle, given.namingCaseStyle);
    over(base.namingWordSeparator, given.namingWordSeparator);
    over(base.namingBlockSeparator, given.namingBlockSeparator);
    over(base.dateFormat, given.dateFormat);
    // Stored blocks spell out the stored pattern; a pattern given here replaces both.
    if (given.namingPattern)
        base.namingPatternBlocks.reset();
    return base;
}

} // namespace Nomly
