#include "content/sidecartext.h"

#include <QDir>
#include <QFileInfo>
#include <algorithm>

#include "content/contenttext.h"
#include "content/extractionlimits.h"
#include "content/subtitlecues.h"
#include "content/textfilereader.h"

namespace Nomly {

std::optional<QString> sidecarText(const QString &mediaPath, const QStringList &plainTextExtensions)
{
    QStringList candidates = plainTextExtensions + QStringList { QStringLiteral("srt"), QStringLiteral("vtt") };
    std::sort(candidates.begin(), candidates.end());
    const QFileInfo media(mediaPath);
    const QString baseName = media.completeBaseName();

    QString sidecar;
    QString extension;
    const QDir folder = media.dir();
    if (folder.isReadable()) {
        // Listing order; the media file itself never matches, its extension
        // being no candidate.
        for (const QFileInfo &entry : folder.entryInfoList(QDir::Files, QDir::NoSort)) {
            if (entry.completeBaseName().compare(baseName, Qt::CaseInsensitive) != 0)
                continue;
            if (candidates.contains(entry.suffix().toLower())) {
                sidecar = entry.filePath();
                extension = entry.suffix().toLower();
                break;
            }
        }
    } else {
        for (const QString &candidate : std::as_const(candidates)) {
            const QString path = folder.filePath(baseName + u'.' + candidate);
            if (QFileInfo::exists(path)) {
                sidecar = path;
                extension = candidate;
                break;
            }
        }
    }
    if (sidecar.isEmpty())
        return std::nullopt;
    const auto raw = readTextFile(sidecar);
    if (!raw)
        return std::nullopt;
    const QString text = plainTextExtensions.contains(extension) ? normalizedText(*raw) : cleanedSubtitleCues(*raw);
    if (!isReadableText(text))
        return std::nullopt;
    return cutText(text, ExtractionLimits::MaxSidecarCharacters);
}

} // namespace Nomly
