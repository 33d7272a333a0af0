#include "content/pdfpagerenderer.h"

#include <algorithm>
#include <memory>

#include "content/popplerdocument.h"

namespace Nomly {

QList<QImage> renderedPdfPages(const QString &path, const QList<int> &pageIndices, int longEdge)
{
    QList<QImage> images;
    const std::unique_ptr<Poppler::Document> document = openPdf(path);
    if (!document || document->isLocked() || longEdge < 1)
        return images;
    document->setRenderHint(Poppler::Document::TextAntialiasing);
    document->setRenderHint(Poppler::Document::Antialiasing);
    for (const int index : pageIndices) {
        const std::unique_ptr<Poppler::Page> page = document->page(index);
        if (!page)
            continue;
        // Points are 1/72 inch; the resolution that fits the long edge.
        const QSizeF points = page->pageSizeF();
        const double longest = std::max(points.width(), points.height());
        if (longest <= 0)
            continue;
        const double dpi = 72.0 * longEdge / longest;
        const QImage image = page->renderToImage(dpi, dpi);
        if (!image.isNull())
            images.append(image);
    }
    return images;
}

} // namespace Nomly
