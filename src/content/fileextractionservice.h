#pragma once

#include <QString>
#include <QStringList>

#include <qcoro/qcorotask.h>

#include "content/fileextractionresult.h"

namespace Nomly {

class IWorkPDFExporter;

// What extraction needs from the caller: the remote configuration's switch
// and lists, and the user's iWork choice.
struct ExtractionOptions
{
    bool pdfTextExtractionEnabled = true;
    bool iWorkOnlinePreviewsEnabled = false;
    QStringList imageExtensions;
    QStringList designExtensions;

    bool operator==(const ExtractionOptions &) const = default;
};

// Turns one path into what the AI is sent: text read on this machine, a
// paginated document, an image, or a media file with its sidecar text. The
// kind is chosen by extension, with the MIME database where the extension
// alone does not settle it. Every read is bounded; nothing is raised: a file
// that cannot be read is a failure with its reason, a kind that cannot be
// analysed is unsupported.
class FileExtractionService final
{
public:
    FileExtractionService() = delete;

    // Synchronous; run it off the main thread. An iWork document always goes
    // as its own preview here.
    static FileExtractionResult extract(const QString &path, const ExtractionOptions &options);
    // The same, where an iWork document with a weak preview may be exported
    // to PDF through `exporter` (see extractIWork()); only that waits, on the
    // calling thread, which needs an event loop. Every other kind is read on a
    // worker thread.
    static QCoro::Task<FileExtractionResult> extract(QString path,
                                                     ExtractionOptions options,
                                                     IWorkPDFExporter *exporter);
};

} // namespace Nomly
