#pragma once

#include <QByteArray>
#include <QString>
#include <memory>
#include <optional>

#include <poppler-qt6.h>

namespace Nomly {

// Opens a PDF; null when it cannot be. The library's own complaints about
// damaged or locked files are kept off standard error, since every caller
// reports the outcome itself.
std::unique_ptr<Poppler::Document> openPdf(const QString &path);
// The same for a PDF held in memory.
std::unique_ptr<Poppler::Document> openPdfData(const QByteArray &bytes);

// The text of the pages a PDF's text is read from, assembled within the text
// limits; none when no page had readable text. The document must be open
// and unlocked.
std::optional<QString> selectedPageText(const Poppler::Document &document);

} // namespace Nomly
