#include "content/embeddedpreview.h"

#include <QFile>

#include <exiv2/exiv2.hpp>

#include "content/exiffacts.h"
#include "platform/logcategories.h"

namespace Nomly {

std::optional<QByteArray> largestEmbeddedPreview(const QString &path)
{
    prepareExiv2();
    try {
        auto image = Exiv2::ImageFactory::open(QFile::encodeName(path).toStdString());
        if (!image.get())
            return std::nullopt;
        image->readMetadata();
        const Exiv2::PreviewManager previews(*image);
        const Exiv2::PreviewPropertiesList properties = previews.getPreviewProperties();
        if (properties.empty())
            return std::nullopt;
        // The list is ordered by size, smallest first.
        const Exiv2::PreviewImage preview = previews.getPreviewImage(properties.back());
        return QByteArray(reinterpret_cast<const char *>(preview.pData()), static_cast<qsizetype>(preview.size()));
    } catch (const std::exception &error) {
        qCInfo(lcProcessing).noquote() << "No embedded preview in" << path << ":"
                                       << QString::fromStdString(error.what());
        return std::nullopt;
    }
}

} // namespace Nomly
