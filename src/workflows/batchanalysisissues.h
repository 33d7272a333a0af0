#pragma once

#include <QList>
#include <QString>

#include "workflows/batchrenameitem.h"

namespace Nomly {

// The common words for what went wrong with the files of a batch: a category
// the summary counts, and reason words diagnostics and the retry rule use.
enum class BatchAnalysisIssueCategory
{
    PasswordProtected,
    UnsupportedFile,
    NoReadableContent,
    ExtractionFailed,
    FileUnavailable,
    Timeout,
    NetworkError,
    NoAnalysisResult,
    AnalysisFailed,
    ServiceError,
    OtherFailure,
};

enum class BatchAnalysisIssueDisposition
{
    Skipped,
    Failed,
};

struct BatchAnalysisIssueSummary
{
    QString label; // "2 unsupported files"
    int count = 0;
    BatchAnalysisIssueDisposition disposition = BatchAnalysisIssueDisposition::Failed;

    bool operator==(const BatchAnalysisIssueSummary &) const = default;
};

namespace BatchAnalysisIssues {

BatchAnalysisIssueCategory issueCategory(const std::optional<QString> &error);
BatchAnalysisIssueDisposition disposition(BatchAnalysisIssueCategory category);

// A reason word from a message; `fallback` when no rule knows the text.
QString failureReason(const QString &message, const QString &fallback);
// The reason word of a failed rename.
QString renameFailureReason(const QString &message);

// A failed item whose error a new call might cure: no known rename problem,
// and an AI or network failure rather than a file that cannot be read.
bool canRetryFailure(const BatchRenameItem &item);

// The failed items counted by category, in the categories' order.
QList<BatchAnalysisIssueSummary> issueSummaries(const QList<BatchRenameItem> &items);
// "12 of 15 analyzed, 2 skipped, 1 failed".
QString statusText(int processedCount, int totalCount, const QList<BatchAnalysisIssueSummary> &summaries);
// "Skipped: 2 unsupported files\nFailed: 1 timed-out file"; empty without
// summaries.
QString issueDetails(const QList<BatchAnalysisIssueSummary> &summaries);

} // namespace BatchAnalysisIssues

} // namespace Nomly
