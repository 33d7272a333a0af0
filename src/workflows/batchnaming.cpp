#include "workflows/batchnaming.h"

#include <QFileInfo>

#include "content/patternmetadatareader.h"
#include "naming/builtinextensions.h"
#include "naming/filerenamer.h"
#include "naming/nametext.h"
#include "platform/canonicalpath.h"
#include "workflows/analysisrenderinput.h"

namespace Nomly::BatchNaming {

namespace {

// The last component of a destination without the extension the source has;
// a file without one keeps its whole name.
QString withoutExtension(const QString &destination, const QString &sourcePath)
{
    const QString name = QFileInfo(destination).fileName();
    const QString extension = FileRenamer::extensionOf(sourcePath);
    if (extension.isEmpty() || !name.endsWith(u'.' + extension))
        return name;
    return name.chopped(extension.size() + 1);
}

QString renderedDestination(const QString &path,
                            const ImageAnalysis &analysis,
                            const EffectiveAnalysisSettings &settings,
                            const QDateTime &now)
{
    PatternMetadataOptions factOptions;
    factOptions.dateFormat = settings.dateFormat;
    factOptions.imageExtensions = BuiltInExtensions::image();
    return FileRenamer::destination(
        path, analysisRenderInput(settings, analysis, now, PatternMetadataReader::read(path, factOptions)));
}

} // namespace

QString routeName(const AnalyzeBatchOptions &options, const std::optional<QString> &effectiveProvider)
{
    if (effectiveProvider && !effectiveProvider->isEmpty())
        return *effectiveProvider;
    if (options.usesLocalAI())
        return QStringLiteral("ollama:") + options.localAIModel;
    if (options.byokEnabled && options.aiProvider)
        return rawValue(*options.aiProvider);
    return QStringLiteral("gemini");
}

QString suggestedName(const QString &path,
                      const ImageAnalysis &analysis,
                      const EffectiveAnalysisSettings &settings,
                      const QDateTime &now)
{
    const QString destination = renderedDestination(path, analysis, settings, now);
    return destination.isEmpty() ? QString() : withoutExtension(destination, path);
}

std::optional<QString> metadataOnlyName(const QString &path,
                                        const EffectiveAnalysisSettings &settings,
                                        const QDateTime &now)
{
    ImageAnalysis sentinel;
    sentinel.title = QString::fromUtf16(TitleSentinel);
    const QString name = suggestedName(path, sentinel, settings, now);
    if (name.isEmpty() || name.toLower().contains(QString::fromUtf16(TitleSentinel)))
        return std::nullopt;
    return name;
}

QString sanitizedName(const QString &name)
{
    return sanitizeName(name, true).trimmed();
}

QString reservedDestination(const QString &base,
                            const QString &extension,
                            const QString &folder,
                            const QString &ownPath,
                            const QSet<QString> &reserved)
{
    return FileRenamer::freeDestination(
        folder, base, extension, QFileInfo(ownPath).absoluteFilePath(), [&](const QString &candidate) {
            return reserved.contains(canonicalPath(candidate));
        });
}

} // namespace Nomly::BatchNaming
