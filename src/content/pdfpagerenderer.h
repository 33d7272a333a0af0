#pragma once

#include <QImage>
#include <QList>
#include <QString>

namespace Nomly {

// Pages of a PDF as pictures, each rendered so that its longer edge has at
// most `longEdge` pixels, whatever the page's stated size: a hostile page
// size cannot make a huge bitmap. Pages that do not render are left out.
QList<QImage> renderedPdfPages(const QString &path, const QList<int> &pageIndices, int longEdge);

} // namespace Nomly
