#include "cli/thumbnailcommand.h"

#include <QCommandLineParser>
#include <QFile>
#include <QFileInfo>

#include "cli/clioutput.h"
#include "cli/commandparsing.h"
#include "content/extensiontables.h"
#include "content/imagecompressionservice.h"
#include "content/mediafacts.h"
#include "content/videoframesampler.h"
#include "naming/builtinextensions.h"

namespace Nomly {

namespace {

// Decided as extraction decides: by what the file holds, and for a container
// that may hold sound alone (WebM), by whether it carries a video stream.
bool isVideo(const QString &path)
{
    const QString extension = contentExtension(path);
    return isIn(ExtensionSet::Video, extension)
        || (BuiltInExtensions::audioOrVideo().contains(extension) && carriesVideo(path));
}

// The still the AI would see of a video asked for one frame: its middle.
std::optional<QByteArray> videoStill(const QString &path, int edge, double quality)
{
    const VideoFrameSamples samples = VideoFrameSampler::sample(path, 1, edge, quality);
    if (samples.frames.isEmpty())
        return std::nullopt;
    return samples.frames.first().data;
}

} // namespace

ExitStatus runThumbnailCommand(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Write the JPEG the AI would see of an image, design file, PDF (its first page) or video (its middle "
        "frame, upright): scaled down to fit the edge, never up, on white, at the JPEG quality given. An existing "
        "output file is not replaced."));
    const QCommandLineOption helpOption = parser.addHelpOption();
    const QCommandLineOption edgeOption(QStringLiteral("edge"),
                                        QStringLiteral("Longest edge in pixels (default 1024)."),
                                        QStringLiteral("N"),
                                        QStringLiteral("1024"));
    const QCommandLineOption qualityOption(QStringLiteral("quality"),
                                           QStringLiteral("JPEG quality from 0 to 1 (default 0.6)."),
                                           QStringLiteral("Q"),
                                           QStringLiteral("0.6"));
    const QCommandLineOption outputOption({ QStringLiteral("o"), QStringLiteral("output") },
                                          QStringLiteral("The JPEG file to write (required)."),
                                          QStringLiteral("OUT.jpg"));
    parser.addOptions({ edgeOption, qualityOption, outputOption });
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("The file to preview."));
    if (const auto answered = parseOrAnswer(parser, arguments, helpOption))
        return *answered;

    const QStringList files = parser.positionalArguments();
    if (files.size() != 1) {
        CliOutput::error(QStringLiteral("give exactly one file"));
        return ExitStatus::UsageError;
    }
    bool edgeOk = false;
    const int edge = parser.value(edgeOption).toInt(&edgeOk);
    bool qualityOk = false;
    const double quality = parser.value(qualityOption).toDouble(&qualityOk);
    if (!edgeOk || edge < 1 || edge > 16384) {
        CliOutput::error(QStringLiteral("--edge needs a whole number from 1 to 16384"));
        return ExitStatus::UsageError;
    }
    if (!qualityOk || quality < 0 || quality > 1) {
        CliOutput::error(QStringLiteral("--quality needs a number from 0 to 1"));
        return ExitStatus::UsageError;
    }
    const QString output = parser.value(outputOption);
    if (output.isEmpty()) {
        CliOutput::error(QStringLiteral("-o OUT.jpg is required"));
        return ExitStatus::UsageError;
    }
    if (QFileInfo::exists(output)) {
        CliOutput::error(QStringLiteral("%1 already exists; nothing was written").arg(output));
        return ExitStatus::UsageError;
    }
    if (!QFileInfo::exists(files.first())) {
        CliOutput::error(QStringLiteral("%1: File not found").arg(files.first()));
        return ExitStatus::ItemFailed;
    }

    const auto jpeg = isVideo(files.first()) ? videoStill(files.first(), edge, quality)
                                             : ImageCompressionService::loadImage(files.first(), edge, quality);
    if (!jpeg) {
        CliOutput::error(QStringLiteral("%1: no preview could be made").arg(files.first()));
        return ExitStatus::ItemFailed;
    }
    // Created here or not at all, even if a file appeared meanwhile; a
    // failed write leaves nothing half written behind.
    QFile out(output);
    if (!out.open(QIODevice::WriteOnly | QIODevice::NewOnly)) {
        CliOutput::error(QStringLiteral("%1: %2").arg(output, out.errorString()));
        return ExitStatus::ItemFailed;
    }
    if (out.write(*jpeg) != jpeg->size() || !out.flush()) {
        CliOutput::error(QStringLiteral("%1: %2").arg(output, out.errorString()));
        out.remove();
        return ExitStatus::ItemFailed;
    }
    CliOutput::line(QStringLiteral("%1 -> %2 (%3 bytes)").arg(files.first(), output).arg(jpeg->size()));
    return ExitStatus::Success;
}

} // namespace Nomly
