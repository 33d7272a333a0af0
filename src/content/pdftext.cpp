#include "content/pdftext.h"

#include <QRegularExpression>
#include <QStringList>
#include <algorithm>

#include "content/contenttext.h"
#include "content/extractionlimits.h"

namespace Nomly {

namespace Limits = ExtractionLimits;

namespace {

QString entries(int pageCount, const QList<PdfPageText> &pages, qsizetype budget)
{
    QStringList out;
    for (const PdfPageText &page : pages) {
        out.append(QStringLiteral("Page %1 of %2:\n").arg(page.index + 1).arg(pageCount) + cutText(page.text, budget));
    }
    return out.join(QStringLiteral("\n\n"));
}

// A line that assembling wrote: a page heading or the head line of excerpts.
bool isHeading(const QString &line)
{
    static const QRegularExpression heading(
        QStringLiteral("^(?:Page \\d+ of \\d+:|PDF text excerpts from \\d+(?: of \\d+)? pages\\.)$"));
    return heading.match(line).hasMatch();
}

} // namespace

QList<int> pdfTextPageIndices(int pageCount)
{
    if (pageCount < Limits::PdfLongFromPages)
        return evenlySpacedIndices(pageCount, Limits::PdfPagesRead);
    QList<int> indices;
    for (int i = 0; i < Limits::PdfLeadingPages; ++i)
        indices.append(i);
    const QList<int> spread
        = evenlySpacedIndices(pageCount - Limits::PdfLeadingPages, Limits::PdfPagesRead - Limits::PdfLeadingPages);
    for (const int index : spread) {
        if (!indices.contains(index + Limits::PdfLeadingPages))
            indices.append(index + Limits::PdfLeadingPages);
    }
    std::sort(indices.begin(), indices.end());
    return indices;
}

std::optional<QString> assembledPdfText(int pageCount, const QList<PdfPageText> &pages)
{
    if (pages.isEmpty())
        return std::nullopt;
    const bool shortDocument = pageCount < Limits::PdfLongFromPages;
    const QString whole = entries(pageCount, pages, Limits::MaxTextCharacters);
    if (shortDocument && whole.size() <= Limits::MaxTextCharacters)
        return whole;

    const qsizetype kept = pages.size();
    const qsizetype budget
        = kept < Limits::PdfFixedBudgetFromPages ? Limits::MaxTextCharacters / kept : Limits::PdfFixedPageBudget;
    const QString head = shortDocument
        ? QStringLiteral("PDF text excerpts from %1 pages.").arg(kept)
        : QStringLiteral("PDF text excerpts from %1 of %2 pages.").arg(kept).arg(pageCount);
    return cutText(head + QStringLiteral("\n\n") + entries(pageCount, pages, budget), Limits::MaxTextCharacters);
}

QString pdfTextWithoutHeadings(const QString &assembled)
{
    QStringList lines = assembled.split(u'\n');
    lines.removeIf(isHeading);
    return lines.join(u'\n').trimmed();
}

} // namespace Nomly
