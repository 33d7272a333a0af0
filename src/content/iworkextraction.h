#pragma once

#include <QString>
#include <chrono>

#include <qcoro/qcorotask.h>

#include "content/fileextractionresult.h"
#include "content/fileextractionservice.h"

namespace Nomly {

class IWorkPDFExporter;

// How long the online export of one iWork document may take in all.
inline constexpr std::chrono::milliseconds IWorkExportTimeLimit { 12'000 };

// A Pages, Numbers or Keynote document goes to the AI as the preview it
// carries, unless that preview is weak (see isWeakIWorkPreview()) and the
// user allows online previews: then the exporter may turn it into a PDF
// within `timeLimit`, which goes as a document whose pages are rendered from
// a temporary file (previewSourcePath and temporaryPreviewSourcePath; the
// caller deletes it when the work on the file ends). Any failure of the
// export falls back to the preview; only a PDF that is locked or has no
// pages fails the file. Without an exporter no export is tried.
//
// Runs on the calling thread, which needs an event loop; the render, OCR and
// PDF reading go to worker threads.
QCoro::Task<FileExtractionResult> extractIWork(QString path,
                                               ExtractionOptions options,
                                               IWorkPDFExporter *exporter,
                                               std::chrono::milliseconds timeLimit = IWorkExportTimeLimit);

// The same decision without an exporter, for callers that cannot wait:
// always the preview. Blocks for the weakness test.
FileExtractionResult extractIWorkLocally(const QString &path);

} // namespace Nomly
