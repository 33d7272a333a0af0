#pragma once

#include <QByteArray>
#include <QString>

namespace Nomly {

// Whether the preview an iWork document carries tells the AI too little to
// name it: there is none, or it holds fewer than 20 readable characters and
// looks like an empty page. CPU-heavy (a render and an OCR pass): call it off
// the main thread.
bool isWeakIWorkPreview(const QString &path);

// Whether a picture looks like an empty page: too little ink on a 16 × 16
// reduction, or only a few marks so faint they carry no writing. Undecodable
// bytes count as blank.
bool isBlankPreview(const QByteArray &imageBytes);

} // namespace Nomly
