#include "settings/effectiveanalysissettings.h"

#include <QHash>

#include "naming/nametext.h"
#include "settings/namingderivation.h"

namespace Nomly {

namespace {

// The layers above the global record, highest first, with the absent ones
// left out.
class Layers
{
public:
    Layers(const std::optional<AnalysisSettings> &preset, const std::optional<AnalysisSettings> &folderOverride)
    {
        if (preset)
            m_layers.append(&*preset);
        if (folderOverride)
            m_layers.append(&*folderOverride);
    }

    // The highest layer's value of a field, or the fallback when no layer has it.
    template<typename T> T pick(std::optional<T> AnalysisSettings::*field, const T &fallback) const
    {
        if (auto value = first(field))
            return *value;
        return fallback;
    }

    template<typename T> std::optional<T> first(std::optional<T> AnalysisSettings::*field) const
    {
        for (const AnalysisSettings *layer : m_layers) {
            if ((layer->*field).has_value())
                return layer->*field;
        }
        return std::nullopt;
    }

    const QList<const AnalysisSettings *> &all() const { return m_layers; }

private:
    QList<const AnalysisSettings *> m_layers;
};

NamingPatternSeparator resolveWordSeparator(const Layers &layers,
                                            NamingCaseStyle resolvedStyle,
                                            NamingPatternSeparator globalSeparator)
{
    if (auto chosen = layers.first(&AnalysisSettings::namingWordSeparator))
        return *chosen;
    // Only styles that write their own separator decide; the rest defer to the
    // next candidate.
    for (const AnalysisSettings *layer : layers.all()) {
        if (!layer->namingCaseStyle)
            continue;
        if (auto implied = wordSeparatorImpliedBy(*layer->namingCaseStyle))
            return *implied;
    }
    if (auto implied = wordSeparatorImpliedBy(resolvedStyle))
        return *implied;
    return globalSeparator;
}

NamingPatternSeparator resolveBlockSeparator(const Layers &layers, NamingPatternSeparator globalSeparator)
{
    if (auto chosen = layers.first(&AnalysisSettings::namingBlockSeparator))
        return *chosen;
    for (const AnalysisSettings *layer : layers.all()) {
        if (!layer->namingPattern)
            continue;
        if (auto inferred = blockSeparatorOfPattern(*layer->namingPattern))
            return *inferred;
    }
    return globalSeparator;
}

// The first layer that sets the prompt decides, and an empty text there asks
// for the built-in prompt instead of falling through to the global one.
std::optional<QString> resolvePrompt(const Layers &layers,
                                     std::optional<QString> AnalysisSettings::*field,
                                     const std::optional<QString> &globalPrompt)
{
    const std::optional<QString> chosen = layers.first(field);
    if (!chosen)
        return globalPrompt;
    if (chosen->isEmpty())
        return std::nullopt;
    return chosen;
}

} // namespace

size_t qHash(const EffectiveAnalysisSettings &settings, size_t seed) noexcept
{
    const auto promptHash = [](const std::optional<QString> &prompt) { return prompt ? qHash(*prompt, 1) : 0; };
    return qHashMulti(seed,
                      settings.namingPattern,
                      qToUnderlying(settings.namingCaseStyle),
                      qToUnderlying(settings.namingWordSeparator),
                      qToUnderlying(settings.namingBlockSeparator),
                      settings.dateFormat,
                      settings.outputLanguage,
                      settings.addFinderTags,
                      settings.addSpotlightMetadata,
                      promptHash(settings.renamePromptOverride),
                      promptHash(settings.tagPromptOverride),
                      settings.monitorFilePrefix);
}

EffectiveAnalysisSettings resolveEffectiveAnalysisSettings(const Settings &global,
                                                           const std::optional<AnalysisSettings> &folderOverride,
                                                           const std::optional<AnalysisSettings> &preset)
{
    const Layers layers(preset, folderOverride);

    EffectiveAnalysisSettings effective;
    effective.namingPattern = layers.pick(&AnalysisSettings::namingPattern, global.namingPattern);
    effective.namingCaseStyle = layers.pick(&AnalysisSettings::namingCaseStyle, global.namingCaseStyle);
    effective.namingWordSeparator = resolveWordSeparator(layers, effective.namingCaseStyle, global.namingWordSeparator);
    effective.namingBlockSeparator = resolveBlockSeparator(layers, global.namingBlockSeparator);
    effective.dateFormat = layers.pick(&AnalysisSettings::dateFormat, global.dateFormat);
    effective.outputLanguage = layers.pick(&AnalysisSettings::outputLanguage, global.outputLanguage);
    effective.addFinderTags = layers.pick(&AnalysisSettings::addFinderTags, global.addFinderTags);
    effective.addSpotlightMetadata = layers.pick(&AnalysisSettings::addSpotlightMetadata, global.addSpotlightMetadata);
    effective.renamePromptOverride
        = resolvePrompt(layers, &AnalysisSettings::renamePromptOverride, global.renamePromptOverride);
    effective.tagPromptOverride = resolvePrompt(layers, &AnalysisSettings::tagPromptOverride, global.tagPromptOverride);
    effective.monitorFilePrefix = global.monitorFilePrefix;
    return effective;
}

} // namespace Nomly
