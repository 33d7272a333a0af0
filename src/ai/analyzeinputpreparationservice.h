#pragma once

#include <QMap>
#include <QString>
#include <QStringList>
#include <functional>

#include <qcoro/qcorotask.h>

#include "ai/preparedanalyzeinputs.h"
#include "content/fileextractionresult.h"
#include "content/fileextractionservice.h"

namespace Nomly {

// Runs extraction over a batch at a bounded width and sorts the outcomes into
// inputs and failures, in the order of the given paths.
namespace AnalyzeInputPreparationService {

struct Options
{
    ExtractionOptions extraction; // handed to the extractor as it stands
    // Content hashes already known, by path; image inputs take theirs from
    // here so that the image cache need not hash the file again.
    QMap<QString, QString> hashes;
    // Both the paths and the keys of `hashes` are resolved first.
    bool resolveSymlinks = false;
    int maximumWidth = 3; // extractions at once
    // Asked before each extraction is started; once true, no further one
    // starts, and the paths not reached appear nowhere in the result.
    std::function<bool()> isCancelled;
    // Turns iWork documents with weak previews into PDFs; none keeps every
    // iWork document as its preview. Must outlive the preparation.
    IWorkPDFExporter *iWorkExporter = nullptr;
};

// Called on a worker thread, up to `maximumWidth` at once.
using Extractor = std::function<FileExtractionResult(const QString &path, const ExtractionOptions &options)>;

QCoro::Task<PreparedAnalyzeInputs> prepare(QStringList paths, Options options, Extractor extractor);

// With FileExtractionService::extract and the options' iWork exporter: an
// iWork export waits on the calling thread, every other read on a worker.
QCoro::Task<PreparedAnalyzeInputs> prepare(QStringList paths, Options options);

} // namespace AnalyzeInputPreparationService

} // namespace Nomly
