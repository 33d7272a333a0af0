#include "content/contentlibraries.h"

#include <chromaprint.h>
#include <exiv2/version.hpp>
#include <libheif/heif.h>
#include <poppler-version.h>
#include <taglib/taglib.h>
#include <tesseract/capi.h>

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/avutil.h>
}

namespace Nomly {

QList<LibraryVersion> contentLibraryVersions()
{
    return {
        { QStringLiteral("Poppler"), Poppler::Version::string(), QStringLiteral("GPL-2.0-or-later") },
        { QStringLiteral("Exiv2"), QString::fromStdString(Exiv2::versionString()), QStringLiteral("GPL-2.0-or-later") },
        { QStringLiteral("libheif"), QString::fromLatin1(heif_get_version()), QStringLiteral("LGPL-3.0-or-later") },
        { QStringLiteral("TagLib"),
          QStringLiteral("%1.%2.%3").arg(TAGLIB_MAJOR_VERSION).arg(TAGLIB_MINOR_VERSION).arg(TAGLIB_PATCH_VERSION),
          QStringLiteral("LGPL-2.1-only OR MPL-1.1") },
        // The build of the distribution decides the licence; the library
        // says which.
        { QStringLiteral("FFmpeg"),
          QString::fromLatin1(av_version_info()),
          QString::fromLatin1(avformat_license()).section(QLatin1Char(' '), 0, 0) },
        { QStringLiteral("Tesseract"), QString::fromLatin1(TessVersion()), QStringLiteral("Apache-2.0") },
        { QStringLiteral("Chromaprint"),
          QString::fromLatin1(chromaprint_get_version()),
          QStringLiteral("LGPL-2.1-or-later") },
        { QStringLiteral("PocketSphinx"), QStringLiteral(NOMLY_POCKETSPHINX_VERSION), QStringLiteral("BSD-2-Clause") },
        { QStringLiteral("libexttextcat"), QStringLiteral(NOMLY_EXTTEXTCAT_VERSION), QStringLiteral("BSD-3-Clause") },
    };
}

} // namespace Nomly
