#include "workflows/batchanalysisissues.h"

#include <QStringList>
#include <array>
#include <initializer_list>

namespace Nomly::BatchAnalysisIssues {

namespace {

struct CategoryEntry
{
    BatchAnalysisIssueCategory category;
    BatchAnalysisIssueDisposition disposition;
    const char16_t *singular;
    const char16_t *plural;
    // Any of these in the lower-cased error puts it in the category; the
    // first entry that matches wins.
    std::initializer_list<const char16_t *> markers;
};

using Disposition = BatchAnalysisIssueDisposition;
using Category = BatchAnalysisIssueCategory;

// In the order the summary lists them, which is also the order of matching.
const std::array<CategoryEntry, 11> Categories { {
    { Category::PasswordProtected,
      Disposition::Skipped,
      u"password-protected PDF",
      u"password-protected PDFs",
      { u"password protected" } },
    { Category::UnsupportedFile, Disposition::Skipped, u"unsupported file", u"unsupported files", { u"unsupported" } },
    { Category::NoReadableContent,
      Disposition::Skipped,
      u"file with no readable content",
      u"files with no readable content",
      { u"no readable text", u"no valid file" } },
    { Category::ExtractionFailed,
      Disposition::Skipped,
      u"file that could not be read",
      u"files that could not be read",
      { u"failed to read", u"extract" } },
    { Category::FileUnavailable, Disposition::Skipped, u"missing file", u"missing files", { u"file not found" } },
    { Category::Timeout, Disposition::Failed, u"timed-out file", u"timed-out files", { u"timed out", u"timeout" } },
    { Category::NetworkError,
      Disposition::Failed,
      u"file with a network error",
      u"files with network errors",
      { u"network", u"internet", u"host", u"offline" } },
    { Category::NoAnalysisResult,
      Disposition::Failed,
      u"file with no analysis result",
      u"files with no analysis result",
      { u"no analysis result" } },
    { Category::AnalysisFailed,
      Disposition::Failed,
      u"file with an AI analysis failure",
      u"files with AI analysis failures",
      { u"ai analysis failed" } },
    { Category::ServiceError,
      Disposition::Failed,
      u"file with a service error",
      u"files with service errors",
      { u"invalid response", u"api", u"invalid url" } },
    { Category::OtherFailure, Disposition::Failed, u"other failure", u"other failures", {} },
} };

struct ReasonRule
{
    std::initializer_list<const char16_t *> anyOf;
    const char16_t *reason;
};

// First hit wins. "api" and "error" together are handled apart below.
const std::array<ReasonRule, 10> MessageReasons { {
    { { u"no valid" }, u"no_valid_files" },
    { { u"file not found" }, u"file_not_found" },
    { { u"unsupported" }, u"unsupported_input" },
    { { u"extract" }, u"extraction_failed" },
    { { u"no analysis result" }, u"no_analysis_result" },
    { { u"ai analysis failed" }, u"analysis_failed" },
    { { u"timed out", u"timeout" }, u"timeout" },
    { { u"network", u"internet", u"host", u"offline" }, u"network_error" },
    { { u"invalid server response", u"invalid response" }, u"invalid_response" },
    { { u"invalid api url", u"invalid url" }, u"invalid_api_url" },
} };

const std::array<ReasonRule, 9> RenameReasons { {
    { { u"folder access denied" }, u"folder_access_denied" },
    { { u"file not found", u"no such file" }, u"file_not_found" },
    // The journal's own words: a file that changed kind, or a record the
    // history could not keep. Asking the AI again cures neither.
    { { u"no longer a regular file" }, u"not_a_regular_file" },
    { { u"record could not be" }, u"record_failed" },
    { { u"invalid name" }, u"invalid_name" },
    { { u"being processed by monitor" }, u"monitor_lock" },
    { { u"permission", u"operation not permitted", u"access denied" }, u"permission_denied" },
    { { u"exists" }, u"destination_exists" },
    { { u"cancel" }, u"cancelled" },
} };

bool containsAny(const QString &text, std::initializer_list<const char16_t *> markers)
{
    for (const char16_t *marker : markers) {
        if (text.contains(QString::fromUtf16(marker)))
            return true;
    }
    return false;
}

const CategoryEntry &entryOf(Category category)
{
    return Categories.at(std::size_t(category));
}

} // namespace

BatchAnalysisIssueCategory issueCategory(const std::optional<QString> &error)
{
    const QString text = error.value_or(QString()).trimmed().toLower();
    for (const CategoryEntry &entry : Categories) {
        if (containsAny(text, entry.markers))
            return entry.category;
    }
    return Category::OtherFailure;
}

BatchAnalysisIssueDisposition disposition(BatchAnalysisIssueCategory category)
{
    return entryOf(category).disposition;
}

QString failureReason(const QString &message, const QString &fallback)
{
    const QString text = message.trimmed().toLower();
    if (text.isEmpty())
        return fallback;
    for (const ReasonRule &rule : MessageReasons) {
        if (containsAny(text, rule.anyOf))
            return QString::fromUtf16(rule.reason);
    }
    if (text.contains(u"api") && text.contains(u"error"))
        return QStringLiteral("api_error");
    return fallback;
}

QString renameFailureReason(const QString &message)
{
    const QString text = message.trimmed().toLower();
    if (!text.isEmpty()) {
        for (const ReasonRule &rule : RenameReasons) {
            if (containsAny(text, rule.anyOf))
                return QString::fromUtf16(rule.reason);
        }
    }
    return QStringLiteral("rename_failed");
}

bool canRetryFailure(const BatchRenameItem &item)
{
    if (item.status != BatchRenameStatus::Failed || !item.error)
        return false;
    if (renameFailureReason(*item.error) != u"rename_failed")
        return false;
    static const QStringList retryable { QStringLiteral("timeout"),           QStringLiteral("network_error"),
                                         QStringLiteral("invalid_response"),  QStringLiteral("api_error"),
                                         QStringLiteral("unknown_ai_error"),  QStringLiteral("analysis_failed"),
                                         QStringLiteral("no_analysis_result") };
    return retryable.contains(failureReason(*item.error, QStringLiteral("unknown_ai_error")));
}

QList<BatchAnalysisIssueSummary> issueSummaries(const QList<BatchRenameItem> &items)
{
    std::array<int, Categories.size()> counts {};
    for (const BatchRenameItem &item : items) {
        if (item.status == BatchRenameStatus::Failed)
            ++counts.at(std::size_t(issueCategory(item.error)));
    }
    QList<BatchAnalysisIssueSummary> summaries;
    for (const CategoryEntry &entry : Categories) {
        const int count = counts.at(std::size_t(entry.category));
        if (count < 1)
            continue;
        const QString label = QString::fromUtf16(count == 1 ? entry.singular : entry.plural);
        summaries.append({ QStringLiteral("%1 %2").arg(count).arg(label), count, entry.disposition });
    }
    return summaries;
}

QString statusText(int processedCount, int totalCount, const QList<BatchAnalysisIssueSummary> &summaries)
{
    int skipped = 0;
    int failed = 0;
    for (const BatchAnalysisIssueSummary &summary : summaries)
        (summary.disposition == Disposition::Skipped ? skipped : failed) += summary.count;
    QStringList pieces { QStringLiteral("%1 of %2 analyzed").arg(processedCount).arg(totalCount) };
    if (skipped > 0)
        pieces.append(QStringLiteral("%1 skipped").arg(skipped));
    if (failed > 0)
        pieces.append(QStringLiteral("%1 failed").arg(failed));
    return pieces.join(QStringLiteral(", "));
}

QString issueDetails(const QList<BatchAnalysisIssueSummary> &summaries)
{
    QStringList skipped;
    QStringList failed;
    for (const BatchAnalysisIssueSummary &summary : summaries)
        (summary.disposition == Disposition::Skipped ? skipped : failed).append(summary.label);
    QStringList lines;
    if (!skipped.isEmpty())
        lines.append(QStringLiteral("Skipped: ") + skipped.join(QStringLiteral(", ")));
    if (!failed.isEmpty())
        lines.append(QStringLiteral("Failed: ") + failed.join(QStringLiteral(", ")));
    return lines.join(u'\n');
}

} // namespace Nomly::BatchAnalysisIssues
