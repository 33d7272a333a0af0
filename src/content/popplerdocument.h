#pragma once

#include <QString>
#include <memory>

#include <poppler-qt6.h>

namespace Nomly {

// Opens a PDF; null when it cannot be. The library's own complaints about
// damaged or locked files are kept off standard error, since every caller
// reports the outcome itself.
std::unique_ptr<Poppler::Document> openPdf(const QString &path);

} // namespace Nomly
