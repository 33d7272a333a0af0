#pragma once

#include <QString>
#include <optional>

namespace Nomly {

// Bounded text of word-processor, spreadsheet and presentation files read
// straight from their ZIP containers, without an office suite: a fixed
// small share of each part is read, so a huge or hostile file costs no more
// than a small one. None when the file is no readable archive or holds no
// text; the caller normalises, cuts and judges what comes back.
class OfficeDocumentReader final
{
public:
    OfficeDocumentReader() = delete;

    // odt, ods, odp: paragraphs and headings of content.xml.
    static std::optional<QString> openDocumentText(const QString &path);
    // docx and its kin: the document properties, then the body's runs.
    static std::optional<QString> wordText(const QString &path);
    // xlsx and its kin: the properties, then the first two sheets, each
    // with its header row and a few rows below it.
    static std::optional<QString> excelText(const QString &path);
    // pptx and its kin: the properties, then up to twelve slides spread
    // over the show, numbered by their place in it.
    static std::optional<QString> powerPointText(const QString &path);
};

} // namespace Nomly
