#pragma once

#include <QList>
#include <QString>
#include <optional>
#include <utility>

namespace Nomly {

// Which pages' text is read: all of a short PDF; of a long one the first
// four and eight more spread over the rest, ascending.
QList<int> pdfTextPageIndices(int pageCount);

// One page's text as read, already normalised and readable.
struct PdfPageText
{
    int index = 0; // zero-based
    QString text;
};

// The text handed on for a PDF: the pages whole when a short document fits
// the limit, else excerpts under a head line, each page cut to its share of
// the budget. None when no page had readable text.
std::optional<QString> assembledPdfText(int pageCount, const QList<PdfPageText> &pages);

// The pages' own text in one that assembledPdfText() made: its head line and
// page headings taken out.
QString pdfTextWithoutHeadings(const QString &assembled);

} // namespace Nomly
