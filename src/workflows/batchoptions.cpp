#include "workflows/batchoptions.h"

#include "ai/cloudproviderendpoint.h"
#include "naming/namingpattern.h"

namespace Nomly {

AnalyzeBatchOptions batchOptionsFor(const Settings &settings, const EffectiveAnalysisSettings &effective)
{
    AnalyzeBatchOptions options;
    options.aiProcessingMode = settings.aiProcessingMode;
    // A vendor counts only with a key saved for it; without one the call
    // goes the hosted way rather than fail for a missing key.
    const std::optional<AIProvider> own = settings.ownProvider();
    options.byokEnabled = settings.byokEnabled || own == AIProvider::OpenAICompatible;
    if (own) {
        options.aiProvider = own;
        options.byokModel = settings.byokModel(*own);
        if (own == AIProvider::OpenAICompatible)
            options.providerBaseUrl = cloudProviderBaseUrl(*own, settings.openaiCompatibleBaseUrl);
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
