#include "content/popplerdocument.h"

#include "content/contenttext.h"
#include "content/pdftext.h"

namespace Nomly {

namespace {

void silencePoppler()
{
    static const bool silenced = [] {
        Poppler::setDebugErrorFunction([](const QString &, const QVariant &) {}, QVariant());
        return true;
    }();
    Q_UNUSED(silenced);
}

// Typeset PDFs keep "fi", "ffl" and their kin as single ligature characters,
// which neither the AI nor a file name should see.
QString withoutLigatures(QString text)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t c = text.at(i).unicode();
        if (c >= 0xFB00 && c <= 0xFB06) {
            const QString expanded = text.mid(i, 1).normalized(QString::NormalizationForm_KC);
            text.replace(i, 1, expanded);
            i += expanded.size() - 1;
        }
    }
    return text;
}

} // namespace

std::unique_ptr<Poppler::Document> openPdf(const QString &path)
{
    silencePoppler();
    return Poppler::Document::load(path);
}

std::unique_ptr<Poppler::Document> openPdfData(const QByteArray &bytes)
{
    silencePoppler();
    return Poppler::Document::loadFromData(bytes);
}

std::optional<QString> selectedPageText(const Poppler::Document &document)
{
    const int pageCount = document.numPages();
    QList<PdfPageText> pages;
    for (const int index : pdfTextPageIndices(pageCount)) {
        const std::unique_ptr<Poppler::Page> page = document.page(index);
        if (!page)
            continue;
        const QString pageText = normalizedText(withoutLigatures(page->text(QRectF())));
        if (isReadableText(pageText))
            pages.append({ index, pageText });
    }
    return assembledPdfText(pageCount, pages);
}

} // namespace Nomly
