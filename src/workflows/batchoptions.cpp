#include "workflows/batchoptions.h"

#include "naming/namingpattern.h"

namespace Nomly {

AnalyzeBatchOptions batchOptionsFor(const Settings &settings, const EffectiveAnalysisSettings &effective)
{
    AnalyzeBatchOptions options;
    options.aiProcessingMode = settings.aiProcessingMode;
    options.byokEnabled = settings.byokEnabled;
    // The chosen provider counts only with a key saved for it; without one
    // the call goes the hosted way rather than fail for a missing key.
    if (settings.byokEnabled && settings.hasApiKey(settings.aiProvider)) {
        options.aiProvider = settings.aiProvider;
        options.byokModel = settings.byokModel(settings.aiProvider);
    }
    options.localAIEndpoint = settings.localAIEndpoint;
    options.localAIModel = settings.localAIModel;
    options.outputLanguage = effective.outputLanguage;
    options.renamePromptOverride = effective.renamePromptOverride;
    options.tagPromptOverride = effective.tagPromptOverride;
    options.outputOptions.includeTags = effective.addFinderTags;
    options.outputOptions.includeDescription = effective.addSpotlightMetadata;
    if (const QStringList fields = requestedDetectedFields(effective.namingPattern); !fields.isEmpty())
        options.requestedFieldKeys = fields;
    return options;
}

ExtractionOptions extractionOptionsFor(const RemoteConfig &remote, const Settings &settings)
{
    ExtractionOptions options;
    options.pdfTextExtractionEnabled = remote.pdfTextExtractionEnabled;
    options.iWorkOnlinePreviewsEnabled = settings.iWorkOnlinePreviewsEnabled;
    options.imageExtensions = remote.imageExtensions;
    options.designExtensions = remote.designExtensions;
    return options;
}

} // namespace Nomly
