#include "cli/writeoptions.h"

#include "workflows/processanalyzedfileusecase.h"

namespace Nomly {

WriteOptions::WriteOptions(QCommandLineParser &parser)
    : m_writeTags(QStringLiteral("write-tags"), QStringLiteral("Write the tags to the file (user.xdg.tags)."))
    , m_writeComment(QStringLiteral("write-comment"),
                     QStringLiteral("Write the description as the file's comment (user.xdg.comment) and the "
                                    "title as user.nomly.title."))
{
    parser.addOptions({ m_writeTags, m_writeComment });
}

EffectiveAnalysisSettings WriteOptions::applied(const QCommandLineParser &parser,
                                                EffectiveAnalysisSettings settings) const
{
    settings.addFinderTags = settings.addFinderTags || parser.isSet(m_writeTags);
    settings.addSpotlightMetadata = settings.addSpotlightMetadata || parser.isSet(m_writeComment);
    return settings;
}

void WriteOptions::bind(ProcessAnalyzedFileUseCase &useCase, const EffectiveAnalysisSettings &settings)
{
    useCase.setDependencies({
        [settings](const QString &, ProcessedFileSource) { return settings; },
        // The command line shows no activity list; each record is printed
        // as it is stored.
        [](const ProcessedFile &) {},
    });
}

} // namespace Nomly
