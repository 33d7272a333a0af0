#pragma once

#include <QString>

#include <qcoro/qcorotask.h>

namespace Nomly {

// Shows a file selected in its folder, through the file manager's
// org.freedesktop.FileManager1 service on the session bus. False when no file
// manager answered (no session bus, no such service, an error reply): the
// caller then opens the folder instead.
QCoro::Task<bool> showItemInFileManager(QString path);

} // namespace Nomly
