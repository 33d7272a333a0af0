#pragma once

#include <QString>
#include <optional>

namespace Nomly {

// Text of the binary Office formats that came before the ZIP ones (doc,
// ppt, xls), in falling order of what each file offers: the body text that
// a reader of the format finds (Word's piece table, a presentation's text
// records), for a workbook the scan of its strings, and last the lines of
// its document summary (title, subject, authors, keywords, pages) with its
// kind and size, so that even an unreadable file tells the AI what it is.
class LegacyOfficeReader final
{
public:
    LegacyOfficeReader() = delete;

    // `extension` is "doc", "ppt" or "xls"; none for any other.
    static std::optional<QString> text(const QString &path, const QString &extension);

    // The summary lines alone: the last resort of the chain.
    static std::optional<QString> summaryText(const QString &path);
};

} // namespace Nomly
