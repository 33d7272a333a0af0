#pragma once

#include <QStringList>

#include <qcoro/qcorotask.h>

class QClipboard;
class QMimeData;

namespace Nomly {

// The files that a file manager put on the clipboard with Copy: the local
// files of its URI list, as absolute paths, in order and each once. Other
// URLs and any other clipboard content give nothing.
QStringList filesFromMimeData(const QMimeData *data);

// The copied files on the clipboard; empty when there are none or the owner
// of the clipboard does not hand them over within 5 seconds.
QCoro::Task<QStringList> clipboardFiles(QClipboard *clipboard);

} // namespace Nomly
