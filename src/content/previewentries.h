#pragma once

#include <QStringList>

namespace Nomly {

// The entries of a design archive that may hold its picture of itself, best
// first: "preview", "thumbnail" and "quicklook" images and those under
// "previews/"; equal ranks keep the archive's order.
QStringList rankedPreviewEntries(const QStringList &entries);

} // namespace Nomly
